#include "tools/cohort_files.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "support/files.h"
#include "support/temporary_folder.h"
#include "tools/genotype_sets.h"

using evaluation::CalledSet;
using evaluation::PhasedSet;
using simulation::Cohort;
using simulation::Genotype;
using simulation::Settings;

namespace {

constexpr auto hom0 = Genotype::homozygous0;
constexpr auto het = Genotype::heterozygous;
constexpr auto hom1 = Genotype::homozygous1;
constexpr auto missing = Genotype::missing;

Cohort small_cohort() {
    Settings settings;
    settings.individuals = 21;
    settings.panel_individuals = 10;
    settings.absent_in_panel_rate = 0.1;
    settings.extra_in_panel_rate = 0.5;
    settings.megabases = 0.5;
    settings.missing_rate = 0.05;
    settings.error_rate = 0.02;
    return simulate(settings);
}

// Two loci, three people in the study, one in the panel, nothing missing.
Cohort handmade_cohort() {
    simulation::RecombinationMap map({{100, 2.5, 1.0}, {300, 0.0, 1.0005}});
    simulation::BitMatrix alleles(2, 8);
    for (const std::size_t haplotype : {1, 2, 3, 7}) alleles.set(0, haplotype);
    for (const std::size_t haplotype : {0, 6}) alleles.set(1, haplotype);
    Settings settings;
    settings.chromosome = "7";
    return {settings,
            std::move(map),
            {{"x", 100, "A", "C", true, true}, {"y", 300, "GT", "G", true, false}},
            std::move(alleles),
            {"S1", "S2", "S3"},
            {"R1"}};
}

// The genotypes of a cohort as the reader should return them.
std::vector<std::vector<std::int8_t>> expected_calls(const Cohort& cohort) {
    std::vector<std::vector<std::int8_t>> rows;
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!cohort.loci[row].in_study) continue;
        std::vector<std::int8_t>& calls = rows.emplace_back();
        for (const Genotype genotype : observed_genotypes(cohort, row)) {
            calls.push_back(genotype == missing ? CalledSet::not_called : static_cast<std::int8_t>(genotype));
        }
    }
    return rows;
}

TEST(BedBlock, FourGenotypesPerByteLowestBitsFirst) {
    EXPECT_EQ(simulation::bed_block({hom0, missing, het, hom1}), "\xE4");
    EXPECT_EQ(simulation::bed_block({het, hom1, hom1, hom0, missing}), "\x3E\x01");
    EXPECT_EQ(simulation::bed_block({}), "");
}

TEST(CohortFiles, HandmadeCohort) {
    const support::temporary_folder folder;
    const std::string prefix = folder.at("c");
    const Cohort cohort = handmade_cohort();
    write_bed(cohort, prefix);
    write_gen(cohort, prefix, false, 0);
    write_map(cohort, prefix, false);
    write_truth(cohort, prefix, false);
    write_panel(cohort, prefix);
    write_vcf(cohort, prefix);
    write_panel_vcf(cohort, prefix);
    const auto text = [&](const std::string& end) { return support::read_file(prefix + end); };
    EXPECT_EQ(text(".bed"), std::string("\x6C\x1B\x01\x0E\x02", 5));
    EXPECT_EQ(text(".bim"), "7\tx\t1.000000\t100\tA\tC\n7\ty\t1.000500\t300\tGT\tG\n");
    EXPECT_EQ(text(".fam"), "S1 S1 0 0 0 -9\nS2 S2 0 0 0 -9\nS3 S3 0 0 0 -9\n");
    EXPECT_EQ(text(".gen"), "x x 100 A C 0 1 0 0 0 1 1 0 0\ny y 300 GT G 0 1 0 1 0 0 1 0 0\n");
    EXPECT_EQ(text(".sample"), "ID_1 ID_2 missing\n0 0 0\nS1 S1 0\nS2 S2 0\nS3 S3 0\n");
    EXPECT_EQ(text(".map"),
              "position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n100 2.500000 1.000000000\n300 0.000000 "
              "1.000500000\n");
    EXPECT_EQ(text(".truth.haps"), "x x 100 A C 0 1 1 1 0 0\ny y 300 GT G 1 0 0 0 0 0\n");
    EXPECT_EQ(text(".truth.sample"), text(".sample"));
    EXPECT_EQ(support::gunzip(text(".panel.haps.gz")), "0 1\n");
    EXPECT_EQ(support::gunzip(text(".panel.legend.gz")), "id position a0 a1\nx 100 A C\n");
    const std::string header =
        "##fileformat=VCFv4.2\n##contig=<ID=7>\n"
        "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Genotype\">\n"
        "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\t";
    EXPECT_EQ(support::gunzip(text(".vcf.gz")),
              header +
                  "S1\tS2\tS3\n7\t100\tx\tA\tC\t.\tPASS\t.\tGT\t0/1\t1/1\t0/0\n"
                  "7\t300\ty\tGT\tG\t.\tPASS\t.\tGT\t0/1\t0/0\t0/0\n");
    EXPECT_EQ(support::gunzip(text(".panel.vcf.gz")), header + "R1\n7\t100\tx\tA\tC\t.\tPASS\t.\tGT\t0|1\n");
    EXPECT_EQ(text(".panel.sample"), "sample population group sex\nR1 SIM SIM 1\n");
}

