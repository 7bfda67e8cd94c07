#include <gtest/gtest.h>

#include "program.h"
#include "study.h"
#include "support/files.h"

namespace {

using e2e::run;

const std::string LINE =
    "-B study -M study.map -R study.panel.haps.gz study.panel.legend.gz study.panel.sample -O out -L run.log "
    "--seed 3 --burn 1 --prune 1 --main 2 --states 12 ";

TEST(panel, joins_the_conditioning_set_and_is_not_written) {
    const e2e::study data(10, 0.6, 15);
    const auto end = run(data.folder(), LINE);
    ASSERT_EQ(end.status, 0) << end.out;
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
    EXPECT_NE(end.out.find("  * 30 reference haplotypes included\n"), std::string::npos);
    EXPECT_NE(end.out.find("  * All variants have been found in the reference panel\n"), std::string::npos);
}

TEST(panel, works_with_trees_and_threads) {
    const e2e::study data(80, 0.6, 70);
    const auto end = run(data.folder(), LINE + "--cluster-size 40 -T 2");
    ASSERT_EQ(end.status, 0) << end.out;
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
}

TEST(panel, an_uncovered_study_is_refused_and_the_exclusion_list_mends_it) {
    const e2e::study data(10, 0.6, 15);
    // The fourth variant of the study leaves the panel, legend and row.
    auto legend = support::lines_of(support::gunzip(data.read("study.panel.legend.gz")));
    auto rows = support::lines_of(support::gunzip(data.read("study.panel.haps.gz")));
    const std::string position = e2e::words(support::lines_of(data.read("study.bim"))[3])[3];
    std::string legend_text = legend[0] + "\n", rows_text;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        if (e2e::words(legend[r + 1])[1] == position) continue;
        legend_text += legend[r + 1] + "\n";
        rows_text += rows[r] + "\n";
    }
    data.write("less.legend", legend_text);
    data.write("less.haps", rows_text);
    const std::string line =
        "-B study -M study.map -R less.haps less.legend study.panel.sample -O out -L run.log --seed 3 --burn "
        "1 "
        "--prune 1 --main 1 --states 12 ";

    const auto refused = run(data.folder(), line);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(e2e::last_line(refused), "ERROR: Reference and Main panels are not well aligned!");
    EXPECT_EQ(data.read("run.snp.strand.exclude"), position + "\n");
    EXPECT_EQ(support::lines_of(data.read("run.snp.strand")).size(), 2U);

    data.write("list.txt", data.read("run.snp.strand.exclude"));
    EXPECT_EQ(run(data.folder(), line + "--exclude-snp list.txt").status, 0);
}

TEST(panel, rows_beyond_the_legend_are_counted_in_a_warning) {
    const e2e::study data(10, 0.3, 15);
    const std::string rows = support::gunzip(data.read("study.panel.haps.gz"));
    data.write("more.haps", rows + "beyond\nand beyond\n");
    const auto end =
        run(data.folder(),
            "-B study -M study.map -R more.haps study.panel.legend.gz study.panel.sample -O out -L "
            "run.log --seed 3 --burn 0 --prune 1 --main 1 --states 12");
    EXPECT_EQ(end.status, 0);
    EXPECT_NE(data.read("run.log").find(
                  "WARNING: 2 lines of [more.haps] lie beyond the last line of the legend and "
                  "were not used\n"),
              std::string::npos);
}

TEST(panel, fast_mode_refuses_a_small_cohort) {
    const e2e::study data(10, 0.6, 15);
    const auto end = run(data.folder(), LINE + "--fast");
    EXPECT_EQ(end.status, 1);
    EXPECT_NE(end.out.find("\033[33mERROR:\033[0m 2*nsamples < cluster_size (c1).\n"
                           "Note we suggest only using --fast when sample size > 10,000\n"),
              std::string::npos);
}

}  // namespace
