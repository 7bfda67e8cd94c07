#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <regex>
#include <set>

#include "program.h"
#include "study.h"
#include "support/files.h"

// Input that is accepted by default and refused by --strict. docs/strict.md has a table of the rules: each of
// them is tried here, and each that the source knows is in it.

namespace {

using e2e::run;

const std::string SHORT = " --seed 1 --burn 0 --prune 1 --main 1 --states 8 ";
const std::string BED = "-B study -M study.map -O out -L run.log";
const std::string GEN = "-G study -M study.map -O out -L run.log";
const std::string PANEL = BED + " -R panel.haps study.panel.legend.gz study.panel.sample";

std::string with_line(const std::string& text, std::size_t number, const std::string& replaced) {
    std::string changed;
    for (const std::string& line : support::lines_of(text))
        changed += (--number == 0 ? replaced : line) + "\n";
    return changed;
}

/// Replaces a field of a line; both are counted from 1.
std::string with_field(const std::string& text, std::size_t line, std::size_t field,
                       const std::string& replaced) {
    e2e::arguments fields = e2e::words(support::lines_of(text).at(line - 1));
    fields.at(field - 1) = replaced;
    std::string joined;
    for (const std::string& word : fields) joined += (joined.empty() ? "" : " ") + word;
    return with_line(text, line, joined);
}

/// An input that breaks a rule.
struct breach {
    std::function<void(const e2e::study&)> damage;
    std::string line;     // of the command
    std::string message;  // of a strict run, without the name of the rule
    int lenient_status = 0;
};

std::function<void(const e2e::study&)> change(const std::string& file, std::size_t line, std::size_t field,
                                              const std::string& replaced) {
    return
        [=](const e2e::study& data) { data.write(file, with_field(data.read(file), line, field, replaced)); };
}

std::function<void(const e2e::study&)> write(const std::string& file, const std::string& text) {
    return [=](const e2e::study& data) { data.write(file, text); };
}

std::function<void(const e2e::study&)> chromosomes(const std::string& name) {
    return [=](const e2e::study& data) {
        std::string bim = data.read("study.bim");
        for (std::size_t l = 1; l <= support::lines_of(bim).size(); ++l) bim = with_field(bim, l, 1, name);
        data.write("study.bim", bim);
    };
}

void drop_last_line(const e2e::study& data) {
    std::string text = data.read("panel.haps");
    data.write("panel.haps", text.substr(0, text.rfind('\n', text.size() - 2) + 1));
}

void empty_first_person(const e2e::study& data) {
    std::string bed = data.read("study.bed");
    const std::size_t n_bytes = (support::lines_of(data.read("study.fam")).size() + 3) / 4;
    for (std::size_t at = 3; at < bed.size(); at += n_bytes) bed[at] = static_cast<char>((bed[at] & ~3) | 1);
    data.write("study.bed", bed);
}

std::string first_id(const e2e::study& data) {
    return e2e::words(support::lines_of(data.read("study.fam"))[0])[1];
}

constexpr int BY_SIGNAL = -1;  // instead of a status

void nothing(const e2e::study& /*data*/) {}

std::multimap<std::string, breach> breaches() {
    const std::string position = "expected a whole number from 0 to 2147483647";
    return {
        {"position",
         {change("study.bim", 1, 4, "1E+06"), BED, "study.bim line 1: found [1E+06], " + position}},
        {"position", {change("study.bim", 1, 4, "-5"), BED, "study.bim line 1: found [-5], " + position}},
        {"position",
         {change("study.gen", 1, 3, "1,000,100"), GEN, "study.gen line 1: found [1,000,100], " + position}},
        {"position",
         {change("study.map", 2, 1, "100.5"), BED, "study.map line 2: found [100.5], " + position}},
        {"position",
         {write("list", "7\n1000005x\n"), BED + " --exclude-snp list",
          "list line 2: found [1000005x], " + position}},
        {"position",
         {write("list", "7\n\n"), BED + " --exclude-snp list", "list line 2: found [], " + position}},
        {"number",
         {change("study.map", 2, 3, "0,5"), BED,
          "study.map line 2: found [0,5], expected a genetic position in cM"}},
        {"probability",
         {change("study.gen", 2, 6, "2"), GEN, "study.gen line 2: found [2], expected a number from 0 to 1"}},
        {"probability",
         {change("study.gen", 2, 6, "NA"), GEN,
          "study.gen line 2: found [NA], expected a number from 0 to 1"}},
        {"probability",
         {change("study.gen", 2, 7, "-0.1"), GEN,
          "study.gen line 2: found [-0.1], expected a number from 0 to 1"}},
        {"probability-sum",
         {[](const e2e::study& data) {
              std::string gen = data.read("study.gen");
              for (const std::size_t field : {6U, 7U, 8U}) gen = with_field(gen, 3, field, "0.5");
              data.write("study.gen", gen);
          },
          GEN, "study.gen line 3: found 1.500, expected three probabilities with a sum of at most 1"}},
        {"probability-sum",
         {[](const e2e::study& data) {
              std::string gen = data.read("study.gen");
              for (const std::size_t field : {6U, 7U}) gen = with_field(gen, 3, field, "1");
              data.write("study.gen", with_field(gen, 3, 8, "0"));
          },
          GEN, "study.gen line 3: found 2.000, expected three probabilities with a sum of at most 1"}},
        {"bim-positions",
         {[](const e2e::study& data) {
              std::string bim = data.read("study.bim");
              for (std::size_t l = 1; l <= support::lines_of(bim).size(); ++l)
                  bim = with_field(bim, l, 4, "0");
              data.write("study.bim", bim);
          },
          BED, "study.bim: found no position above 0, expected the list of variants"}},
        {"panel-allele",
         {change("panel.haps", 2, 3, "1*"), PANEL, "panel.haps line 2: found [1*], expected 0 or 1"}},
        {"panel-allele",
         {change("panel.haps", 2, 1, "?"), PANEL, "panel.haps line 2: found [?], expected 0 or 1"}},
        {"panel-length", {drop_last_line, PANEL, "panel.haps: found "}},
        {"panel-length",
         {[](const e2e::study& data) { data.write("panel.haps", data.read("panel.haps") + "0 0\n"); }, PANEL,
          "panel.haps: found "}},
        {"one-chromosome",
         {change("study.bim", 9, 1, "21"), BED,
          "study.bim line 9: found chromosome 21, expected the same chromosome as before, 20"}},
        {"autosome", {chromosomes("X"), BED, "study.bim line 1: found chromosome X, expected an autosome"}},
        {"autosome",
         {chromosomes("chrMT"), BED, "study.bim line 1: found chromosome chrMT, expected an autosome"}},
        {"autosome", {chromosomes("24"), BED, "study.bim line 1: found chromosome 24, expected an autosome"}},
        {"list-matches",
         {write("list", "S1\r\n"), BED + " --exclude-ind list",
          "list: found none of the individuals of the input, expected some of them"}},
        {"list-matches",
         {write("list", "7\n"), BED + " --exclude-snp list",
          "list: found none of the positions of the input, expected some of them"}},
        {"list-matches",
         {write("list", ""), BED + " --include-ind list",
          "list: found none of the individuals of the input, expected some of them"}},
        {"unique-identifier",
         {[](const e2e::study& data) {
              data.write("study.panel.sample",
                         with_field(data.read("study.panel.sample"), 3, 1, first_id(data)));
          },
          PANEL, "study.panel.sample line 3: found "}},
        {"identifier",
         {change("study.fam", 2, 2, "S\r1"), BED,
          "study.fam line 2: found an identifier with a control character, expected printable characters"}},
        {"identifier",
         {change("study.bim", 2, 2, "rs\x01"), BED,
          "study.bim line 2: found an identifier with a control character"}},
        {"output-name",
         {nothing, "-B study -M study.map -O ./ -L run.log",
          "--output-max: found [./.haps], expected a name with a letter before the extension"}},
        {"map-header",
         {[](const e2e::study& data) {
              std::string map = data.read("study.map");
              data.write("study.map", map.substr(map.find('\n') + 1));
          },
          BED, "study.map line 1: found a point of the map, expected a header"}},
        {"map-order", {change("study.map", 2, 1, "999999999"), BED, "study.map line 3: found ", 1}},
        {"map-header",
         {[](const e2e::study& data) {
              std::string map = data.read("study.map");
              map = map.substr(map.find('\n') + 1);
              data.write("study.map", with_field(map, 1, 2, "NA"));
          },
          BED, "study.map line 1: found a point of the map, expected a header"}},
        {"map-order",
         {write("study.map", "header\n5 0 -2\n9 0 1\n"), BED,
          "study.map line 2: found 5bp / -2.00000cM, expected no negative number", 1}},
        {"map-rates",
         {write("study.map", "header\n900000 0 0.5\n2000000 0 0.5\n"), BED,
          "study.map: found a map without any recombination"}},
        {"run-fails",
         {nothing, BED + " --cluster_main 0", "--cluster_main: found 0, expected at least 1", BY_SIGNAL}},
        {"run-fails",
         {write("few", "S1\nS2\nS3\n"), BED + " --include-ind few",
          "study and panel: found 6 haplotypes, expected at least 12", BY_SIGNAL}},
        {"run-fails",
         {nothing, BED + " --cluster-size 16",
          "study and panel: found 16 haplotypes for trees, whose clusters have at least --states, expected "
          "at "
          "least 17",
          1}},
        {"no-genotypes", {empty_first_person, BED, "input: found individuals without any genotype: ", 1}},
    };
}

/// The rules in a table of docs/strict.md, without that of the command line, which has tests of its own.
std::set<std::string> documented_rules() {
    std::set<std::string> rules;
    const std::regex row("^\\| `([a-z-]+)` \\|.*");
    std::smatch found;
    for (const std::string& line : support::lines_of(support::read_file(TOLVANE_SOURCE "/docs/strict.md")))
        if (std::regex_match(line, found, row)) rules.insert(found[1]);
    EXPECT_EQ(rules.erase("command-line"), 1U);
    return rules;
}

std::set<std::string> rules_in_the_source() {
    std::set<std::string> rules;
    const std::regex call("LOG\\.refuse\\(\\s*\"([a-z-]+)\"");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(TOLVANE_SOURCE "/src")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string text = support::read_file(entry.path());
        for (std::sregex_iterator at(text.begin(), text.end(), call), end; at != end; ++at)
            rules.insert((*at)[1]);
    }
    return rules;
}

