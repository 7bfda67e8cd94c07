#include "readers/panel_source.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "support/child_process.h"
#include "support/files.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/study.h"

namespace {

using support::log_capture;
using support::stops_with;
using support::study;

/// The three files of a panel, and the log.
struct panel {
    panel(const std::string& haps_text, const std::string& legend_lines, const std::string& sample_lines)
        : haps(capture.folder().put("panel.haps", haps_text)),
          legend(capture.folder().put("panel.legend", "id position a0 a1\n" + legend_lines)),
          sample(capture.folder().put("panel.sample", "sample population group sex\n" + sample_lines)) {}
    void read_into(study& s) const { s.read_panel(haps, legend, sample); }

    log_capture capture;
    std::string haps, legend, sample;
};

/// A study of one individual; the variants are at 100, 200, ... bp with alleles A and G.
struct small_study : study {
    explicit small_study(int n_variants) { store = support::study_of({std::string(n_variants, '0')}); }
    /// One variant per pair of alleles, all at 100 bp.
    explicit small_study(const std::vector<std::pair<std::string, std::string>>& alleles) {
        for (const auto& [a0, a1] : alleles) store.snps.put(snp(100, a0, a1));
        store.snps.indexing();
    }
    std::vector<int> absent() const {
        std::vector<int> positions;
        for (const snp* variant : absent_variants(store.snps)) positions.push_back(variant->bp);
        return positions;
    }
};

const char* const TWO = "R1 CEU EUR 2\nR2\n";

TEST(PanelSource, AlignsThePanelToTheStudy) {
    const panel files("0 1 1 0\n1 1 0 0\n", "rs0 100 A G\nrs1 200 A G extra field\n", TWO);
    small_study s(2);
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"01", "11", "10", "00"}));
    EXPECT_TRUE(s.absent().empty());
    EXPECT_EQ(files.capture.log(), "\nReading sample list [" + files.sample +
                                       "]\n  * 4 reference haplotypes included\n" + "\nReading SNPs in [" +
                                       files.legend + "]\n" + "\nReading reference haplotypes in [" +
                                       files.haps + "]\n");
    EXPECT_EQ(files.capture.console(), files.capture.log());
}

TEST(PanelSource, SwappedAllelesFlipTheRow) {
    const panel files("0 1 1 0\n0 1 1 0\n", "rs0 100 G A\nrs1 200 A G\n", TWO);
    small_study s(2);
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"10", "01", "01", "10"}));
}

TEST(PanelSource, RowsInAnyOrderAndBeyondTheStudy) {
    const panel files(
        "0 1 1 0\n"
        "not even the right number of fields\n"
        "\n"
        "1 1 1 0\n",
        "rs1 200 A G\nrs9 250 A G\nrs8 100 C T\nrs0 100 A G\n", TWO);
    small_study s(2);
    files.read_into(s);
    // As many loci as the legend has lines, indexed by the study's variants, and 0 past them.
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"1000", "1100", "1100", "0000"}));
}

TEST(PanelSource, OnlyTheDigit1IsTheSecondAllele) {
    for (const auto& [legend, expected] :
         {std::pair("rs0 100 A G\n", "1000"), std::pair("rs0 100 G A\n", "0111")}) {
        const panel files("1 2 ? 01\n", legend, TWO);
        small_study s(1);
        files.read_into(s);
        std::string alleles;
        for (const std::string& own : s.panel_haplotypes()) alleles += own;
        EXPECT_EQ(alleles, expected) << legend;
    }
}

TEST(PanelSource, ExcludedIndividualsAreSkipped) {
    const panel files("0 1 1 1 0 1\n", "rs0 100 A G\n", "R1\nR2\nI0\n");
    small_study s(1);
    s.filter.ind_exclude["R2"] = false;
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"0", "1", "0", "1"}))
        << "an identifier that is also in the study is accepted";
    EXPECT_NE(files.capture.log().find(
                  "  * 4 reference haplotypes included\n  * 2 reference haplotypes excluded\n"),
              std::string::npos);
}

