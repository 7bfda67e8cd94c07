#include "readers/bed_decoding.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(DecodeBed, AgreesWithReferenceForAnyNumberOfIndividuals) {
    std::mt19937 random(1);
    for (int n = 0; n <= 70; ++n)
        for (const int padding : {0, 3}) {
            const int stride = (n + 3) / 4 + padding;
            std::vector<unsigned char> rows(static_cast<std::size_t>(stride) * BLOCK_VARIANTS);
            for (auto& byte : rows) byte = static_cast<unsigned char>(random());
            std::vector<genotype_word> words(n), plain(n);
            decode_bed(rows.data(), stride, n, words.data());
            decode_bed_plain(rows.data(), stride, n, plain.data());
            ASSERT_TRUE(words == plain) << n;
        }
}

TEST(DecodeBed, FourCodesOfOneVariant) {
    std::vector<unsigned char> rows(BLOCK_VARIANTS, 0);
    rows[5] = 0b11'10'01'00;
    std::vector<genotype_word> words(4);
    decode_bed(rows.data(), 1, 4, words.data());
    const std::uint64_t bit = 1 << 5;
    EXPECT_TRUE(words[0] == (genotype_word{0, 0, 0}));
    EXPECT_TRUE(words[1] == (genotype_word{0, 0, bit})) << "missing";
    EXPECT_TRUE(words[2] == (genotype_word{0, bit, 0})) << "heterozygous";
    EXPECT_TRUE(words[3] == (genotype_word{bit, bit, 0}));
}

}  // namespace
