#include <gtest/gtest.h>

#include "program.h"
#include "study.h"
#include "support/files.h"

namespace {

using e2e::run;

const std::string SHORT = " -M study.map -O out -L run.log --burn 1 --prune 2 --main 3 --states 10 ";

std::string haplotypes(const e2e::study& data, const std::string& line) {
    const auto end = run(data.folder(), line);
    EXPECT_EQ(end.status, 0) << end.out << end.err;
    return data.read("out.haps");
}

TEST(phasing, every_form_of_input_gives_the_same_haplotypes) {
    const e2e::study data;
    const std::string from_bed = haplotypes(data, "-B study --seed 5" + SHORT);
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
    for (const char* input : {"-B study.bed study.bim study.fam", "-G study", "-G study.gen.gz study.sample",
                              "-G study.gen.bz2 study.sample", "-G new.gen study.sample"})
        EXPECT_EQ(haplotypes(data, std::string(input) + " --seed 5" + SHORT), from_bed) << input;
}

TEST(phasing, a_seed_repeats_a_run_and_another_one_does_not) {
    const e2e::study data;
    const std::string first = haplotypes(data, "-B study --seed 6" + SHORT);
    EXPECT_EQ(haplotypes(data, "-B study --seed 6" + SHORT), first);
    EXPECT_NE(haplotypes(data, "-B study --seed 7" + SHORT), first);
    EXPECT_EQ(haplotypes(data, "-B study --seed 0" + SHORT), haplotypes(data, "-B study --seed 1" + SHORT));
}

TEST(phasing, more_states_than_haplotypes_are_as_many_as_there_are) {
    const e2e::study data(12);
    const std::string line = "-B study -M study.map -O out -L run.log --seed 3 --main 3 --states ";
    const std::string all = haplotypes(data, line + "24");
    EXPECT_EQ(haplotypes(data, line + "5000"), all);
}

struct variation {
    const char* name;
    const char* options;
    int individuals = 30;
};

// With fewer people the random pairs of a tree's first split may cover all haplotypes, which ends the run.
constexpr int ENOUGH_FOR_TREES = 150;

void PrintTo(const variation& v, std::ostream* out) {
    *out << v.name;
}

class options : public testing::TestWithParam<variation> {};

TEST_P(options, obey_the_law_of_phasing) {
    const e2e::study data(GetParam().individuals, 0.8, 0, 3);
    haplotypes(data, "-B study --seed 8" + SHORT + GetParam().options);
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
}

INSTANTIATE_TEST_SUITE_P(
    phasing, options,
    testing::Values(variation{"one_thread", "-T 1"}, variation{"two_threads", "-T 2"},
                    variation{"four_threads", "-T 4"}, variation{"more_threads_than_people", "-T 40"},
                    variation{"small_windows", "-W 0.1"}, variation{"one_window", "-W 20"},
                    variation{"early", "--early-stopping -W 0.1"},
                    variation{"early_with_threads", "--early-stopping -W 0.1 -T 3"},
                    variation{"trees", "--cluster-size 40 -W 0.4", ENOUGH_FOR_TREES},
                    variation{"trees_with_threads", "--cluster-size 40 -W 0.4 -T 3", ENOUGH_FOR_TREES},
                    variation{"matches", "--match"}, variation{"learned_rates", "--learn-rates"},
                    variation{"matches_with_threads", "--match -T 3"},
                    variation{"matches_in_small_windows", "--match -W 0.1 --match-step 0.001"},
                    variation{"trees_kept", "--cluster-size 40 -W 0.4 --cluster_main 2 --cluster_prune 2",
                              ENOUGH_FOR_TREES}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(phasing, filters_keep_what_they_name_in_order) {
    const e2e::study data(12, 0.8);
    const auto bim = support::lines_of(data.read("study.bim"));
    std::string excluded;
    for (std::size_t v = 0; v < bim.size(); v += 3) excluded += e2e::words(bim[v])[3] + "\n";
    data.write("exclude.txt", excluded);
    const auto fam = support::lines_of(data.read("study.fam"));
    data.write("people.txt", e2e::words(fam[2])[1] + "\n");
    haplotypes(data, "-B study --seed 9 --exclude-snp exclude.txt --exclude-ind people.txt" + SHORT);
    const auto rows = support::lines_of(data.read("out.haps"));
    ASSERT_EQ(rows.size(), bim.size() - (bim.size() + 2) / 3);
    std::size_t row = 0;
    for (std::size_t v = 0; v < bim.size(); ++v) {
        if (v % 3 == 0) continue;
        const auto fields = e2e::words(rows[row++]);
        EXPECT_EQ(fields[0], e2e::words(bim[v])[1]);
        EXPECT_EQ(fields.size(), 5 + 2 * (fam.size() - 1));
    }
    EXPECT_EQ(support::lines_of(data.read("out.sample")).size(), 2 + fam.size() - 1);
}

TEST(phasing, the_interval_of_positions_is_half_open) {
    const e2e::study data;
    const auto bim = support::lines_of(data.read("study.bim"));
    const std::string from = e2e::words(bim[3])[3], to = e2e::words(bim[10])[3];
    haplotypes(data, "-B study --seed 9 --input-from " + from + " --input-to " + to + SHORT);
    const auto rows = support::lines_of(data.read("out.haps"));
    ASSERT_EQ(rows.size(), 7U);
    EXPECT_EQ(e2e::words(rows[0])[2], from);
    EXPECT_EQ(e2e::words(rows[6])[2], e2e::words(bim[9])[3]);
}

TEST(phasing, one_variant_is_enough) {
    const e2e::study data;
    const std::string position = e2e::words(support::lines_of(data.read("study.bim"))[5])[3];
    data.write("one.txt", position + "\n");
    haplotypes(data, "-B study --seed 9 --include-snp one.txt" + SHORT);
    EXPECT_EQ(support::lines_of(data.read("out.haps")).size(), 1U);
}

TEST(phasing, with_matches_any_cohort_can_be_phased) {
    for (const int individuals : {2, 3, 4}) {
        SCOPED_TRACE(individuals);
        const e2e::study data(individuals);
        haplotypes(data, "-B study --match --seed 4" + SHORT);
        e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
    }
    const e2e::study alone(1);
    const auto end = run(alone.folder(), "-B study --match" + SHORT);
    EXPECT_EQ(end.status, 1);
    EXPECT_NE((end.out + end.err).find("A single individual cannot be phased"), std::string::npos) << end.out;
}

TEST(phasing, with_matches_the_log_says_so_and_shows_what_was_learned) {
    const e2e::study data;
    haplotypes(data, "-B study --match --seed 4 -M study.map -O out -L run.log --burn 1 --prune 2 --main 3");
    const std::string log = data.read("run.log");
    for (const char* line :
         {"  * Linear time search for the longest matches\n",
          "  * Model: 100 to 200 states / Windows follow the matches / Ne follows the matches\n",
          "Matches: 100 states\n",
          "  * Matches: 8 on each side of a site / a site every 0.020cM / mismatch probability follows the "
          "matches\n",
          " jumps per cM, mismatch probability 0.00"})
        EXPECT_NE(log.find(line), std::string::npos) << line << log;
    haplotypes(data, "-B study --match --seed 4 --window 0.5 --effective-size 900" + SHORT);
    EXPECT_NE(data.read("run.log").find("  * Model: 10 states / Windows of ~0.5Mb / Ne = 900\n"),
              std::string::npos);
}

TEST(phasing, with_matches_small_cohorts_take_more_iterations_of_burn_in) {
    const e2e::study data;
    haplotypes(data, "-B study --match --seed 4 -M study.map -O out -L run.log --prune 1 --main 1");
    const std::string log = data.read("run.log");
    EXPECT_NE(log.find("  * MCMC: burn-in follows the number of people [7 to 20 B + 1 P + 1 M]\n"),
              std::string::npos);
    EXPECT_NE(log.find("Burn-in iteration [20/20]"), std::string::npos);
}

// Rates that follow the data change the haplotypes, and are in the log.
TEST(phasing, learns_rates_for_the_scan_and_trees) {
    const e2e::study data(ENOUGH_FOR_TREES);
    for (const std::string mode : {"", " --cluster-size 40"}) {
        const std::string fixed = haplotypes(data, "-B study --seed 4 -W 0.5" + mode + SHORT);
        const std::string learned = haplotypes(data, "-B study --seed 4 -W 0.5 --learn-rates" + mode + SHORT);
        EXPECT_NE(learned, fixed);
        const std::string log = data.read("run.log");
        for (const char* line :
             {" / Windows of ~0.5Mb / Ne follows the matches\n",
              "  * Matches: A site every 0.020cM / mismatch probability follows the matches\n",
              "  * Learned: "})
            EXPECT_NE(log.find(line), std::string::npos) << line << log;
        EXPECT_EQ(haplotypes(data, "-B study --seed 4 -W 0.5 --learn-rates -T 3" + mode + SHORT), learned);
    }
}

TEST(phasing, console_shows_one_line_an_iteration_and_the_log_shows_it_twice) {
    const e2e::study data;
    const auto end = run(data.folder(), "-B study --seed 9" + SHORT);
    const std::string console = e2e::plain(end.out), log = data.read("run.log");
    for (const char* line : {"Burn-in iteration [1/1]", "Pruning iteration [2/2]", "Main iteration [3/3]"}) {
        EXPECT_NE(console.find("\n" + std::string(line) + "\n"), std::string::npos) << line;
        EXPECT_NE(log.find("\n" + std::string(line) + line + "\n"), std::string::npos) << line;
    }
    EXPECT_EQ(e2e::last_line(end).substr(0, 14), "Running time: ");
}

TEST(phasing, progress_counts_every_individual_and_ends_in_the_total) {
    const e2e::study data(6, 0.3);
    const auto end = run(data.folder(), "-B study --seed 9" + SHORT);
    EXPECT_NE(end.out.find("\n\n\rBuilding graphs [1/6]\rBuilding graphs [2/6]\rBuilding graphs [3/6]\r"
                           "Building graphs [4/6]\rBuilding graphs [5/6]\rBuilding graphs [6/6]\r"
                           "Building graphs [6/6]\n"),
              std::string::npos);
    const std::string log = data.read("run.log");
    EXPECT_NE(log.find("Building graphs ... \n"), std::string::npos);
    EXPECT_EQ(log.find("Building graphs ["), std::string::npos);
}

}  // namespace