TEST(PanelSource, MonomorphicVariantsMatchByTheirAllele) {
    for (const auto& [legend, expected] : {std::pair("rs0 100 A G\n", "01"), std::pair("rs0 100 G A\n", "10"),
                                           std::pair("rs0 100 A A\n", "01")}) {
        const panel files("0 1\n", legend, "R1\n");
        small_study s(1);
        s.store.snps.getByIndex(0)->a1 = "A";
        files.read_into(s);
        EXPECT_EQ(s.panel_haplotypes()[0] + s.panel_haplotypes()[1], expected) << legend;
    }
}

TEST(PanelSource, LastOfSeveralLinesWins) {
    const panel files("0 1\n1 0\n", "rs0 100 A G\nrs0 100 A G\n", "R1\n");
    small_study s(1);
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"10", "00"}));
}

TEST(PanelSource, VariantsAtOnePositionDifferByTheirAlleles) {
    const panel files("0 1\n1 0\n", "rs1 100 C T\nrs0 100 A G\n", "R1\n");
    small_study s({{"A", "G"}, {"T", "C"}});
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"11", "00"})) << "the second one is flipped";
}

TEST(PanelSource, AbsentVariantsHaveNoMatch) {
    const panel files("0 1\n0 1\n", "rs0 100 A G\nrs2 300 C T\n", "R1\n");
    small_study s(4);
    files.read_into(s);
    // The second and the fourth variant have no line, the third one has a line with other alleles.
    EXPECT_EQ(s.absent(), (std::vector<int>{200, 300, 400}));
}

TEST(PanelSource, AShortLegendStillGivesAnAlleleToEachVariant) {
    const panel files("0 1\n1 1\n", "rs0 100 A G\nrs3 400 A G\n", "R1\n");
    small_study s(4);
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"0001", "1001"}));
}

TEST(PanelSource, OnlyTheFirstOfTwoEqualVariantsIsMatched) {
    const panel files("0 1\n0 1\n", "rs0 100 A G\nrs1 100 A G\n", "R1\n");
    small_study s({{"A", "G"}, {"A", "G"}});
    files.read_into(s);
    EXPECT_TRUE(s.store.snps.getByIndex(0)->in_ref);
    EXPECT_FALSE(s.store.snps.getByIndex(1)->in_ref);
}

TEST(PanelSource, YieldsOnlyRowsOfStudyVariants) {
    const panel files("0 1\n1 0\n1 1\n", "rs2 300 A G\nrs9 50 A G\nrs0 100 G A\n", "R1\n");
    small_study s(3);
    panel_source source(files.legend, files.sample, s.filter, s.store.ind_ids, s.store.snps);
    source.open(files.haps);
    haplotype_block block;
    ASSERT_TRUE(source.read(block));
    ASSERT_EQ(block.variants.size(), 2U);
    EXPECT_EQ(block.variants[0].idx, 2);
    EXPECT_FALSE(block.variants[0].is_turned);
    EXPECT_EQ(block.variants[1].idx, 0);
    EXPECT_TRUE(block.variants[1].is_turned);
    EXPECT_EQ(block.words, (std::vector<std::uint64_t>{0b10, 0b11})) << "as in the file";
    EXPECT_FALSE(source.read(block));
    EXPECT_FALSE(source.read(block)) << "and none after that";
}

TEST(PanelSource, ShorterHapsLeaveZeros) {
    const panel files("1 1\n", "rs0 100 A G\nrs1 200 G A\n", "R1\n");
    small_study s(2);
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"10", "10"}));
}

