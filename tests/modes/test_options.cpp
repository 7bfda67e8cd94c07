#include "modes/options.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "support/child_process.h"
#include "support/log_capture.h"

namespace {

using support::log_capture;
using support::stops_with;

constexpr long START = 1234567;

std::vector<std::string> words_of(const std::string& line) {
    std::istringstream text(line);
    return {std::istream_iterator<std::string>(text), {}};
}

run_options parsed(const std::string& line) {
    run_options options;
    EXPECT_EQ(parse_options(words_of(line), START, options), "") << line;
    return options;
}

TEST(ParseOptions, DefaultsOfAnEmptyCommandLine) {
    const run_options o = parsed("");
    EXPECT_EQ(o.seed.value, START);
    EXPECT_EQ(o.thread.value, 1);
    EXPECT_EQ(o.input_from.value, 0);
    EXPECT_EQ(o.input_to.value, 1000000000);
    EXPECT_EQ(o.burn.value, 7);
    EXPECT_EQ(o.prune.value, 8);
    EXPECT_EQ(o.main.value, 20);
    EXPECT_EQ(o.input_thr.value, 0.9);
    EXPECT_EQ(o.cluster_burn.value, 1);
    EXPECT_EQ(o.cluster_prune.value, 1);
    EXPECT_EQ(o.cluster_main.value, 1);
    EXPECT_EQ(o.states.value, 100);
    EXPECT_EQ(o.effective_size.value, 15000);
    EXPECT_EQ(o.rho.value, 0.0004);
    EXPECT_EQ(o.window.value, 2.0);
    EXPECT_FALSE(o.help.is_given || o.seed.is_given || o.thread.is_given || o.output_log.is_given ||
                 o.exclude_snp.is_given || o.input_from.is_given || o.input_bed.is_given ||
                 o.input_map.is_given || o.fast.is_given || o.cluster_size.is_given || o.output_max.is_given);
    EXPECT_FALSE(o.uses_trees());
    EXPECT_FALSE(o.stops_early());
}

TEST(RunOptions, ChooseWhatTheUserDoesNotNameWithMatches) {
    EXPECT_EQ(parsed("").n_states(1000), 100);
    EXPECT_EQ(parsed("--match --states 30").n_states(1000), 30);
    for (const auto& [n, expected] :
         {std::pair(3, 100), {400, 100}, {600, 150}, {800, 200}, {1'000'000, 200}})
        EXPECT_EQ(parsed("--match").n_states(n), expected) << n;
    EXPECT_EQ(parsed("").n_burn(10), 7);
    EXPECT_EQ(parsed("--match --burn 7").n_burn(10), 7);
    for (const auto& [n, expected] :
         {std::pair(0, 20), {1, 20}, {300, 20}, {500, 12}, {857, 7}, {100'000, 7}})
        EXPECT_EQ(parsed("--match").n_burn(n), expected) << n;
}

/// A command line, and a check of the parsed options.
struct line_row {
    const char* line;
    std::function<bool(const run_options&)> holds;
};

TEST(ParseOptions, ValuesOfEachOption) {
    using o_t = const run_options&;
    for (const line_row& r : std::vector<line_row>{
             {"--help", [](o_t o) { return o.help.is_given && o.help.value; }},
             {"-H", [](o_t o) { return o.help.is_given; }},
             {"--seed 7", [](o_t o) { return o.seed.value == 7 && o.seed.is_given; }},
             {"-T 3", [](o_t o) { return o.thread.value == 3; }},
             {"-L a.log", [](o_t o) { return o.output_log.value == "a.log" && o.output_log.is_given; }},
             {"--exclude-snp a", [](o_t o) { return o.exclude_snp.value == "a"; }},
             {"--include-snp a", [](o_t o) { return o.include_snp.value == "a"; }},
             {"--exclude-ind a", [](o_t o) { return o.exclude_ind.value == "a"; }},
             {"--include-ind a", [](o_t o) { return o.include_ind.value == "a"; }},
             {"--input-from 0", [](o_t o) { return o.input_from.is_given && !o.input_to.is_given; }},
             {"--input-to 9", [](o_t o) { return o.input_to.value == 9; }},
             {"--burn 1 --prune 2 --main 3",
              [](o_t o) { return o.burn.value == 1 && o.prune.value == 2 && o.main.value == 3; }},
             {"-B a b c",
              [](o_t o) {
                  return o.input_bed.value == file_names{"a", "b", "c"};
              }},
             {"-G a", [](o_t o) { return o.input_gen.value == file_names{"a"}; }},
             {"-M m", [](o_t o) { return o.input_map.value == "m"; }},
             {"--input-thr 0.75", [](o_t o) { return o.input_thr.value == 0.75; }},
             {"-R a b c", [](o_t o) { return o.input_ref.value.size() == 3; }},
             {"--cluster_burn 2 --cluster_prune 3 --cluster_main 4",
              [](o_t o) {
                  return o.cluster_burn.value == 2 && o.cluster_prune.value == 3 && o.cluster_main.value == 4;
              }},
             {"-S 50", [](o_t o) { return o.states.value == 50; }},
             {"--effective-size 9", [](o_t o) { return o.effective_size.value == 9; }},
             {"--rho 0.5", [](o_t o) { return o.rho.value == 0.5; }},
             {"-W 0.5", [](o_t o) { return o.window.value == 0.5; }},
             {"-O a b",
              [](o_t o) {
                  return o.output_max.value == file_names{"a", "b"};
              }},
             {"--fast", [](o_t o) { return o.uses_trees() && o.stops_early() && o.tree_size() == 4000.0; }},
             {"--cluster-size 12.5",
              [](o_t o) { return o.uses_trees() && !o.stops_early() && o.tree_size() == 12.5; }},
             {"--early-stopping", [](o_t o) { return !o.uses_trees() && o.stops_early(); }}})
        EXPECT_TRUE(r.holds(parsed(r.line))) << r.line;
}

TEST(ParseOptions, ReturnsSyntaxErrors) {
    run_options unused;
    EXPECT_EQ(parse_options({"--sneed", "7"}, START, unused), "unrecognised option '--sneed'");
    EXPECT_EQ(parse_options({"--seed"}, START, unused),
              "the required argument for option '--seed' is missing");
    EXPECT_EQ(parse_options({"--seed", "x"}, START, unused),
              "the argument ('x') for option '--seed' is invalid");
    EXPECT_EQ(parse_options({"--seed", "%value%"}, START, unused),
              "the argument ('%value%') for option '--seed' is invalid")
        << "placeholders of the library in a word are only text";
}

TEST(PrintHelp, ListsEveryOptionWithItsDefault) {
    std::ostringstream text;
    print_help(START, text);
    for (const char* part :
         {"Basic options", "-H [ --help ]", "--seed arg (=1234567)", "-T [ --thread ] arg (=1)",
          "arg (=tolvane_date_time_UUID.log)", "Subsetting options", "--input-to arg (=1000000000)",
          "MCMC options", "--main arg (=20)", "Input files options", "--input-thr arg (=0.9)",
          "Model options", "--rho arg (=0.0004)", "-W [ --window ] arg (=2)", "Output file options",
          "-O [ --output-max ] arg"})
        EXPECT_NE(text.str().find(part), std::string::npos) << part;
}

// ---- checks

TEST(CheckOptions, ValidOptionsPassSilently) {
    for (const char* line :
         {"-M m", "-M m --seed 0 -T 64 --input-from 5 --input-to 6", "-M m --burn 0 --cluster_burn 0",
          "-M m --cluster-size 1.5", "-M m --fast", "-M m --early-stopping", "-M m --cluster_burn 0",
          "-M m --window 0.1", "-M m --input-thr 1"}) {
        const log_capture capture;
        check_options(parsed(line));
        EXPECT_EQ(capture.log(), "") << line;
    }
}

struct refusal {
    const char* line;
    const char* message;
};

TEST(CheckOptions, FirstValueOutOfRangeStopsTheRun) {
    for (const refusal& r : std::vector<refusal>{
             {"--seed -1", "Random number generator needs a positive seed value"},
             {"--thread 0", "You must use at least 1 thread"},
             {"", "You did not specify a genetic map!"},
             {"-M m --fast --cluster-size 5", "--cluster-size is not compatible with --fast"},
             {"-M m --fast --early-stopping", "--early-stopping is not compatible with --fast"},
             {"-M m --match --cluster-size 50", "--cluster-size is not compatible with --match"},
             {"-M m --match --fast", "--fast is not compatible with --match"},
             {"-M m --match --early-stopping", "--early-stopping is not compatible with --match"},
             {"-M m --match --states 0", "You must use at least 1 state"},
             {"-M m --match --match-depth 0", "You must use a --match-depth of at least 1"},
             {"-M m --match --match-step 0", "You must specify a --match-step from 0.001 to 1000 cM"},
             {"-M m --match --match-step 1001", "You must specify a --match-step from 0.001 to 1000 cM"},
             {"-M m --match --match-step nan", "You must specify a number for --match-step"},
             {"-M m --match --mismatch 0", "You must specify a --mismatch probability from 0.000001 to 0.5"},
             {"-M m --match --mismatch 0.6",
              "You must specify a --mismatch probability from 0.000001 to 0.5"},
             {"-M m --match --mismatch nan", "You must specify a number for --mismatch"},
             {"-M m --match-depth 8", "--match-depth needs --match"},
             {"-M m --match --learn-rates", "--learn-rates is not compatible with --match"},
             {"-M m --learn-rates --match-depth 8", "--match-depth needs --match"},
             {"-M m --learn-rates --mismatch 2",
              "You must specify a --mismatch probability from 0.000001 to 0.5"},
             {"-M m --match-step 1", "--match-step needs --match or --learn-rates"},
             {"-M m --mismatch 0.1", "--mismatch needs --match or --learn-rates"},
             {"-M m --cluster-size nan", "You must specify a number for --cluster-size"},
             {"-M m --cluster-size 1073741824", "You must specify a cluster size of at most 1073741823"},
             {"-M m --cluster_main -1", "You must use cluster_main > 0"},
             {"-M m --burn -1", "You must use at least 0 burn-in iteration"},
             {"-M m --prune 0", "You must use at least 1 pruning iteration"},
             {"-M m --main 0", "You must use at least 1 main iteration"},
             {"-M m --effective-size 0", "You must specify a positive effective size"},
             {"-M m --rho 1", "You must specify a rho value comprised between 0 and 1"},
             {"-M m --rho nan", "You must specify a number for --rho"},
             {"-M m --input-thr 0.5", "You must specify a --input-thr value comprised between 0.5 and 1"},
             {"-M m --window 0.05", "You must specify a window size of at least 0.1 Mb"},
             {"-M m --window 2148", "You must specify a window size of at most 2147 Mb"}})
        EXPECT_TRUE(stops_with(r.message, [&] { check_options(parsed(r.line)); })) << r.line;
}

TEST(CheckOptions, ClusterSizeOfOneAborts) {
    EXPECT_TRUE(support::aborts_on("cluster_size>1", [] { check_options(parsed("-M m --cluster-size 1")); }));
}

TEST(CheckOptions, UnusualValuesGetAWarning) {
    for (const refusal& r :
         std::vector<refusal>{{"-M m --cluster_prune 9", "cluster_prune > prune, check parameters"},
                              {"-M m --burn 101", "High number of burn-in iteration, check parameters"},
                              {"-M m --effective-size 99", "Small effective size, check parameters."},
                              {"-M m --window 11",
                               "Long window size may decrease accuracy. No more than 10 Mb is advised."}}) {
        const log_capture capture;
        check_options(parsed(r.line));
        EXPECT_EQ(capture.log(), "WARNING: " + std::string(r.message) + "\n") << r.line;
    }
}

// ---- echo

TEST(EchoOptions, PrintsTheMainOptions) {
    const log_capture capture;
    echo_options(parsed("--seed 4 -T 2 -S 55 -W 1.25"));
    EXPECT_EQ(capture.log(),
              "\nParameters :\n  * Seed : 4\n  * Parallelisation: 2 threads\n"
              "  * MCMC: 35 iterations [7 B + 8 P + 20 M]\n"
              "  * Model: 55 states / Windows of ~1.2Mb / Ne = 15000\n");
    EXPECT_EQ(capture.console(), capture.log());
}

TEST(EchoOptions, PrintsAWindowThatIsGiven) {
    const log_capture capture;
    echo_options(parsed("--input-from 0"));
    EXPECT_NE(capture.log().find("  * Input  window: [0 -> 1000000000[\n"), std::string::npos);
}

TEST(EchoMode, NamesTheSelection) {
    for (const auto& [line, text] :
         {std::pair("", "Quadratic time Hamming distances calculation (TOLVANE v2)"),
          std::pair("--fast", "Nlog(N) time Hamming distances calculation (TOLVANE v3)")}) {
        const log_capture capture;
        echo_mode(parsed(line));
        EXPECT_NE(capture.log().find(text), std::string::npos) << line;
    }
}

TEST(ResultOptions, AreNeitherFilesNorThreads) {
    EXPECT_EQ(result_options(parsed("")), "--seed 1234567");
    EXPECT_EQ(
        result_options(parsed(
            "-T 8 --strict -V a.vcf -M m --match --seed 5 --output-vcf o.bcf -L x --mismatch 0.01 -W 1.5")),
        "--seed 5 --window 1.5 --match --mismatch 0.01");
}

TEST(CheckOptions, OfVcf) {
    struct row {
        const char *line, *message;
    };
    for (const row& r :
         {row{"--map-format x", "You must specify one of these for --map-format: hapmap, plink, table"},
          row{"-R p --panel-missing go", "You must specify one of these for --panel-missing: stop, exclude"},
          row{"--output-vcf o --output-index bai",
              "You must specify one of these for --output-index: csi, tbi, none"},
          row{"--panel-missing exclude", "--panel-missing needs --input-ref"},
          row{"--output-index tbi", "--output-index needs --output-vcf"},
          row{"--output-unphased -V v", "--output-unphased needs --output-vcf"},
          row{"--output-unphased --output-vcf o", "--output-unphased needs --input-vcf"},
          row{"--keep-missing", "--keep-missing needs --output-vcf"},
          row{"--reference r", "--reference needs --output-vcf"},
          row{"--no-version", "--no-version needs --output-vcf"},
          row{"--output-vcf o.bcf --output-index tbi",
              "--output-index tbi is for .vcf.gz: the index of a BCF is csi"},
          row{"-V v --haploid h",
              "--haploid is not compatible with --input-vcf, where a haploid genotype has one allele"},
          row{"--reference r --output-vcf o -V v",
              "--reference is not compatible with --input-vcf, which has the reference alleles"}}) {
        const run_options o = parsed("-M map " + std::string(r.line));
        EXPECT_TRUE(stops_with(r.message, [&] { check_options(o); })) << r.line;
    }
}

}  // namespace
