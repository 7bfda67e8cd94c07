#include "readers/genotype_checks.h"

#include <algorithm>
#include <string>

#include "utils/lfile.h"

namespace {

constexpr double HIGH_MISSING_RATE = 0.05;

void report(int count, const std::string& text) {
    if (count > 0) LOG.println("  * " + std::to_string(count) + text);
}

/// Number of counts that exceed HIGH_MISSING_RATE of `n`.
int count_high(const std::vector<int>& n_missing, int n) {
    return static_cast<int>(std::count_if(n_missing.begin(), n_missing.end(),
                                          [n](int missing) { return missing > HIGH_MISSING_RATE * n; }));
}

int count_equal(const std::vector<int>& n_missing, int n) {
    return static_cast<int>(std::count(n_missing.begin(), n_missing.end(), n));
}

/// The names of the first individuals or variants of which more than `limit` genotypes are missing.
template <class NameOf>
std::string first_names(const std::vector<int>& n_missing, double limit, NameOf name_of) {
    constexpr int MOST_NAMES = 5;
    int n = 0;
    std::string names;
    for (std::size_t i = 0; i < n_missing.size(); ++i)
        if (n_missing[i] > limit && ++n <= MOST_NAMES) names += (n > 1 ? ", " : "") + name_of(i);
    return names + (n > MOST_NAMES ? " and " + std::to_string(n - MOST_NAMES) + " more" : "");
}

/// name_missing for individuals or variants, each with `n` genotypes.
template <class NameOf>
void name_missing(const std::string& things, const std::vector<int>& n_missing, int n, NameOf name_of) {
    const std::string empty = first_names(n_missing, n - 0.5, name_of);
    if (n > 0 && !empty.empty())
        LOG.refuse("no-genotypes", "input", 0, things + " without any genotype: " + empty,
                   "none; exclude them");
    const std::string high = first_names(n_missing, HIGH_MISSING_RATE * n, name_of);
    if (LOG.isStrict() && !high.empty())
        LOG.println("  * " + things + " with high rates of missing data: " + high);
}

}  // namespace

void name_missing(const genotype_store& store, const genotype_counts& counts) {
    const auto& variants = store.snps.snp_list;
    name_missing("individuals", counts.ind_missing, store.snps.size(),
                 [&store](std::size_t i) { return store.ind_ids[i]; });
    name_missing("variants", counts.snp_missing, static_cast<int>(store.ind_ids.size()),
                 [&variants](std::size_t v) {
                     return variants[v].id + " (" + std::to_string(variants[v].bp) + " bp)";
                 });
}

void check_missing(const genotype_counts& counts, bool tolerate_empty) {
    const int n_ind = static_cast<int>(counts.ind_missing.size());
    const int n_snp = static_cast<int>(counts.snp_missing.size());
    report(count_high(counts.ind_missing, n_snp), " individuals with high rates of missing data (>5%)");
    report(count_high(counts.snp_missing, n_ind), " SNPs with high rates of missing data (>5%)");

    const auto stop_at_empty = [tolerate_empty](int count, const std::string& text, bool stop_at_none) {
        if (count == 0 && !stop_at_none) return;
        if (!tolerate_empty) LOG.error(std::to_string(count) + text);
        report(count, text);
    };
    // Without variants each individual counts as fully missing, and vice versa. If there are neither, the run
    // must stop as well.
    const bool nothing = n_ind == 0 && n_snp == 0;
    stop_at_empty(count_equal(counts.ind_missing, n_snp), " fully missing individuals (=100%)", nothing);
    stop_at_empty(count_equal(counts.snp_missing, n_ind), " fully missing SNPs (=100%)", false);
}

monomorphic_repairs repair_monomorphic(genotype_store& store, const genotype_counts& counts) {
    monomorphic_repairs repairs;
    for (int v = 0; v < store.snps.size(); ++v) {
        if (counts.count_a0[v] > 0 && counts.count_a1[v] > 0) continue;
        ++repairs.n_variants;
        repairs.n_genotypes += store.resetSnp(v);
        snp* variant = store.snps.getByIndex(v);
        if (counts.count_a0[v] > 0)
            variant->fill();
        else
            variant->flip();
        if (variant->a1 == "0") variant->a1 = variant->a0;  // Plink's mark for an allele never seen
    }
    return repairs;
}

void report_variants(const monomorphic_repairs& repairs, const genotype_counts& counts) {
    int singletons = 0;
    for (std::size_t v = 0; v < counts.count_a0.size(); ++v) {
        const int a0 = counts.count_a0[v], a1 = counts.count_a1[v];
        singletons += a0 > 0 && a1 > 0 && (a0 == 1 || a1 == 1);
    }
    report(repairs.n_variants, " monomorphic SNPs");
    report(repairs.n_genotypes, " missing genotypes automatically imputed at monomorphic SNPs");
    report(singletons, " singletons SNPs");
}