TEST(PanelSource, LinesBeyondTheLegendAreReportedAndIgnored) {
    const panel files("0 1\nx y z\n1 0\n", "rs0 100 A G\n", "R1\n");
    small_study s(1);
    files.read_into(s);
    EXPECT_EQ(s.panel_haplotypes(), (std::vector<std::string>{"0", "1"}));
    EXPECT_NE(files.capture.log().find("WARNING: 2 lines of [" + files.haps + "] lie beyond"),
              std::string::npos);
}

TEST(PanelSource, ErrorsStopTheRun) {
    struct row {
        const char *name, *haps, *legend, *sample, *message;
    };
    for (const row& r :
         {row{"empty line in the sample list", "0 1\n", "rs0 100 A G\n", "R1\n\n",
              "Line=1 expected at least 1 column!"},
          row{"three fields in the legend", "0 1\n", "rs0 100 A G\nrs1 200 A\n", "R1\n",
              "Line=1 found=3 fields, expected more  than 4"},
          row{"empty line in the legend", "0 1\n", "\n", "R1\n",
              "Line=1 found=0 fields, expected more  than 4"},
          row{"a column too few", "0\n", "rs0 100 A G\n", "R1\n", "Line=1 found=1 fields, expected=2"},
          row{"a column too many", "0 1 0\n", "rs0 100 A G\n", "R1\n", "Line=1 found=3 fields, expected=2"},
          row{"empty row", "\n", "rs0 100 A G\n", "R1\n", "Line=1 found=0 fields, expected=2"},
          row{"in the second row", "x\n0\n", "rs9 90 A G\nrs0 100 A G\n", "R1\n",
              "Line=2 found=1 fields, expected=2"}}) {
        const panel files(r.haps, r.legend, r.sample);
        EXPECT_TRUE(stops_with(r.message, [&] {
            small_study s(1);
            files.read_into(s);
        })) << r.name;
    }
}

TEST(PanelSource, ExcludedColumnsCountToo) {
    const panel files("0 1\n", "rs0 100 A G\n", TWO);
    EXPECT_TRUE(stops_with("Line=1 found=2 fields, expected=4", [&] {
        small_study s(1);
        s.filter.ind_exclude["R2"] = false;
        files.read_into(s);
    }));
}

TEST(PanelSource, PositionsBeyondAnIntStopTheRun) {
    const panel files("0 1\n", "rs0 100 A G\nrs1 9999999999 A G\n", "R1\n");
    EXPECT_TRUE(support::stops_naming({files.legend + " line 3: [9999999999] is out of range"}, [&] {
        small_study s(1);
        files.read_into(s);
    }));
}

TEST(PanelSource, ReadsEveryAllele) {
    std::mt19937 random(1);
    for (int trial = 0; trial < 30; ++trial) {
        const int n_variants = 1 + static_cast<int>(random() % (trial % 3 == 0 ? 150 : 20)),
                  n_individuals = 1 + static_cast<int>(random() % 6);
        std::vector<std::string> expected(2 * n_individuals);
        std::ostringstream haps, legend, sample;
        int n_lines = 0;
        for (int i = 0; i < n_individuals; ++i) sample << "R" << i << "\n";
        for (int v = 0; v < n_variants; ++v) {
            for (std::size_t extra = random() % 3; extra > 0; --extra, ++n_lines) {
                legend << "x " << 100 * v + 50 << " A G\n";
                haps << "any text\n";
            }
            const bool turned = random() % 2 == 0;
            legend << "rs" << v << " " << 100 * (v + 1) << (turned ? " G A\n" : " A G\n");
            ++n_lines;
            for (std::string& own : expected) {
                const bool one = random() % 2 == 0;
                haps << (one ? "1 " : "0 ");
                own += one != turned ? '1' : '0';
            }
            haps << "\n";
        }
        for (std::string& own : expected) own.resize(n_lines, '0');
        const panel files(haps.str(), legend.str(), sample.str());
        small_study s(n_variants);
        files.read_into(s);
        EXPECT_EQ(s.panel_haplotypes(), expected);
    }
}

}  // namespace
