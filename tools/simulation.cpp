#include "tools/simulation.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>
#include <string_view>
#include <tuple>

#include "tools/local_tree.h"

namespace simulation {

namespace {

// Each part of a cohort has its own random numbers, so that a change to one does not affect the others.
enum Stream : std::uint64_t { map_stream, locus_stream, ancestry_stream, first_observation_stream };

constexpr int largest_position = 2'000'000'000;  // bp

void require(bool condition, const char* message) {
    if (!condition) throw std::invalid_argument(message);
}

bool is_rate(double value) {
    return value >= 0 && value <= 1;
}

int study_locus_count(const Settings& settings) {
    return static_cast<int>(std::lround(settings.density * settings.megabases));
}

int panel_only_locus_count(const Settings& settings) {
    if (settings.panel_individuals == 0) return 0;
    return static_cast<int>(std::lround(settings.extra_in_panel_rate * study_locus_count(settings)));
}

int region_length(const Settings& settings) {
    return static_cast<int>(std::lround(settings.megabases * 1e6));
}

void check(const Settings& settings) {
    require(settings.individuals >= 1, "at least one individual is needed");
    require(settings.panel_individuals >= 0, "the number of panel individuals must not be negative");
    require(settings.individuals + settings.panel_individuals <= 1'000'000, "at most a million individuals");
    require(settings.first_position >= 1, "the first position must be at least 1");
    require(settings.megabases > 0 && settings.first_position + settings.megabases * 1e6 <= largest_position,
            "the region must have a length and end before base 2,000,000,000");
    require(settings.density > 0 && settings.density <= 100'000,
            "the density must be above 0 and up to 100,000");
    require(study_locus_count(settings) >= 1, "the region is too short for one variant at this density");
    require(is_rate(settings.missing_rate) && is_rate(settings.error_rate) && is_rate(settings.indel_rate) &&
                is_rate(settings.absent_in_panel_rate),
            "rates must be between 0 and 1");
    require(settings.extra_in_panel_rate >= 0 && settings.extra_in_panel_rate <= 10,
            "the rate of variants only in the panel must be between 0 and 10");
    require(study_locus_count(settings) + panel_only_locus_count(settings) <= region_length(settings),
            "the region has fewer bases than variants");
}

std::set<int> draw_positions(const Settings& settings, RandomSource& random) {
    const std::size_t count = study_locus_count(settings) + panel_only_locus_count(settings);
    const int length = region_length(settings);
    std::set<int> positions;
    while (positions.size() < count) {
        positions.insert(settings.first_position + static_cast<int>(random.below(length)));
    }
    return positions;
}

std::string draw_bases(std::size_t count, RandomSource& random) {
    std::string bases(count, 'A');
    for (char& base : bases) base = "ACGT"[random.below(4)];
    return bases;
}

// The ancestral allele and the mutated one.
std::pair<std::string, std::string> draw_alleles(bool indel, RandomSource& random) {
    std::string ancestral = draw_bases(1, random);
    if (!indel) {
        const std::size_t place = std::string_view("ACGT").find(ancestral);
        return {ancestral, std::string(1, "ACGT"[(place + 1 + random.below(3)) % 4])};
    }
    std::string longer = ancestral + draw_bases(1 + random.below(4), random);
    if (random.chance(0.5)) return {ancestral, longer};
    return {longer, ancestral};
}

std::vector<Locus> draw_loci(const Settings& settings, RandomSource& random) {
    std::size_t left = study_locus_count(settings) + panel_only_locus_count(settings);
    std::size_t panel_only_left = panel_only_locus_count(settings);
    std::vector<Locus> loci;
    for (const int position : draw_positions(settings, random)) {
        const bool indel = random.chance(settings.indel_rate);
        Locus locus;
        locus.id = (indel ? "indel" : "snp") + settings.chromosome + "_" + std::to_string(position);
        locus.position = position;
        std::tie(locus.allele0, locus.allele1) = draw_alleles(indel, random);
        locus.in_study = random.below(left--) >= panel_only_left;
        if (!locus.in_study) --panel_only_left;
        const bool absent = locus.in_study && random.chance(settings.absent_in_panel_rate);
        locus.in_panel = settings.panel_individuals > 0 && !absent;
        loci.push_back(std::move(locus));
    }
    return loci;
}

// Decides whether mutations become variants of the study or of the panel.
class Discovery {
  public:
    explicit Discovery(const Settings& settings)
        : array_(settings.ascertainment == Ascertainment::array),
          study_haplotypes_(2 * settings.individuals),
          panel_haplotypes_(2 * settings.panel_individuals) {}

    bool accepts(const Locus& locus, const std::vector<int>& carriers, RandomSource& random) const {
        const auto in_study = static_cast<int>(std::count_if(
            carriers.begin(), carriers.end(), [this](int carrier) { return carrier < study_haplotypes_; }));
        const int typed = locus.in_study ? in_study : static_cast<int>(carriers.size()) - in_study;
        const int haplotypes = locus.in_study ? study_haplotypes_ : panel_haplotypes_;
        if (typed == 0 || typed == haplotypes) return false;
        return !array_ || random.chance(difference(static_cast<double>(carriers.size())));
    }

