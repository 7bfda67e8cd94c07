#include "selection/match_survey.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

constexpr double LEAST_LENGTH = 1e-6;    // cM, if nobody agrees with anybody
constexpr double MOST_MISMATCHES = 0.9;  // share of the ends; some are always jumps
constexpr double WEIGHT_OF_ALL = 0.1;    // of the mean of all individuals beside the findings of one

/// The first locus from `locus` on where differences(locus), the bits of 64 loci, has a bit; `n_loci` if
/// there is none.
template <class Differences>
int next_bit(int locus, int n_loci, Differences differences) {
    for (; locus < n_loci; locus += 64)
        if (const std::uint64_t bits = differences(locus); bits != 0) return locus + std::countr_zero(bits);
    return n_loci;
}

}  // namespace

void match_survey::lengths::add(const lengths& o, double weight) {
    cm += weight * o.cm;
    n_alleles += weight * o.n_alleles;
    n_ended += weight * o.n_ended;
}

double match_survey::lengths::mean() const {
    return cm / std::max(n_ended, 1.0);
}

void match_survey::findings::add(const findings& o, double weight) {
    matches.add(o.matches, weight);
    behind.add(o.behind, weight);
}

match_survey::match_survey(const genhap_set& set)
    : GH(set),
      n_compared(std::min(set.n_individuals(), MOST_COMPARED)),
      personal(set.n_individuals()),
      samples(n_compared) {}

void match_survey::add(const match_orders& to_right, int first_site, std::span<const int> sites,
                       std::span<const int> strangers, worker_team& team) {
    const int n = GH.n_individuals(), n_sites = static_cast<int>(sites.size());
    const auto sample_of = [&](int ind) {
        const long i = (static_cast<long>(ind) * n_compared + n - 1) / n;
        return i * n / n_compared == ind ? &samples[i] : nullptr;
    };
    // From right to left, as the stretches come, so that sums do not depend on where stretches begin.
    team.run(n, [&](int ind, int /*worker*/) {
        for (int s = n_sites - 1; s >= 0; --s)
            if ((first_site + s) % STRIDE == ind % STRIDE)
                for (const int h : haplotypes_of(ind))
                    measure(h, s, to_right, sites[s], (h + strangers[s]) % GH.n_haplotypes(), sample_of(ind));
    });
}

void match_survey::finish() {
    for (const findings& f : personal) all.add(f, 1.0);
    for (const comparisons& c : samples) {
        compared.behind.add(c.behind, 1.0);
        compared.chance.add(c.chance, 1.0);
        compared.chance_of_genotypes.add(c.chance_of_genotypes, 1.0);
    }
}

/// Adds the longest match of haplotype `h` on the right of `site`, which has number `s`.
void match_survey::measure(int h, int s, const match_orders& to_right, int site, int stranger,
                           comparisons* sample) {
    findings& own = personal[h / 2];
    to_right.nearest(s, h, 1, [&](int nearest, int last) {
        const int end = last + 1;
        add_stretch(site, end, own.matches);
        if (end == GH.snps.size()) return;
        add_stretch(end, next_conflict(h, nearest, end + 1), own.behind);
        if (sample != nullptr) compare(h, nearest, stranger, end, *sample);
    });
}

void match_survey::compare(int h, int nearest, int stranger, int end, comparisons& out) const {
    add_stretch(end + 1, next_difference(h, nearest, end + 1), out.behind);
    if (stranger / 2 == h / 2) return;
    add_stretch(end, next_conflict(h, stranger, end + 1), out.chance_of_genotypes);
    const int difference = next_difference(h, stranger, end);
    if (difference < GH.snps.size())
        add_stretch(difference + 1, next_difference(h, stranger, difference + 1), out.chance);
}

/// The first locus from `locus` on at which haplotype `h` differs from `other`.
int match_survey::next_difference(int h, int other, int locus) const {
    const chaplotype &a = GH.vecH[h], &o = GH.vecH[other];
    return next_bit(locus, a.size(), [&](int l) { return a.get64(l) ^ o.get64(l); });
}

/// The same for both haplotypes of the individual of `h`, where its genotype conflicts with `other`.
int match_survey::next_conflict(int h, int other, int locus) const {
    const chaplotype &a = GH.vecH[h], &b = GH.vecH[h ^ 1], &o = GH.vecH[other];
    return next_bit(locus, a.size(), [&](int l) {
        const std::uint64_t alleles = o.get64(l);
        return (a.get64(l) ^ alleles) & (b.get64(l) ^ alleles);
    });
}

/// Adds a stretch of agreement from locus `first` on that ends before locus `end`, with a difference there or
/// with the chromosome.
void match_survey::add_stretch(int first, int end, lengths& out) const {
    const int last = GH.snps.size() - 1;
    const auto cm = [&](int locus) { return GH.snps.getByIndex(std::min(locus, last))->cm; };
    out.cm += cm(end) - cm(first);
    out.n_alleles += end - first;
    out.n_ended += end <= last ? 1.0 : 0.0;
}

/// The number of matches that end before the chromosome does, over the sum of their lengths (the maximum
/// likelihood estimate of the rate r of ends, for an exponential distribution with right censoring), times
/// the share x of the ends that are jumps. Behind the others, the copied stretch goes on for 1 / (r x) on
/// average, so the mean length behind ends is (1 - x) / (r x) + x * chance; x is the smaller solution of this
/// quadratic equation.
double match_survey::jumps_of(const findings& of) const {
    const double ends = std::max(of.matches.n_ended, 1.0) / std::max(of.matches.cm, LEAST_LENGTH);
    const double chance = compared.chance_of_genotypes.mean();
    if (ends * chance >= 1.0) return ends;  // as long as matches: the lengths tell nothing
    const double b = 1.0 + ends * of.behind.mean();
    const double discriminant = b * b - 4.0 * ends * chance;
    const double jumps = discriminant > 0.0 ? 2.0 / (b + std::sqrt(discriminant)) : 1.0;
    return ends * std::min(jumps, 1.0);
}

double match_survey::jumps_per_cm(int individual) const {
    findings both = personal[individual];
    both.add(all, WEIGHT_OF_ALL / GH.n_individuals());
    return jumps_of(both);
}

/// If a share q of the ends are mismatches, the mean length behind ends is q times that of matches plus
/// 1 - q times that by chance.
double match_survey::mismatch() const {
    const double chance = compared.chance.mean(), more = all.matches.mean() - chance;
    if (more <= 0.0) return 0.0;
    const double share = std::clamp((compared.behind.mean() - chance) / more, 0.0, MOST_MISMATCHES);
    return all.matches.n_ended * share / std::max(all.matches.n_alleles, 1.0);
}