TEST(strict, the_documents_list_all_rules) {
    EXPECT_EQ(documented_rules(), rules_in_the_source());
    std::set<std::string> tried;
    for (const auto& [rule, unused] : breaches()) tried.insert(rule);
    EXPECT_EQ(documented_rules(), tried);
}

TEST(strict, each_breach_of_a_rule_is_accepted_refused_or_listed) {
    for (const auto& [rule, breach] : breaches()) {
        const e2e::study data(8, 0.3, 6);
        data.write("panel.haps", support::gunzip(data.read("study.panel.haps.gz")));
        const std::string mark = "[" + rule + "]";
        breach.damage(data);
        const auto lenient = run(data.folder(), breach.line + SHORT);
        EXPECT_EQ(lenient.status, breach.lenient_status) << mark << breach.message << lenient.out;
        EXPECT_EQ(lenient.out.find(mark), std::string::npos) << lenient.out;

        const auto refused = run(data.folder(), breach.line + SHORT + "--strict");
        EXPECT_EQ(refused.status, 1) << mark << breach.message;
        EXPECT_TRUE(e2e::last_line(refused).starts_with("ERROR: " + breach.message))
            << breach.message << "\n"
            << e2e::last_line(refused);
        EXPECT_TRUE(e2e::last_line(refused).ends_with(mark)) << e2e::last_line(refused);
        EXPECT_TRUE(data.read("run.log").ends_with(mark + "\n"));

        const auto listed = run(data.folder(), breach.line + SHORT + "--check");
        EXPECT_EQ(listed.status, 1) << mark;
        EXPECT_NE(listed.out.find("  ! " + breach.message), std::string::npos) << listed.out;
    }
}

