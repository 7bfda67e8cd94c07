#include "tools/genotype_sets.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "support/files.h"
#include "support/temporary_folder.h"

using evaluation::CalledSet;
using evaluation::PhasedSet;
using evaluation::PhaseMask;
using evaluation::Site;
using evaluation::SiteIndex;

namespace {

const std::string sample_text = "ID_1 ID_2 missing\n0 0 0\nfamily ann 0\nfamily bob 0\n";

// Whether reading fails with a message that contains `part`.
testing::AssertionResult fails_with(const std::string& part, const std::function<void()>& read) {
    try {
        read();
    } catch (const std::runtime_error& error) {
        if (std::string(error.what()).find(part) != std::string::npos) return testing::AssertionSuccess();
        return testing::AssertionFailure() << error.what();
    }
    return testing::AssertionFailure() << "read without an error";
}

class GenotypeSets : public testing::Test {
  protected:
    PhasedSet read_haps(const std::string& text) const {
        return evaluation::read_phased(folder.put("h.haps", text), folder.put("h.sample", sample_text));
    }

    CalledSet read_bed(const std::string& bytes) const {
        folder.put("p.fam", "f a 0 0 0 -9\nf b 0 0 0 -9\nf c 0 0 0 -9\nf d 0 0 0 -9\nf e 0 0 0 -9\n");
        folder.put("p.bim", "1\tv1\t0\t10\tA\tC\n1\tv2\t0\t20\tG\tGT\n");
        folder.put("p.bed", bytes);
        return evaluation::read_plink(folder.at("p"));
    }

    PhaseMask read_mask(const std::string& text) const {
        const PhasedSet truth = read_haps("v v 10 A C 0 1 1 1\nw w 20 A C 0 0 1 0\n");
        return evaluation::read_mask(folder.put("m", text), truth);
    }

