#include "containers/allele_rows.h"

#include <gtest/gtest.h>

#include <random>

#include "support/haplotype_text.h"

namespace {

TEST(AlleleRows, HoldTheAllelesOfAllHaplotypes) {
    std::mt19937 random(2);
    for (const int n : {1, 64, 65, 200})
        for (const int n_loci : {1, 63, 64, 130}) {
            std::vector<chaplotype> H;
            for (int h = 0; h < n; ++h)
                H.push_back(support::haplotype(support::random_alleles(n_loci, random)));
            for (const int first : {0, n_loci / 3}) {
                allele_rows rows;
                rows.copy(H, first, n_loci - 1);
                for (int l = first; l < n_loci; ++l)
                    for (int h = 0; h < n; ++h)
                        ASSERT_EQ(allele_rows::allele(rows.row(l), h), H[h].get(l))
                            << "locus " << l << ", " << h;
            }
        }
}

}  // namespace
