#include "readers/genotype_checker.h"

#include <algorithm>
#include <string>

#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

constexpr double HIGH_MISSING_RATE = 0.05;

void report(int count, const std::string& text) {
    if (count > 0) LOG.println("  * " + sutils::int2str(count) + text);
}

/// How many entries lie above the rate that is worth a word.
int count_high(const std::vector<int>& n_missing, int n) {
    return static_cast<int>(std::count_if(n_missing.begin(), n_missing.end(),
                                          [n](int missing) { return missing > HIGH_MISSING_RATE * n; }));
}

}  // namespace

struct genotype_checker::counts {
    std::vector<int> ind_missing;  // missing genotypes of each individual
    std::vector<int> snp_missing;  // missing genotypes of each variant
    std::vector<int> count_a0;     // copies of a0 at each variant, missing genotypes apart
    std::vector<int> count_a1;
};

void genotype_checker::checkGenotypeData() {
    checkMissingAndMAF(false);
}

void genotype_checker::checkMissingAndMAF(bool tolerate_empty) {
    LOG.println("\nChecking missingness and MAF...");
    const counts n = countGenotypes();
    reportMissing(n, tolerate_empty);
    repairMonomorphic(n);
    writeSideFiles(n);
}

genotype_checker::counts genotype_checker::countGenotypes() const {
    const std::size_t n_ind = G.ind_ids.size();
    const int n_snp = G.snps->size();
    counts n{std::vector<int>(n_ind), std::vector<int>(n_snp), std::vector<int>(n_snp),
             std::vector<int>(n_snp)};
    for (std::size_t i = 0; i < n_ind; ++i)
        for (int v = 0; v < n_snp; ++v) {
            if (G.missing[i][v]) {
                ++n.ind_missing[i];
                ++n.snp_missing[v];
                continue;
            }
            const int copies = G.allele_a[i][v] + G.allele_b[i][v];
            n.count_a1[v] += copies;
            n.count_a0[v] += 2 - copies;
        }
    return n;
}

void genotype_checker::reportMissing(const counts& n, bool tolerate_empty) const {
    const int n_ind = static_cast<int>(G.ind_ids.size());
    const int n_snp = G.snps->size();
    report(count_high(n.ind_missing, n_snp), " individuals with high rates of missing data (>5%)");
    report(count_high(n.snp_missing, n_ind), " SNPs with high rates of missing data (>5%)");

    const auto stop_at_empty = [tolerate_empty](int count, const std::string& text, bool stop_at_none) {
        if (count == 0 && !stop_at_none) return;
        if (!tolerate_empty) LOG.error(sutils::int2str(count) + text);
        report(count, text);
    };
    const auto n_empty = [](const std::vector<int>& n_missing, int all) {
        return static_cast<int>(std::count(n_missing.begin(), n_missing.end(), all));
    };
    // Without variants each individual is fully missing, and the reverse; with neither there is nothing to
    // phase either.
    const bool nothing = n_ind == 0 && n_snp == 0;
    stop_at_empty(n_empty(n.ind_missing, n_snp), " fully missing individuals (=100%)", nothing);
    stop_at_empty(n_empty(n.snp_missing, n_ind), " fully missing SNPs (=100%)", false);
}

void genotype_checker::repairMonomorphic(const counts& n) {
    int monomorphic = 0, imputed = 0, singletons = 0;
    for (int v = 0; v < G.snps->size(); ++v) {
        if (n.count_a0[v] > 0 && n.count_a1[v] > 0) {
            singletons += n.count_a0[v] == 1 || n.count_a1[v] == 1;
            continue;
        }
        ++monomorphic;
        imputed += G.resetSnp(v);
        snp* variant = G.snps->getByIndex(v);
        if (n.count_a0[v] > 0)
            variant->fill();
        else
            variant->flip();
        if (variant->a1 == "0") variant->a1 = variant->a0;  // Plink's mark for an allele never seen
    }
    report(monomorphic, " monomorphic SNPs");
    report(imputed, " missing genotypes automatically imputed at monomorphic SNPs");
    report(singletons, " singletons SNPs");
}

void genotype_checker::writeSideFiles(const counts& n) const {
    const std::string prefix = lfile::getPrefix(LOG.name());
    ofile individuals(prefix + ".ind.mm");
    individuals << "id\tmissing\n";
    for (std::size_t i = 0; i < G.ind_ids.size(); ++i)
        individuals << G.ind_ids[i] << '\t' << n.ind_missing[i] << '\n';
    individuals.close();

    // The head names seven columns and the rows hold four of them: programs that read this file count on it.
    ofile variants(prefix + ".snp.mm");
    variants << "id\tposition\tA\tB\tmissing\tcount_A_total\tcount_B_total\n";
    for (int v = 0; v < G.snps->size(); ++v) {
        const snp* variant = G.snps->getByIndex(v);
        variants << variant->id << '\t' << variant->bp << '\t' << n.count_a0[v] << '\t' << n.count_a1[v]
                 << '\n';
    }
    variants.close();
}
