#include "containers/genotype_counts.h"

#include <gtest/gtest.h>

#include <random>

#include "support/haplotype_text.h"
#include "support/study.h"

namespace {

TEST(CountGenotypes, AgreesWithCountingGenotypeByGenotype) {
    std::mt19937 random(1);
    for (const int n_variants : {0, 1, 7, 64, 65, 150})
        for (const int n_individuals : {0, 1, 6}) {
            std::vector<std::string> genotypes;
            for (int i = 0; i < n_individuals; ++i)
                genotypes.push_back(support::random_genotypes(n_variants, 30, 15, random));
            genotype_counts expected;
            expected.ind_missing.resize(n_individuals);
            const int n_counted = n_individuals == 0 ? 0 : n_variants;
            for (auto* counts : {&expected.snp_missing, &expected.count_a0, &expected.count_a1})
                counts->resize(n_counted);
            for (int i = 0; i < n_individuals; ++i)
                for (int v = 0; v < n_counted; ++v) {
                    const char genotype = genotypes[i][v];
                    if (genotype == '.') {
                        ++expected.ind_missing[i];
                        ++expected.snp_missing[v];
                        continue;
                    }
                    expected.count_a1[v] += genotype - '0';
                    expected.count_a0[v] += '2' - genotype;
                }
            const genotype_counts n = count_genotypes(support::study_of(genotypes));
            EXPECT_EQ(n.ind_missing, expected.ind_missing);
            EXPECT_EQ(n.snp_missing, expected.snp_missing);
            EXPECT_EQ(n.count_a0, expected.count_a0);
            EXPECT_EQ(n.count_a1, expected.count_a1);
        }
}

}  // namespace