    const support::temporary_folder folder;
};

TEST_F(GenotypeSets, HapsAndSample) {
    const PhasedSet set = read_haps("v v 10 A C 0 1 1 1\r\nw w 3000000000 A\tCG 0 0 1 0\n\n");
    EXPECT_EQ(set.people, (std::vector<std::string>{"ann", "bob"}));
    ASSERT_EQ(set.sites.size(), 2u);
    EXPECT_EQ(set.sites[1].position, 3'000'000'000);
    EXPECT_EQ(set.sites[1].allele1, "CG");
    EXPECT_EQ(set.alleles[0], (std::vector<bool>{false, true, true, true}));
    EXPECT_EQ(set.alleles[1], (std::vector<bool>{false, false, true, false}));
}

TEST_F(GenotypeSets, CompressedHaps) {
    const std::string haps = folder.put("h.haps.gz", support::gzip("v v 10 A C 0 1 1 1\n"));
    const std::string sample = folder.put("h.sample", sample_text);
    EXPECT_EQ(evaluation::read_phased(haps, sample).sites.size(), 1u);
    const std::string whole = support::read_file(haps);
    folder.put("h.haps.gz", whole.substr(0, whole.size() - 6));
    EXPECT_TRUE(fails_with("h.haps.gz", [&] { evaluation::read_phased(haps, sample); }));
}

TEST_F(GenotypeSets, MalformedHapsAreRejectedWithTheirLine) {
    EXPECT_TRUE(
        fails_with("line 2: too few fields", [&] { read_haps("v v 10 A C 0 1 1 1\nw w 20 A C 0 1 1\n"); }));
    EXPECT_TRUE(fails_with("line 1: too many fields", [&] { read_haps("v v 10 A C 0 1 1 1 0\n"); }));
    EXPECT_TRUE(fails_with("'2' is not an allele", [&] { read_haps("v v 10 A C 0 1 2 1\n"); }));
    EXPECT_TRUE(fails_with("'ten' is not a number", [&] { read_haps("v v ten A C 0 1 1 1\n"); }));
    EXPECT_TRUE(
        fails_with("cannot open", [&] { evaluation::read_phased(folder.at("no"), folder.at("no")); }));
}

TEST_F(GenotypeSets, PlinkCodes) {
    const CalledSet set = read_bed(std::string("\x6C\x1B\x01\xE4\x02\x00\x01", 7));
    const std::int8_t none = CalledSet::not_called;
    EXPECT_EQ(set.people, (std::vector<std::string>{"a", "b", "c", "d", "e"}));
    ASSERT_EQ(set.calls.size(), 2u);
    EXPECT_EQ(set.calls[0], (std::vector<std::int8_t>{0, none, 1, 2, 1}));
    EXPECT_EQ(set.calls[1], (std::vector<std::int8_t>{0, 0, 0, 0, none}));
    EXPECT_EQ(set.sites[1].allele0, "G");
    EXPECT_EQ(set.sites[1].allele1, "GT");
}

TEST_F(GenotypeSets, MalformedPlinkIsRejected) {
    EXPECT_TRUE(fails_with("not a variant-major BED file",
                           [&] { read_bed(std::string("\x6C\x1B\x00\xE4\x02\x00\x01", 7)); }));
    EXPECT_TRUE(fails_with("its size", [&] { read_bed(std::string("\x6C\x1B\x01\xE4\x02\x00", 6)); }));
}

TEST_F(GenotypeSets, GenCallsReachTheThreshold) {
    const std::string sample = folder.put("g.sample", sample_text);
    const std::string gen = folder.put("g.gen", "v v 10 A C 0.95 0.05 0 0.2 0.8 0\nw w 20 A C 0 0 0 0 0 1\n");
    const CalledSet set = evaluation::read_gen(gen, sample, 0.9);
    const std::int8_t none = CalledSet::not_called;
    EXPECT_EQ(set.calls[0], (std::vector<std::int8_t>{0, none}));
    EXPECT_EQ(set.calls[1], (std::vector<std::int8_t>{none, 2}));
    EXPECT_EQ(evaluation::read_gen(gen, sample, 0.8).calls[0], (std::vector<std::int8_t>{0, 1}));
}

TEST_F(GenotypeSets, MaskFollowsTheTruth) {
    EXPECT_EQ(read_mask("v 10 1.\nw 20 m0\n"), (PhaseMask{"1.", "m0"}));
    EXPECT_TRUE(fails_with("does not follow", [&] { read_mask("v 11 1.\nw 20 m0\n"); }));
    EXPECT_TRUE(fails_with("does not follow", [&] { read_mask("v 10 1.\nw 20 m0\nx 30 m0\n"); }));
    EXPECT_TRUE(fails_with("does not fit the people", [&] { read_mask("v 10 1\nw 20 m0\n"); }));
    EXPECT_TRUE(fails_with("may have only", [&] { read_mask("v 10 1?\nw 20 m0\n"); }));
    EXPECT_TRUE(fails_with("fewer sites", [&] { read_mask("v 10 1.\n"); }));
}

TEST_F(GenotypeSets, IdsAreTheFirstFields) {
    EXPECT_EQ(evaluation::read_ids(folder.put("i", "ann\nbob x\n")),
              (std::vector<std::string>{"ann", "bob"}));
}

TEST(SiteIndex, PositionAndAllelesIdentifyTheVariant) {
    const std::vector<Site> sites{{20, "A", "C"}, {10, "A", "G"}, {20, "A", "T"}};
    const SiteIndex index(sites);
    EXPECT_EQ(index.find({20, "A", "T"}).index, 2);
    EXPECT_FALSE(index.find({20, "A", "T"}).swapped);
    EXPECT_EQ(index.find({10, "G", "A"}).index, 1);
    EXPECT_TRUE(index.find({10, "G", "A"}).swapped);
    EXPECT_EQ(index.find({10, "A", "C"}).index, SiteIndex::not_found);
    EXPECT_EQ(index.find({30, "A", "C"}).index, SiteIndex::not_found);
}

}  // namespace