TEST(strict, changes_nothing_for_good_input) {
    const e2e::study data(8, 0.3, 6);
    data.write("panel.haps", support::gunzip(data.read("study.panel.haps.gz")));
    data.write("exclude", first_id(data) + "\nnobody\n");
    data.write("empty", "");
    for (const std::string& line : {BED, GEN, PANEL, BED + " --exclude-ind exclude --exclude-snp empty"}) {
        ASSERT_EQ(run(data.folder(), line + SHORT).status, 0);
        const std::string haps = data.read("out.haps");
        const auto strict = run(data.folder(), line + SHORT + "--strict");
        ASSERT_EQ(strict.status, 0) << strict.out;
        EXPECT_EQ(data.read("out.haps"), haps);
        const bool has_list = line.find("exclude-ind") != std::string::npos;
        EXPECT_EQ(strict.out.find("  * 1 of the 2 individuals in [exclude] are in the input\n") !=
                      std::string::npos,
                  has_list);
    }
}

TEST(strict, chromosomes_of_excluded_variants_do_not_matter) {
    const e2e::study data(8, 0.3);
    const std::string bim = data.read("study.bim");
    const std::size_t n = support::lines_of(bim).size();
    data.write("study.bim", with_field(bim, n, 1, "X"));
    const std::string last = e2e::words(support::lines_of(bim).back())[3];
    EXPECT_EQ(run(data.folder(), BED + SHORT + "--strict").status, 1);
    EXPECT_EQ(run(data.folder(), BED + SHORT + "--strict --input-to " + last).status, 0);
}

