#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <regex>

#include "program.h"
#include "random_run.h"
#include "support/files.h"

namespace {

using e2e::NOT_CALLED;
using e2e::random_run;
using support::lines_of;

/// A variant as it has to appear in the output, and its counts over the kept people.
struct expected_variant {
    std::string id;
    int position = 0;
    std::string a0, a1;                     // as the output names them
    std::vector<int> genotypes;             // copies of that a1; NOT_CALLED if any value may be imputed
    int n_missing = 0, n_a0 = 0, n_a1 = 0;  // as the input counts them

    bool is_monomorphic() const { return n_a0 == 0 || n_a1 == 0; }
    bool is_singleton() const { return !is_monomorphic() && (n_a0 == 1 || n_a1 == 1); }
};

expected_variant expected_of(const e2e::drawn_variant& given, const std::vector<bool>& person_kept) {
    expected_variant v{given.id, given.position, given.a0, given.a1, {}};
    for (std::size_t i = 0; i < person_kept.size(); ++i) {
        if (!person_kept[i]) continue;
        const int genotype = given.genotypes[i];
        v.genotypes.push_back(genotype);
        v.n_missing += genotype == NOT_CALLED;
        v.n_a1 += genotype == NOT_CALLED ? 0 : genotype;
        v.n_a0 += genotype == NOT_CALLED ? 0 : 2 - genotype;
    }
    if (!v.is_monomorphic()) return v;
    if (v.n_a0 == 0) std::swap(v.a0, v.a1);
    if (v.a1 == "0") v.a1 = v.a0;
    std::fill(v.genotypes.begin(), v.genotypes.end(), 0);
    return v;
}

struct expectation {
    std::vector<std::string> people;
    std::vector<expected_variant> variants;
    std::vector<int> missing_of_person;

    explicit expectation(const random_run& drawn) {
        for (std::size_t i = 0; i < drawn.people.size(); ++i)
            if (drawn.person_kept[i]) people.push_back(drawn.people[i]);
        missing_of_person.assign(people.size(), 0);
        for (std::size_t v = 0; v < drawn.variants.size(); ++v) {
            if (!drawn.variant_kept[v]) continue;
            variants.push_back(expected_of(drawn.variants[v], drawn.person_kept));
            std::size_t k = 0;
            for (std::size_t i = 0; i < drawn.people.size(); ++i)
                if (drawn.person_kept[i])
                    missing_of_person[k++] += drawn.variants[v].genotypes[i] == NOT_CALLED;
        }
    }

