#include "containers/genotype_store.h"

#include <gtest/gtest.h>

#include <random>

#include "support/haplotype_text.h"
#include "support/study.h"

namespace {

TEST(GenotypeStore, AppendsBlocksOfVariants) {
    std::mt19937 random(1);
    for (const int n_variants : {0, 1, 63, 64, 65, 128, 200}) {
        std::vector<std::string> genotypes;
        for (int i = 0; i < 5; ++i)
            genotypes.push_back(support::random_genotypes(n_variants, 40, 10, random));
        const genotype_store expected = support::study_of(genotypes);
        genotype_store store(expected.ind_ids);
        store.reserve(n_variants);
        for (int first = 0; first < n_variants; first += BLOCK_VARIANTS) {
            genotype_block block(5);
            for (int v = first; v < std::min(first + BLOCK_VARIANTS, n_variants); ++v)
                block.variants.push_back(*expected.snps.getByIndex(v));
            for (int i = 0; i < 5; ++i)
                block.words[i] = {expected.allele_a[i].get64(first), expected.allele_b[i].get64(first),
                                  expected.missing[i].get64(first)};
            EXPECT_EQ(block.is_full(), n_variants - first >= BLOCK_VARIANTS);
            store.append(block);
        }
        EXPECT_EQ(store.n_individuals(), 5);
        EXPECT_EQ(support::genotypes_of(store), genotypes) << n_variants << " variants";
        EXPECT_EQ(support::variants_of(store.snps), support::variants_of(expected.snps));
    }
}

TEST(GenotypeBlock, ClearRemovesVariantsAndGenotypes) {
    genotype_block block(2);
    block.variants.push_back(snp(1, "A", "G"));
    block.words[1] = {1, 1, 0};
    block.clear();
    EXPECT_TRUE(block.variants.empty());
    EXPECT_EQ(block.words, std::vector<genotype_word>(2));
}

TEST(ResetSnp, MakesAllHomozygousAndCountsTheMissing) {
    genotype_store s = support::study_of({"0.2", "1.1", "2.0", "112"});
    EXPECT_EQ(s.resetSnp(1), 3);
    EXPECT_EQ(support::genotypes_of(s), (std::vector<std::string>{"002", "101", "200", "102"}));
    EXPECT_EQ(s.resetSnp(0), 0);
    EXPECT_EQ(support::genotypes_of(s), (std::vector<std::string>{"002", "001", "000", "002"}));
}

TEST(MakeHaploid, HeterozygousGenotypesBecomeMissing) {
    genotype_store store = support::study_of({"012.1", "012.1"});
    EXPECT_EQ(store.makeHaploid(1), 2);
    EXPECT_EQ(support::genotypes_of(store), (std::vector<std::string>{"012.1", "0.2.."}));
    ASSERT_EQ(store.haploid.size(), 2U);
    EXPECT_EQ(store.haploid[0].toString(), "00000");
    EXPECT_EQ(store.haploid[1].toString(), "11111");
}

TEST(SettleMissingHaploid, FollowsTheGenotypesAround) {
    struct row {
        const char *genotypes, *marked, *settled;
    };
    // A haploid genotype is 0 or 2.
    for (const row& r : {row{"0.2", "101", "111"}, row{"0.2", "111", "111"}, row{"0.2", "000", "000"},
                         row{"1.1", "010", "000"}, row{"0.1", "100", "100"}, row{"0.1", "110", "110"},
                         row{"1..0", "0101", "0101"}, row{"..0", "001", "111"}, row{"0..", "111", "111"},
                         row{"..1", "110", "000"}, row{"1..", "011", "000"}, row{"...", "111", "000"},
                         row{"0.2.1.1.0", "101000001", "111000001"}}) {
        genotype_store store = support::study_of({r.genotypes});
        store.haploid = {support::haplotype(r.marked)};
        store.settleMissingHaploid();
        EXPECT_EQ(store.haploid[0].toString(), r.settled) << r.genotypes << " " << r.marked;
    }
}

TEST(KeepVariants, RemovesTheOthers) {
    genotype_store store = support::study_of({"012.1", "22110"});
    store.keepVariants({false, true, true, false, true});
    EXPECT_EQ(support::genotypes_of(store), (std::vector<std::string>{"121", "210"}));
    ASSERT_EQ(store.snps.size(), 3);
    EXPECT_EQ(store.snps.getByIndex(2)->bp, 500);
    EXPECT_EQ(store.snps.getByIndex(2)->idx, 2);
}

}  // namespace
