// Settings, variants with a genetic map, genotypes and a panel of a short run, which is phased in memory. Its
// haplotypes must be consistent with the genotypes, and the same with two threads.
#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <random>

#include "chain/markov_chain.h"
#include "containers/genotype_counts.h"
#include "modules/stages.h"
#include "readers/genotype_checks.h"
#include "selection/match_selector.h"
#include "selection/scan_selector.h"
#include "selection/tree_selector.h"
#include "support.h"
#include "utils/units.h"
#include "writers/haplotype_writer.h"

namespace {

constexpr unsigned MOST_POINTS = 4;  // of the map
constexpr int FOUNDERS = 4;
constexpr int LAST_POSITION = std::numeric_limits<int>::max() - 1;
constexpr unsigned ONE_WITH_TWO_THREADS = 256;  // of this many inputs

struct settings {
    unsigned n_individuals, n_variants, n_panel;
    long seed;
    int states, cluster_size, effective_size;
    bool uses_trees, uses_matches;
    double window;  // megabases
    chain_schedule schedule;
};

struct study {
    genotype_store genotypes;
    std::vector<chaplotype> panel;
};

template <class Value, std::size_t N>
Value one_of(const Value (&values)[N], fuzz::input& bytes) {
    return values[bytes.byte() % N];
}

/// Most cohorts have few variants, and some have few individuals and more variants than fit into a word.
/// Trees need many haplotypes.
settings read_settings(fuzz::input& bytes) {
    const unsigned knobs = bytes.byte();
    const bool uses_trees = (knobs & 1) != 0, stops_early = (knobs & 2) != 0, is_long = knobs >= 240;
    const auto number = [&bytes](int least, unsigned range) {
        return least + static_cast<int>(bytes.byte() % range);
    };
    const chain_phase burn{number(0, 2), 1}, prune{1, 1}, main{number(1, 2), number(1, 2)};
    return {.n_individuals = bytes.byte() % (is_long ? 4 : 9),
            .n_variants = is_long ? 60 + bytes.byte() % 10 : bytes.byte() % 25,
            .n_panel = 2 * (bytes.byte() % (uses_trees ? 33 : 11)),
            .seed = number(0, 256),
            .states = number(4, 16),
            .cluster_size = number(2, 40),
            .effective_size = one_of({15000, 1, 100, std::numeric_limits<int>::max()}, bytes),
            .uses_trees = uses_trees,
            .uses_matches = !uses_trees && !stops_early && (knobs & 4) != 0,
            .window = one_of({0.1, 0.3, 1.0, 2.0, 10.0, 2147.0}, bytes),
            .schedule = {burn, prune, main, stops_early}};
}

/// The next position: the same, nearby, or far away.
int step_from(int position, fuzz::input& bytes) {
    const long gap = one_of({0L, 1L, 1000L, 20'000L, 70'000L, 1'000'000L, 1'000'000'000L}, bytes);
    return static_cast<int>(std::min<long>(position + gap, LAST_POSITION));
}

snp_set read_variants(fuzz::input& bytes, unsigned n) {
    snp_set variants;
    int position = static_cast<int>(bytes.byte());
    for (unsigned v = 0; v < n; ++v) {
        position = step_from(position, bytes);
        variants.put(snp(position, "A", "G"));
    }
    variants.indexing();
    return variants;
}

/// Places the variants on a map, as strange as readers accept.
void place(snp_set& variants, fuzz::input& bytes) {
    std::vector<int> positions;
    std::vector<double> cm;
    int position = 0;
    double at = one_of({0.0, -1.0}, bytes);
    for (unsigned n = bytes.byte() % (MOST_POINTS + 1); n > 0; --n) {
        position = step_from(position, bytes);
        at += one_of({0.0, 1e-9, 1e-3, 0.1, 1.0, 50.0, 1e4, 1e9}, bytes);
        positions.push_back(position);
        cm.push_back(at);
    }
    if (positions.size() > 1 && positions.front() == positions.back()) ++positions.back();
    variants.setCentiMorgan(positions, cm);
    variants.interpolateCentiMorgan(positions, cm);
}

/// Two genotypes a byte. Most are homozygous, and few are missing, since the graph of many missing ones is so
/// large that it takes most of the time; the target `graph` has such.
genotype_store read_genotypes(fuzz::input& bytes, const settings& s) {
    enum genotype { A_A, A_G, G_G, MISSING };
    constexpr genotype GENOTYPES[16] = {A_A, A_A, A_A, A_A, A_A, A_A, G_G, G_G,
                                        G_G, G_G, G_G, A_G, A_G, A_G, A_G, MISSING};
    constexpr unsigned MISSING_STEP = 6;
    std::vector<std::string> names;
    for (unsigned i = 0; i < s.n_individuals; ++i) names.push_back("p" + std::to_string(i));
    genotype_store store(names);
    for (unsigned i = 0; i < s.n_individuals; ++i)
        for (unsigned v = 0, two = 0, next_missing = 0; v < s.n_variants; ++v, two >>= 4) {
            if (v % 2 == 0) two = bytes.byte();
            const genotype g = GENOTYPES[two & 15];
            const bool is_missing = g == MISSING && v >= next_missing;
            if (is_missing) next_missing = v + MISSING_STEP;
            store.allele_a[i].push_back(g == G_G, 1);
            store.allele_b[i].push_back(g == G_G || g == A_G, 1);
            store.missing[i].push_back(is_missing, 1);
        }
    return store;
}

/// Haplotypes which each copy one founder up to a locus and another one from there, with one new allele. They
/// may have further loci, as if the legend had lines that match no variant.
std::vector<chaplotype> read_panel(fuzz::input& bytes, const settings& s) {
    const int n_beyond = static_cast<int>(bytes.byte() % 10), n = static_cast<int>(s.n_variants);
    std::array<chaplotype, FOUNDERS> founders;
    for (chaplotype& founder : founders) {
        founder = chaplotype(s.n_variants);
        for (int l = 0; l < n; l += 8) founder.set8(l, bytes.byte(), std::min(n - l, 8));
    }
    std::minstd_rand random(1 + bytes.byte());
    std::vector<chaplotype> panel(s.n_panel);
    for (chaplotype& hap : panel) {
        const int cut = static_cast<int>(random() % (s.n_variants + 1));
        hap.push_back(founders[random() % FOUNDERS], 0, cut);
        hap.push_back(founders[random() % FOUNDERS], cut, n - cut);
        if (n > 0) hap.set(static_cast<int>(random() % s.n_variants), random() % 2 == 0);
        hap.push_back(0, n_beyond);
    }
    return panel;
}

/// Takes the place of a file. Compares the haplotypes with the genotypes that the run was given.
class law_of_phasing : public haplotype_sink {
  public:
    explicit law_of_phasing(const genotype_store& study) : given(study) {}

    bool is_complete() const { return is_closed; }
    void begin(const std::vector<std::string>& individuals) override {
        FUZZ_LAW(individuals == given.ind_ids && n_written == 0);
    }
    void write(const haplotype_block& block) override {
        FUZZ_LAW(block.words.size() == 2 * given.ind_ids.size());
        for (std::size_t j = 0; j < block.variants.size(); ++j) check(block, j);
    }
    void close() override {
        FUZZ_LAW(n_written == given.snps.size());
        is_closed = true;
    }

  private:
    void check(const haplotype_block& block, std::size_t j) {
        const int v = n_written++;
        FUZZ_LAW(v < given.snps.size());
        const snp &before = *given.snps.getByIndex(v), &after = block.variants[j];
        const bool is_turned = after.a0 == before.a1;
        FUZZ_LAW(after.bp == before.bp && after.a0 == (is_turned ? before.a1 : before.a0) &&
                 after.a1 == (is_turned ? before.a0 : before.a1));
        for (std::size_t i = 0; i < given.ind_ids.size(); ++i) {
            if (given.missing[i][v]) continue;
            const int copies = given.allele_a[i][v] + given.allele_b[i][v];  // of the second allele
            const auto written =
                static_cast<int>((block.words[2 * i] >> j & 1) + (block.words[2 * i + 1] >> j & 1));
            FUZZ_LAW(written == (is_turned ? 2 - copies : copies));
        }
    }

    const genotype_store& given;
    int n_written = 0;
    bool is_closed = false;
};

std::unique_ptr<conditioning_selector> make_selector(const settings& s, const genhap_set& set,
                                                     worker_team& team) {
    const double window = BASES_PER_MB * s.window;
    if (s.uses_trees) return std::make_unique<tree_selector>(set, s.states, s.cluster_size, window, team);
    if (s.uses_matches) {
        const match_settings settings{.n_states = s.states,
                                      .depth = 1 + s.cluster_size % 8,
                                      .window_bp = s.cluster_size % 2 == 0 ? 0.0 : window,
                                      .learning = {.step = s.window / 10,
                                                   .most_order_bytes = s.cluster_size % 3 == 0 ? 1.0 : 1e9,
                                                   .seed = s.seed}};
        return std::make_unique<match_selector>(set, settings, team);
    }
    return std::make_unique<scan_selector>(set, s.states, static_cast<int>(window));
}

/// All of a run that comes after reading. Returns the haplotypes.
std::vector<chaplotype> phase(const study& given, const settings& s, int n_threads) {
    law_of_phasing sink(given.genotypes);
    genotype_store store = given.genotypes;
    worker_team team(n_threads);
    random_source random(s.seed);
    const genotype_counts counts = count_genotypes(store);
    check_missing(counts);
    report_variants(repair_monomorphic(store, counts), counts);

    genhap_set set(store.snps, build_graphs(store, team), given.panel);
    set.summarise();
    sample_first_haplotypes(set, team, random);
    hmm_parameters hmm;
    hmm.initialise(set.snps, s.effective_size);
    hmm.update(set.n_haplotypes(), std::min(s.states, set.n_haplotypes()));
    const auto selector = make_selector(s, set, team);
    phasing_jobs jobs(set, hmm, *selector, team, random);
    markov_chain(set, jobs, team, random).run(s.schedule);
    solve_haplotypes(set, team, random);
    write_haplotypes(set, sink);
    FUZZ_LAW(sink.is_complete());
    FUZZ_LAW(std::equal(given.panel.begin(), given.panel.end(), set.vecH.begin() + 2 * set.n_individuals()));
    return std::move(set.vecH);
}

/// Whether the input is one of those that are run with two threads as well. Its bytes decide together, so
/// that the fuzzer can't collect such inputs: threads make them slow, and their coverage random.
bool has_two_threads(const std::uint8_t* data, std::size_t size) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < size; ++i) sum = 31 * sum + data[i];
    return sum % ONE_WITH_TWO_THREADS == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::input bytes(data, size);
    const settings s = read_settings(bytes);
    study given;
    fuzz::completes([&] {
        snp_set variants = read_variants(bytes, s.n_variants);
        place(variants, bytes);
        given.genotypes = read_genotypes(bytes, s);
        given.genotypes.snps = std::move(variants);
        given.panel = read_panel(bytes, s);
        const std::vector<chaplotype> haplotypes = phase(given, s, 1);
        if (has_two_threads(data, size)) FUZZ_LAW(phase(given, s, 2) == haplotypes);
    });
    return 0;
}