  private:
    // The probability that two haplotypes drawn at random differ.
    double difference(double carriers) const {
        const double haplotypes = study_haplotypes_ + panel_haplotypes_;
        return 2 * carriers * (haplotypes - carriers) / (haplotypes * (haplotypes - 1));
    }

    bool array_;
    int study_haplotypes_;
    int panel_haplotypes_;
};

// Walks along the chromosome from tree to tree and places one accepted mutation at each locus.
BitMatrix draw_haplotypes(const Settings& settings, const RecombinationMap& map,
                          const std::vector<Locus>& loci, RandomSource& random) {
    const int haplotypes = 2 * (settings.individuals + settings.panel_individuals);
    const Demography demography = expanding_population();
    const Discovery discovery(settings);
    BitMatrix alleles(loci.size(), haplotypes);
    LocalTree tree(haplotypes, demography, random);
    const auto to_next_change = [&] { return random.exponential() / tree.total_length() * 100; };
    double next_change = map.points().front().centimorgans + to_next_change();
    std::vector<int> carriers;
    for (std::size_t row = 0; row < loci.size(); ++row) {
        while (next_change <= map.centimorgans(loci[row].position)) {
            tree.recombine(random);
            next_change += to_next_change();
        }
        do {
            tree.mutate(random, carriers);
        } while (!discovery.accepts(loci[row], carriers, random));
        for (const int carrier : carriers) alleles.set(row, carrier);
    }
    return alleles;
}

// Initially the mutated allele is allele 1; at every second locus the alleles are swapped.
void swap_some_alleles(Cohort& cohort, RandomSource& random) {
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!random.chance(0.5)) continue;
        std::swap(cohort.loci[row].allele0, cohort.loci[row].allele1);
        cohort.alleles.flip_row(row);
    }
}

std::vector<std::string> numbered_ids(const std::string& prefix, int count) {
    const std::size_t width = std::to_string(count).size();
    std::vector<std::string> ids;
    for (int number = 1; number <= count; ++number) {
        const std::string digits = std::to_string(number);
        std::string& id = ids.emplace_back(prefix);
        id.append(width - digits.size(), '0').append(digits);
    }
    return ids;
}

std::vector<Genotype> true_genotypes(const Cohort& cohort, std::size_t locus) {
    std::vector<Genotype> genotypes(cohort.study_ids.size());
    for (std::size_t i = 0; i < genotypes.size(); ++i) {
        genotypes[i] = Genotype(cohort.alleles(locus, 2 * i) + cohort.alleles(locus, 2 * i + 1));
    }
    return genotypes;
}

bool both_alleles_seen(const std::vector<Genotype>& genotypes) {
    const auto seen = [&](Genotype wanted) {
        return std::find(genotypes.begin(), genotypes.end(), wanted) != genotypes.end();
    };
    return seen(Genotype::heterozygous) || (seen(Genotype::homozygous0) && seen(Genotype::homozygous1));
}

}  // namespace

Cohort simulate(const Settings& settings) {
    check(settings);
    RandomSource map_source(derived_seed(settings.seed, map_stream));
    RandomSource locus_source(derived_seed(settings.seed, locus_stream));
    RandomSource ancestry_source(derived_seed(settings.seed, ancestry_stream));

    const int last_position = settings.first_position + region_length(settings) - 1;
    RecombinationMap map = draw_recombination_map(settings.first_position, last_position, map_source);
    std::vector<Locus> loci = draw_loci(settings, locus_source);
    BitMatrix alleles = draw_haplotypes(settings, map, loci, ancestry_source);
    Cohort cohort{settings,
                  std::move(map),
                  std::move(loci),
                  std::move(alleles),
                  numbered_ids("S", settings.individuals),
                  numbered_ids("R", settings.panel_individuals)};
    swap_some_alleles(cohort, locus_source);
    return cohort;
}

std::vector<Genotype> observed_genotypes(const Cohort& cohort, std::size_t locus) {
    const Settings& settings = cohort.settings;
    std::vector<Genotype> genotypes = true_genotypes(cohort, locus);
    if (settings.missing_rate == 0 && settings.error_rate == 0) return genotypes;
    RandomSource random(derived_seed(settings.seed, first_observation_stream + locus));
    std::vector<Genotype> observed = genotypes;
    for (Genotype& genotype : observed) {
        if (random.chance(settings.error_rate)) {
            genotype = Genotype((static_cast<int>(genotype) + 1 + random.below(2)) % 3);
        }
        if (random.chance(settings.missing_rate)) genotype = Genotype::missing;
    }
    return both_alleles_seen(observed) ? observed : genotypes;
}

}  // namespace simulation
