#include <gtest/gtest.h>

#include "program.h"
#include "study.h"
#include "support/files.h"

namespace {

using e2e::run;

const std::string LINE =
    "-B study -M study.map -R study.panel.haps.gz study.panel.legend.gz study.panel.sample -O out -L run.log "
    "--seed 3 --burn 1 --prune 1 --main 2 --states 12 ";

/// Replaces the panel by the true haplotypes of the study: copying from it gives the correct phase. Lines are
/// in descending order of position, and every second one has its alleles in the other order.
void make_panel_of_truth(const e2e::study& data) {
    std::string legend, rows, people = "sample population\n";
    bool is_swapped = false;
    for (const std::string& line : support::lines_of(data.read("study.truth.haps"))) {
        const auto fields = e2e::words(line);  // two identifiers, position, two alleles, digits
        is_swapped = !is_swapped;
        std::string row;
        for (std::size_t f = 5; f < fields.size(); ++f) row += (fields[f] == "1") != is_swapped ? "1 " : "0 ";
        rows = row + "\n" + rows;
        legend = "x " + fields[2] + " " +
                 (is_swapped ? fields[4] + " " + fields[3] : fields[3] + " " + fields[4]) + "\n" + legend;
    }
    for (std::size_t i = 0; i < data.cohort().study_ids.size(); ++i)
        people += "panel" + std::to_string(i) + " p\n";
    data.write("study.panel.haps.gz", support::gzip(rows));
    data.write("study.panel.legend.gz", support::gzip("id position a0 a1\n" + legend));
    data.write("study.panel.sample", people);
}

/// Expects a panel with the true haplotypes to give the correct phase, and one of other people not to.
void expect_panel_to_matter(const e2e::study& data, const std::string& options) {
    ASSERT_EQ(run(data.folder(), LINE + options).status, 0);
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
    const evaluation::Score others = data.score();
    make_panel_of_truth(data);
    ASSERT_EQ(run(data.folder(), LINE + options).status, 0);
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
    const evaluation::Score truth = data.score();
    EXPECT_GT(others.switch_error_rate(), 0.02);
    EXPECT_LT(truth.switch_error_rate(), 0.002);
    EXPECT_GT(truth.filled, 20);
    EXPECT_LT(truth.filling_error_rate(), 0.02);
}

TEST(panel, is_counted_and_not_written) {
    const e2e::study data(10, 0.6, 15);
    const auto end = run(data.folder(), LINE);
    ASSERT_EQ(end.status, 0) << end.out;
    e2e::expect_law_of_phasing(data.at("study"), data.at("out.haps"), data.at("out.sample"));
    EXPECT_NE(end.out.find("  * 30 reference haplotypes included\n"), std::string::npos);
    EXPECT_NE(end.out.find("  * All variants have been found in the reference panel\n"), std::string::npos);
}

TEST(panel, is_copied_from) {
    expect_panel_to_matter(e2e::study(20, 1.0, 20), "");
}

TEST(panel, is_copied_from_with_trees_and_threads) {
    expect_panel_to_matter(e2e::study(80, 0.6, 80), "--cluster-size 40 -T 2");
}

TEST(panel, an_uncovered_study_is_refused_unless_the_listed_variants_are_excluded) {
    const e2e::study data(10, 0.6, 15);
    // Removes the fourth variant of the study from the panel.
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
    EXPECT_EQ(support::lines_of(data.read("out.haps")).size(), rows.size() - 1);
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
