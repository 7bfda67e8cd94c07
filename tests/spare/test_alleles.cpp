#include "spare/alleles.h"

#include <gtest/gtest.h>

namespace {

TEST(Put, AcceptsTwoAllelesAndRejectsAThird) {
    snp s(100, "", "");
    EXPECT_EQ(spare::put_allele(s, "G"), 0);
    EXPECT_EQ(spare::put_allele(s, "G"), 0) << "the same allele again is not a second one";
    EXPECT_EQ(s.a1, "");
    EXPECT_EQ(spare::put_allele(s, "A"), 1);
    EXPECT_EQ(spare::put_allele(s, "T"), -1);
    EXPECT_EQ(spare::put_allele(s, "A"), 1);
    EXPECT_EQ(spare::put_allele(s, "G"), 0);
    EXPECT_EQ(s.a0, "G");
    EXPECT_EQ(s.a1, "A");
}

TEST(IsSNP, TwoDifferentSingleLetters) {
    struct row {
        const char *a0, *a1;
        bool expected;
    };
    for (const row& r : {row{"A", "G", true}, row{"A", "A", false}, row{"AT", "A", false},
                         row{"A", "AT", false}, row{"A", "", false}, row{"", "", false}, row{"0", "A", true}})
        EXPECT_EQ(spare::isSNP(snp(1, r.a0, r.a1)), r.expected) << r.a0 << " " << r.a1;
}

}  // namespace
