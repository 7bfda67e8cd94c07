#include "modes/run_files.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/log_capture.h"

namespace {

using support::log_capture;
using support::stops_naming;
using support::stops_with;

run_options with_bed(const file_names& bed, const file_names& output) {
    run_options o;
    o.input_bed = {bed, true};
    o.input_map = {"m", true};
    o.output_max = {output, true};
    return o;
}

TEST(RunFiles, OptionsTakeAPrefixOrEachName) {
    run_options o;
    EXPECT_TRUE(bed_files(o).empty());
    o.input_bed = {{"a"}, true};
    EXPECT_EQ(bed_files(o), (file_names{"a.bed", "a.bim", "a.fam"}));
    o.input_bed = {{"x", "y", "z"}, true};
    EXPECT_EQ(bed_files(o), (file_names{"x", "y", "z"}));
    o.input_bed = {{"x", "y"}, true};
    EXPECT_TRUE(bed_files(o).empty()) << "neither one nor three names";
    o.input_gen = {{"g"}, true};
    EXPECT_EQ(gen_files(o), (file_names{"g.gen", "g.sample"}));
    o.output_max = {{"h"}, true};
    EXPECT_EQ(haplotype_files(o), (file_names{"h.haps", "h.sample"}));
}

TEST(RunFiles, ListsAllInputFiles) {
    run_options o = with_bed({"a"}, {"out"});
    o.exclude_snp = {"list", true};
    o.input_ref = {{"h", "l", "s"}, true};
    EXPECT_EQ(input_files(o), (file_names{"list", "a.bed", "a.bim", "a.fam", "h", "l", "s", "m"}));
}

TEST(RefuseOverwriting, InputsAndOtherOutputs) {
    const log_capture capture;
    const std::string a = capture.folder().put("a.haps", ""), bed = capture.folder().put("a.bed", "");
    const std::string log = capture.folder().at("b.log");
    refuse_overwriting(with_bed({capture.folder().at("a")}, {capture.folder().at("a")}), log);
    EXPECT_TRUE(stops_naming({bed + " would be overwritten by this run"}, [&] {
        refuse_overwriting(with_bed({capture.folder().at("a")}, {bed, "sample"}), log);
    }));
    EXPECT_TRUE(stops_naming({a + " and " + a + " are one file"}, [&] {
        refuse_overwriting(with_bed({"x"}, {a, a}), log);
    }));
    EXPECT_TRUE(stops_naming({" are one file"}, [&] {
        refuse_overwriting(with_bed({"x"}, {capture.folder().at("b.ind.mm"), "sample"}), log);
    })) << "side files are named after the log";
}

TEST(CheckFiles, MissingFilesStopTheRun) {
    const log_capture capture;
    const auto put = [&](const char* name) { return capture.folder().put(name, ""); };
    const file_names bed = {put("a.bed"), put("a.bim"), put("a.fam")};
    const std::string map = put("m"), haps = capture.folder().at("o.haps"),
                      sample = capture.folder().at("o.sample");
    run_options good = with_bed(bed, {haps, sample});
    good.input_map = {map, true};
    output_files outputs;
    check_files(good, outputs);

    const auto stops = [&](const std::string& message, const auto& change) {
        run_options o = good;
        change(o);
        return stops_with(message, [&] { check_files(o, outputs); });
    };
    EXPECT_TRUE(stops("[nolist] is impossible to open, check file existence or reading permissions",
                      [](run_options& o) {
                          o.include_ind = {"nolist", true};
                      }));
    EXPECT_TRUE(stops("You must specify at least one unphased input file with --input-bed or --input-gen",
                      [](run_options& o) { o.input_bed = {}; }));
    EXPECT_TRUE(stops("You must specify no more than one unphased input file with --input-bed or --input-gen",
                      [](run_options& o) {
                          o.input_gen = {{"g"}, true};
                      }));
    EXPECT_TRUE(stops("You must specify at least one phased output file with --output-max or --output-graph",
                      [](run_options& o) { o.output_max = {}; }));
    EXPECT_TRUE(stops("Incorrect number of arguments given to --input-bed (it must be 3 files)",
                      [](run_options& o) { o.input_bed.value.pop_back(); }));
    EXPECT_TRUE(stops("nomap is impossible to open, check file existence or reading permissions",
                      [](run_options& o) { o.input_map.value = "nomap"; }));
    EXPECT_TRUE(
        stops("Incorrect number of arguments given to --input-ref (it must be 3 files)", [](run_options& o) {
            o.input_ref = {{"h", "l"}, true};
        }));
    EXPECT_TRUE(stops("Incorrect number of arguments given to --output-max", [](run_options& o) {
        o.output_max.value = {"a", "b", "c"};
    }));
}

}  // namespace
