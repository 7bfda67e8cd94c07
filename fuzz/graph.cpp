// The genotypes of one individual and the haplotypes of others. The graph of the individual is built,
// sampled, weighted by the copying model, pruned and merged, and solved; after each step its invariants are
// checked.
#include <algorithm>
#include <cmath>

#include "models/haplotype_segment.h"
#include "models/hmm_parameters.h"
#include "objects/genotype_graph.h"
#include "support.h"
#include "support/graph_laws.h"
#include "utils/my_exception.h"

namespace {

constexpr unsigned MOST_LOCI = 32;
constexpr int BASES_PER_LOCUS = 1000;

struct genotypes {
    std::vector<bool> a, b, missing;
};

genotypes read_genotypes(fuzz::input& bytes, unsigned n_loci) {
    genotypes g;
    for (unsigned l = 0, four = 0; l < n_loci; ++l, four >>= 2) {
        if (l % 4 == 0) four = bytes.byte();
        const unsigned code = four & 3;  // homozygous, missing, heterozygous, homozygous: as in a BED file
        g.a.push_back(code == 3);
        g.b.push_back(code >= 2);
        g.missing.push_back(code == 1);
    }
    return g;
}

hmm_parameters read_model(fuzz::input& bytes, unsigned n_loci, int n_states) {
    constexpr double JUMPS[] = {1e-12, 1e-6, 1e-3, 0.02, 0.3, 1.0, 0.0, 1e-300};
    hmm_parameters M;
    M.update(2 * n_states, n_states);
    for (unsigned l = 1; l < n_loci; ++l) {
        const double t = JUMPS[bytes.byte() % 8];
        M.t.push_back(t);
        M.nt.push_back(1.0 - t);
        M.tn.push_back(t / n_states);
    }
    return M;
}

/// The individual, whose two haplotypes come after those of the others.
struct person {
    person(const genotypes& given, std::vector<chaplotype> others, long seed)
        : truth(given),
          haps(std::move(others)),
          own(static_cast<int>(haps.size())),
          graph("person"),
          random(seed) {
        for (int k = 0; k < own; ++k) states.push_back(k);
        const auto n_loci = static_cast<unsigned>(given.a.size());
        haps.insert(haps.end(), 2, chaplotype(n_loci));
        graph.buildUnr(chaplotype(given.a), chaplotype(given.b), chaplotype(given.missing));
        check_graph();
    }

    void check_graph() const {
        FUZZ_LAW(support::check_invariants(graph));
        FUZZ_LAW(graph.site_missing == chaplotype(truth.missing));
        for (int l = 0; l < graph.n_loci(); ++l)
            FUZZ_LAW(!graph.site_ambiguous[l] || truth.missing[l] || truth.a[l] != truth.b[l]);
    }

    /// The current haplotypes agree with every known genotype.
    void check_haplotypes() const {
        for (int l = 0; l < static_cast<int>(truth.a.size()); ++l)
            FUZZ_LAW(truth.missing[l] || haps[own].get(l) + haps[own + 1].get(l) == truth.a[l] + truth.b[l]);
        for (const int h : {own, own + 1})
            FUZZ_LAW(haps[h].n % 8 == 0 || haps[h].data.back() >> (haps[h].n % 8) == 0);
    }

    void check_probabilities(const std::vector<float>& p) const {
        for (int g = 0; g < graph.n_groups(); ++g) {
            double sum = 0.0;
            for (unsigned t = graph.trans_offset[g]; t < graph.trans_offset[g] + graph.trans_count[g]; ++t) {
                FUZZ_LAW(p[t] >= 0.0F && p[t] <= 1.0F);
                sum += p[t];
            }
            FUZZ_LAW(std::abs(sum - 1.0) < 1e-4);
        }
    }

    void sample(bool uniform) {
        graph.sample(haps, {own, own + 1}, uniform, random);
        check_haplotypes();
    }

    /// One iteration: runs the model on all windows of the graph.
    void weigh(const hmm_parameters& M, int n_windows) {
        const int span = static_cast<int>(truth.a.size()) * BASES_PER_LOCUS;
        static segment_buffers buffers;
        for (const segment_range& window : graph.cluster(span, std::max(span / n_windows, 1), random))
            haplotype_segment(haps, states, window, buffers).expectation(M, &graph);
        check_probabilities(graph.trans_prob);
        graph.store();
        sample(false);
    }

    void prune(double threshold) {
        graph.pruneAndMerge(threshold);
        check_graph();
        const auto is_zero = [](float p) { return p == 0.0F; };
        FUZZ_LAW(std::all_of(graph.trans_prob.begin(), graph.trans_prob.end(), is_zero));
        FUZZ_LAW(std::all_of(graph.trans_store.begin(), graph.trans_store.end(), is_zero));
        sample(true);
    }

    void solve() {
        graph.normalize();
        check_probabilities(graph.trans_store);
        graph.buildGuesses(haps, {own, own + 1}, graph.best_path(), random);
        check_haplotypes();
    }

    genotypes truth;
    std::vector<chaplotype> haps;
    int own;
    std::vector<int> states;
    genotype_graph graph;
    random_source random;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr double THRESHOLDS[] = {0.99, 0.5, 0.0, 1.0};
    fuzz::input bytes(data, size);
    const auto seed = static_cast<long>(bytes.byte());
    const unsigned n_loci = 1 + bytes.byte() % MOST_LOCI;
    const unsigned knobs = bytes.byte();
    const int n_states = 5 + static_cast<int>(knobs % 8), n_windows = 1 + static_cast<int>(knobs / 8 % 4);
    const double threshold = THRESHOLDS[knobs / 64];

    const genotypes truth = read_genotypes(bytes, n_loci);
    const hmm_parameters M = read_model(bytes, n_loci, n_states);
    std::vector<chaplotype> others(n_states, chaplotype(n_loci));
    for (chaplotype& hap : others)
        for (int l = 0; l < hap.size(); l += 8) hap.set8(l, bytes.byte(), std::min(hap.size() - l, 8));

    person one(truth, others, seed);
    one.sample(true);
    try {
        one.weigh(M, n_windows);
        one.weigh(M, n_windows);
        one.prune(threshold);
        one.weigh(M, n_windows);
        one.solve();
    } catch (const myException&) {
        // The mass of all walks may underflow; then a run ends with an error.
    }
    return 0;
}
