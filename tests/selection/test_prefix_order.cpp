#include "selection/prefix_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

#include "containers/allele_rows.h"
#include "support/haplotype_text.h"

namespace {

/// The haplotypes sorted by their alleles before locus `end`, read backwards; equal ones by index.
std::vector<int> sorted(const std::vector<std::string>& alleles, int end) {
    std::vector<int> order(alleles.size());
    std::iota(order.begin(), order.end(), 0);
    const auto reversed = [&](int h) {
        std::string prefix = alleles[h].substr(0, end);
        std::ranges::reverse(prefix);
        return prefix;
    };
    std::ranges::stable_sort(order, [&](int a, int b) { return reversed(a) < reversed(b); });
    return order;
}

/// The first locus from which the alleles agree up to locus `end`, exclusive.
int start_of_match(const std::string& a, const std::string& b, int end) {
    int start = end;
    while (start > 0 && a[start - 1] == b[start - 1]) --start;
    return start;
}

TEST(PrefixOrder, IsASortOfReversedPrefixes) {
    std::mt19937 random(4);
    for (const int n : {1, 2, 63, 64, 65, 130}) {
        constexpr int N_LOCI = 40;
        std::vector<std::string> alleles;
        for (int h = 0; h < n; ++h)
            alleles.push_back(h > 3 && random() % 4 == 0 ? alleles[random() % h]
                                                         : support::random_alleles(N_LOCI, random));
        allele_rows rows;
        rows.copy(support::haplotypes(alleles), 0, N_LOCI - 1);
        prefix_order order(n);
        for (int l = 0; l < N_LOCI; ++l) {
            order.step(rows.row(l));
            ASSERT_EQ(order.steps(), static_cast<std::uint32_t>(l + 1));
            const std::vector<int> expected = sorted(alleles, l + 1);
            for (int i = 0; i < n; ++i) {
                const prefix_order::entry& e = order.entries()[i];
                ASSERT_EQ(static_cast<int>(e.haplotype), expected[i]) << "locus " << l;
                const int start =
                    i == 0 ? l + 1 : start_of_match(alleles[expected[i - 1]], alleles[expected[i]], l + 1);
                ASSERT_EQ(static_cast<int>(e.start), start) << "locus " << l << ", entry " << i;
            }
        }
    }
}

}  // namespace