TEST(strict, names_of_outputs_may_begin_with_a_dot) {
    const e2e::study data(8, 0.3);
    EXPECT_EQ(run(data.folder(), "-B study -M study.map -O .out -L .run.log --strict" + SHORT).status, 0);
    EXPECT_TRUE(std::filesystem::exists(data.at(".out.haps")));
}

TEST(strict, pseudoautosomal_variants_are_diploid) {
    const e2e::study data(8, 0.3);
    chromosomes("XY")(data);
    EXPECT_EQ(run(data.folder(), BED + SHORT + "--strict").status, 0);
}

TEST(strict, missing_genotypes_name_people_and_variants) {
    const e2e::study data(8, 0.3);
    empty_first_person(data);
    const auto end = run(data.folder(), BED + SHORT + "--check");
    EXPECT_NE(
        end.out.find("individuals without any genotype: " + first_id(data) + ", expected none; exclude them"),
        std::string::npos)
        << end.out;
    EXPECT_NE(end.out.find("variants with high rates of missing data: snp20_"), std::string::npos) << end.out;
}

TEST(strict, check_needs_no_output_and_writes_none) {
    const e2e::study data(8, 0.3);
    data.write("out.haps", "of an earlier run");
    for (const std::string line :
         {"-B study -M study.map -L run.log --check", "-B study -M study.map -L run.log --check -O out"}) {
        const auto end = run(data.folder(), line);
        EXPECT_EQ(end.status, 0) << end.out;
        EXPECT_NE(end.out.find("Nothing that --strict would refuse"), std::string::npos);
        EXPECT_NE(end.out.find("Memory needed for phasing: about "), std::string::npos);
        EXPECT_EQ(data.read("out.haps"), "of an earlier run");
        EXPECT_FALSE(std::filesystem::exists(data.at("out.sample")));
        EXPECT_TRUE(std::filesystem::exists(data.at("run.ind.mm")));
    }
}