TEST(CohortFiles, GenotypesReadBackAsObserved) {
    const support::temporary_folder folder;
    const std::string prefix = folder.at("c");
    const Cohort cohort = small_cohort();
    write_bed(cohort, prefix);
    write_gen(cohort, prefix, true, 0);
    const CalledSet plink = evaluation::read_plink(prefix);
    const CalledSet gen = evaluation::read_gen(prefix + ".gen.gz", prefix + ".sample", 0.9);
    EXPECT_EQ(plink.people, cohort.study_ids);
    EXPECT_EQ(gen.people, cohort.study_ids);
    EXPECT_EQ(plink.calls, expected_calls(cohort));
    EXPECT_EQ(gen.calls, expected_calls(cohort));
}

TEST(CohortFiles, TruthReadsBack) {
    const support::temporary_folder folder;
    const std::string prefix = folder.at("c");
    const Cohort cohort = small_cohort();
    write_truth(cohort, prefix, true);
    const PhasedSet truth = evaluation::read_phased(prefix + ".truth.haps.gz", prefix + ".truth.sample");
    EXPECT_EQ(truth.people, cohort.study_ids);
    std::size_t next = 0;
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!cohort.loci[row].in_study) continue;
        ASSERT_LT(next, truth.sites.size());
        EXPECT_EQ(truth.sites[next].position, cohort.loci[row].position);
        EXPECT_EQ(truth.sites[next].allele0, cohort.loci[row].allele0);
        EXPECT_EQ(truth.sites[next].allele1, cohort.loci[row].allele1);
        for (std::size_t h = 0; h < 42; ++h) ASSERT_EQ(truth.alleles[next][h], cohort.alleles(row, h));
        ++next;
    }
    EXPECT_EQ(next, truth.sites.size());
}

TEST(CohortFiles, UncertainProbabilitiesSumToOneAndFavourTheTruth) {
    const support::temporary_folder folder;
    const std::string prefix = folder.at("c");
    Cohort cohort = small_cohort();
    cohort.settings.missing_rate = 0;
    cohort.settings.error_rate = 0;
    write_gen(cohort, prefix, false, 8);
    const std::string text = support::read_file(prefix + ".gen");
    double uncertain = 0;
    for (const std::string& line : support::lines_of(text)) {
        std::istringstream fields(line);
        std::string skipped;
        for (int i = 0; i < 5; ++i) fields >> skipped;
        for (double p0 = 0, p1 = 0, p2 = 0; fields >> p0 >> p1 >> p2;) {
            ASSERT_NEAR(p0 + p1 + p2, 1, 0.002);
            uncertain += std::max({p0, p1, p2}) < 0.9;
        }
    }
    const CalledSet called = evaluation::read_gen(prefix + ".gen", prefix + ".sample", 0.9);
    const auto expected = expected_calls(cohort);
    ASSERT_EQ(called.calls.size(), expected.size());
    double calls = 0;
    double right = 0;
    for (std::size_t row = 0; row < expected.size(); ++row) {
        for (std::size_t i = 0; i < expected[row].size(); ++i) {
            if (called.calls[row][i] == CalledSet::not_called) continue;
            ++calls;
            right += called.calls[row][i] == expected[row][i];
        }
    }
    EXPECT_GT(uncertain, 0);
    EXPECT_GT(calls, 5 * uncertain);
    EXPECT_GT(right / calls, 0.97);
}

TEST(CohortFiles, SameCohortSameBytes) {
    const support::temporary_folder folder;
    for (const char* name : {"a", "b"}) {
        const Cohort cohort = small_cohort();
        write_bed(cohort, folder.at(name));
        write_gen(cohort, folder.at(name), true, 4);
        write_map(cohort, folder.at(name), true);
        write_truth(cohort, folder.at(name), true);
        write_panel(cohort, folder.at(name));
    }
    for (const char* end : {".bed", ".bim", ".fam", ".gen.gz", ".sample", ".map.gz", ".truth.haps.gz",
                            ".truth.sample", ".panel.haps.gz", ".panel.legend.gz", ".panel.sample"}) {
        EXPECT_EQ(support::read_file(folder.at("a") + end), support::read_file(folder.at("b") + end)) << end;
    }
}

TEST(CohortFiles, FilesThatCannotBeWrittenAreNamed) {
    const Cohort cohort = small_cohort();
    EXPECT_THROW(write_bed(cohort, "/no/such/folder/c"), std::runtime_error);
    EXPECT_THROW(write_panel(cohort, "/no/such/folder/c"), std::runtime_error);
}

}  // namespace