    /// The message that ends a run in which a person or a variant has no genotype; empty if there is none.
    std::string refusal() const {
        const auto n_people =
            std::count(missing_of_person.begin(), missing_of_person.end(), static_cast<int>(variants.size()));
        if (n_people > 0) return std::to_string(n_people) + " fully missing individuals (=100%)";
        const auto n_variants = std::count_if(variants.begin(), variants.end(), [this](const auto& v) {
            return v.n_missing == static_cast<int>(people.size());
        });
        return n_variants > 0 ? std::to_string(n_variants) + " fully missing SNPs (=100%)" : "";
    }
};

std::string opened(const random_run& drawn, const std::string& name) {
    const std::string bytes = support::read_file(drawn.folder().at(name));
    if (name.ends_with(".gz")) return support::gunzip(bytes);
    return name.ends_with(".bz2") ? support::bunzip2(bytes) : bytes;
}

void expect_haplotypes(const std::string& text, const expectation& expected) {
    const auto rows = lines_of(text);
    ASSERT_EQ(rows.size(), expected.variants.size());
    for (std::size_t v = 0; v < rows.size(); ++v) {
        const expected_variant& variant = expected.variants[v];
        const std::string head = variant.id + " " + variant.id + " " + std::to_string(variant.position) +
                                 " " + variant.a0 + " " + variant.a1;
        ASSERT_EQ(rows[v].substr(0, head.size()), head);
        const std::string digits = rows[v].substr(head.size());
        ASSERT_TRUE(std::regex_match(digits, std::regex("( [01])*"))) << rows[v];
        ASSERT_EQ(digits.size(), 4 * expected.people.size()) << rows[v];
        for (std::size_t i = 0; i < expected.people.size(); ++i) {
            const int copies = digits[4 * i + 1] - '0' + digits[4 * i + 3] - '0';
            if (variant.genotypes[i] == NOT_CALLED) continue;
            ASSERT_EQ(copies, variant.genotypes[i]) << head << " of " << expected.people[i];
        }
    }
}

void expect_people(const std::string& text, const expectation& expected) {
    std::string sample = "ID_1 ID_2 missing\n0 0 0\n";
    for (const std::string& person : expected.people) sample += person + " " + person + " 0\n";
    EXPECT_EQ(text, sample);
}

void expect_side_files(const random_run& drawn, const expectation& expected) {
    std::string people = "id\tmissing\n";
    for (std::size_t i = 0; i < expected.people.size(); ++i)
        people += expected.people[i] + "\t" + std::to_string(expected.missing_of_person[i]) + "\n";
    EXPECT_EQ(opened(drawn, "run.ind.mm"), people);
    std::string variants = "id\tposition\tA\tB\tmissing\tcount_A_total\tcount_B_total\n";
    for (const expected_variant& v : expected.variants)
        variants += v.id + "\t" + std::to_string(v.position) + "\t" + std::to_string(v.n_a0) + "\t" +
                    std::to_string(v.n_a1) + "\n";
    EXPECT_EQ(opened(drawn, "run.snp.mm"), variants);
}

/// Checks that the log has the line "  * COUNT TEXT" once, or no such line if the count is 0 and `always` is
/// false.
void expect_count(const std::string& log, long count, const std::string& text, bool always = false) {
    std::vector<std::string> found, expected;
    const std::regex head("  \\* [0-9]+ ");
    for (const std::string& line : lines_of(log))
        if (std::regex_replace(line, head, "", std::regex_constants::format_first_only) == text)
            found.push_back(line);
    if (count > 0 || always) expected.push_back("  * " + std::to_string(count) + " " + text);
    EXPECT_EQ(found, expected);
}

/// Checks the numbers of included and excluded entries.
void expect_counts_of(const std::string& log, const std::vector<bool>& kept, const std::string& things,
                      int each = 1) {
    const auto n_kept = std::count(kept.begin(), kept.end(), true);
    expect_count(log, each * n_kept, things + " included", true);
    expect_count(log, each * (static_cast<long>(kept.size()) - n_kept), things + " excluded");
}

void expect_share(const std::string& log, long part, long whole, const std::string& text) {
    char share[32];
    std::snprintf(share, sizeof share, "%.1f",
                  100.0 * static_cast<double>(part) / static_cast<double>(whole));
    const std::string line = "\n  * genotypes " + text + " (= " + share + " %)\n";
    EXPECT_EQ(log.find(line) != std::string::npos, part > 0) << line;
}

void expect_log(const std::string& log, const random_run& drawn, const expectation& expected) {
    expect_counts_of(log, drawn.person_kept, "individuals");
    expect_counts_of(log, drawn.variant_kept, "SNPs");
    if (drawn.has_panel) expect_counts_of(log, drawn.panel_person_kept, "reference haplotypes", 2);

    long n_people_high = 0, n_high = 0, n_monomorphic = 0, n_imputed = 0, n_singletons = 0, n_missing = 0;
    const auto n_people = static_cast<long>(expected.people.size());
    const auto n_variants = static_cast<long>(expected.variants.size());
    for (const int missing : expected.missing_of_person) n_people_high += 20 * missing > n_variants;
    for (const expected_variant& v : expected.variants) {
        n_high += 20 * v.n_missing > n_people;
        n_monomorphic += v.is_monomorphic();
        n_imputed += v.is_monomorphic() ? v.n_missing : 0;
        n_singletons += v.is_singleton();
        n_missing += v.n_missing;
    }
    expect_count(log, n_people_high, "individuals with high rates of missing data (>5%)");
    expect_count(log, n_high, "SNPs with high rates of missing data (>5%)");
    expect_count(log, n_monomorphic, "monomorphic SNPs");
    expect_count(log, n_imputed, "missing genotypes automatically imputed at monomorphic SNPs");
    expect_count(log, n_singletons, "singletons SNPs");
    if (drawn.from_gen) {
        expect_share(log, n_people * n_variants - n_missing, n_people * n_variants, "passing the threshold");
        expect_share(log, n_missing, n_people * n_variants, "NOT passing the threshold");
    }
    std::smatch placed;
    ASSERT_TRUE(std::regex_search(log, placed, std::regex("#set=([0-9]+) / #interpolated=([0-9]+)\n")));
    EXPECT_EQ(std::stol(placed[1]) + std::stol(placed[2]), n_variants);
}

/// Environment variables, because ctest passes no arguments to the tests.
unsigned from_environment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

class law_of_phasing : public testing::TestWithParam<unsigned> {};

TEST_P(law_of_phasing, holds) {
    const random_run drawn(GetParam());
    const expectation expected(drawn);
    SCOPED_TRACE("tolvane" + drawn.line());
    const auto end = e2e::run(drawn.folder(), drawn.line());
    const std::string log = support::read_file(drawn.folder().at("run.log"));
    if (!expected.refusal().empty()) {
        EXPECT_EQ(end.status, 1) << end.out << end.err;
        EXPECT_EQ(e2e::last_line(end), "ERROR: " + expected.refusal());
        EXPECT_EQ(support::read_file(drawn.folder().at(drawn.haps)), "");
        return;
    }
    ASSERT_EQ(end.status, 0) << end.out << end.err;
    EXPECT_TRUE(std::regex_search(log, std::regex("\nRunning time: [0-9]+ seconds\n$"))) << log;
    expect_haplotypes(opened(drawn, drawn.haps), expected);
    expect_people(opened(drawn, drawn.sample), expected);
    expect_side_files(drawn, expected);
    expect_log(log, drawn, expected);
}

constexpr unsigned N_RUNS = 100;

// Runs are named by seed. TOLVANE_LAW_RUNS and TOLVANE_LAW_SEED set their number and the first seed.
INSTANTIATE_TEST_SUITE_P(random_runs, law_of_phasing,
                         testing::Range(from_environment("TOLVANE_LAW_SEED", 1),
                                        from_environment("TOLVANE_LAW_SEED", 1) +
                                            from_environment("TOLVANE_LAW_RUNS", N_RUNS)),
                         [](const auto& tested) { return std::to_string(tested.param); });

// If most runs were refused, or all were alike, the test above would show little.
TEST(random_runs, are_of_all_kinds) {
    std::map<std::string, int> n;
    for (unsigned seed = 1; seed <= N_RUNS; ++seed) {
        const random_run drawn(seed);
        const expectation expected(drawn);
        if (!expected.refusal().empty()) {
            ++n["refused"];
            continue;
        }
        const auto has = [&drawn](const char* piece) {
            return drawn.line().find(piece) != std::string::npos;
        };
        for (const char* piece :
             {" -B ", " -G ", " -R ", "--cluster-size", "--thread", "--early-stopping", "-ind ", "-snp ",
              "--input-from", "--input-thr", "--effective-size", ".gz", ".bz2"})
            n[piece] += has(piece);
        for (const expected_variant& v : expected.variants) {
            n["genotypes to fill in"] += v.n_missing > 0 && !v.is_monomorphic();
            n["one allele"] += v.is_monomorphic();
            n["turned"] += v.n_a0 == 0;
        }
    }
    EXPECT_LT(n["refused"], static_cast<int>(N_RUNS / 4));
    for (const auto& [kind, count] : n) EXPECT_GE(count, kind == "refused" ? 1 : 5) << kind;
    EXPECT_EQ(n.size(), 17U);
}

}  // namespace