// The orders of matches need memory for each site.
TEST(strict, check_counts_the_memory_of_matches) {
    simulation::Settings settings;
    settings.individuals = 1000;
    settings.megabases = 1;
    settings.density = 300;
    const e2e::study data(settings);
    const auto gigabytes = [&](const std::string& options) {
        const auto end = run(data.folder(), "-B study -M study.map -L run.log --check" + options);
        const std::string text = "Memory needed for phasing: about ";
        const std::size_t at = end.out.find(text);
        EXPECT_NE(at, std::string::npos) << end.out;
        return std::stod(end.out.substr(at + text.size()));
    };
    const double without = gigabytes("");
    EXPECT_GT(gigabytes(" --match --match-step 0.001"), without);
    EXPECT_GT(gigabytes(" --learn-rates --match-step 0.001"), without);
    EXPECT_EQ(gigabytes(" --match --match-step 1000"), without);
}

TEST(strict, check_finds_outputs_that_cannot_be_written) {
    const e2e::study data(8, 0.3);
    for (const std::string output : {"missing/out", "study.bed/out"}) {
        const auto end = run(data.folder(), "-B study -M study.map -L run.log --check -O " + output);
        EXPECT_EQ(end.status, 1);
        EXPECT_EQ(e2e::last_line(end),
                  "ERROR: " + output + ".haps is impossible to create, check writing permissions");
    }
    EXPECT_FALSE(std::filesystem::exists(data.at("missing")));
}

TEST(strict, check_counts_what_it_lists) {
    const e2e::study data(8, 0.3);
    std::string bim = data.read("study.bim");
    for (const std::size_t line : {2U, 3U, 5U}) bim = with_field(bim, line, 2, "rs\x07");
    data.write("study.bim", bim);
    const auto end = run(data.folder(), BED + " --check");
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(e2e::last_line(end), "ERROR: --strict would refuse this input at 3 places");
}

struct slip {
    const char* line;
    const char* message;
};

TEST(strict, errors_of_the_command_line_have_status_2) {
    const e2e::study data(8, 0.3);
    for (const slip& s :
         {slip{"--strict --brun 5", "unexpected word '--brun'; did you mean --burn?"},
          slip{"--strict --inputbed x", "unexpected word '--inputbed'; did you mean --input-bed?"},
          slip{"--seed 1 stray --strict", "unexpected word 'stray'"},
          slip{"windw --check", "unexpected word 'windw'; did you mean --window?"},
          slip{"--strict --burn seven", "the argument ('seven') for option '--burn' is invalid"},
          slip{"--strict --burn", "the required argument for option '--burn' is missing"},
          slip{"--strict --burn 1 --burn 2", "option '--burn' cannot be specified more than once"},
          slip{"-L --strict", "'--strict' is not a value of option '--output-log'"},
          slip{"--strict --seed --burn 1", "'--burn' is not a value of option '--seed'"},
          slip{"--strict -O a -O b", "option '--output-max' cannot be specified more than once"},
          slip{"--strict -O=a", "'=a' is not a value of option '--output-max'"},
          slip{"--strict=yes", "option '--strict' does not take any arguments"},
          slip{"--strict --log x", "unexpected word '--log'; did you mean --output-log?"},
          slip{"--strict --BED x", "unexpected word '--BED'; did you mean --input-bed?"},
          slip{"--strict --quiet", "unexpected word '--quiet' ("},
          slip{"--strict --inp x", "option '--inp' is ambiguous"}}) {
        const auto end = run(data.folder(), s.line);
        EXPECT_EQ(end.status, 2) << s.line;
        EXPECT_EQ(end.out, "") << s.line;
        EXPECT_TRUE(end.err.starts_with(std::string("tolvane: ") + s.message)) << end.err;
    }
}

TEST(strict, abbreviations_of_other_options_stay_as_short_as_they_were) {
    const e2e::study data(8, 0.3);
    const auto end = run(data.folder(), BED + " --seed 1 --burn 0 --prune 1 --main 1 --st 9");
    EXPECT_EQ(end.status, 0);
    EXPECT_NE(end.out.find("Model: 9 states"), std::string::npos) << end.out;
    for (const char* word : {"--strict", "--str", "--check", "--ch"})
        EXPECT_EQ(run(data.folder(), std::string(word) + " --brun 5").status, 2) << word;
}

}  // namespace
