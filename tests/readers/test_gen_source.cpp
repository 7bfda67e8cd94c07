#include "readers/gen_source.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <sstream>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/study.h"

namespace {

using support::log_capture;
using support::stops_with;
using support::study;

struct impute_pair {
    impute_pair(const std::string& gen_text, const std::string& sample_lines)
        : gen(capture.folder().put("study.gen", gen_text)),
          sample(capture.folder().put("study.sample", "ID_1 ID_2 missing\n0 0 0\n" + sample_lines)) {}
    void read_into(study& s, double threshold = 0.9) const { s.read_gen(gen, sample, threshold); }
    /// The text in the log after the line that announces the GEN file.
    std::string log_of_gen() const {
        const std::string log = capture.log();
        const std::size_t start = log.find("\nReading SNPs and genotypes in [");
        return log.substr(log.find('\n', start + 1) + 1);
    }

    log_capture capture;
    std::string gen, sample;
};

const char* const TWO = "F1 Ann 0\nF2 Bob 0\n";

TEST(GenSource, OldLayout) {
    const impute_pair files(
        "snp1 rs1 100 A G 1 0 0 0 1 0\n"
        "snp2 rs2 200 C T 0 0 1 0.4 0.3 0.3\n",
        TWO);
    study s;
    files.read_into(s);
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"02", "1."}));
    EXPECT_EQ(s.store.ind_ids, (std::vector<std::string>{"Ann", "Bob"}));
    EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:A:G", "rs2:200:C:T"}));
    for (int v = 0; v < 2; ++v) EXPECT_EQ(s.store.snps.getByIndex(v)->idx, v);
    EXPECT_EQ(files.capture.log(), "\nReading individuals in [" + files.sample +
                                       "] in Impute2 sample format\n  * 2 individuals included\n"
                                       "\nReading SNPs and genotypes in [" +
                                       files.gen +
                                       "] in Impute2 format with calling threshold = 0.9000\n"
                                       "  * Old GEN/SAMPLE format detected\n"
                                       "  * 2 SNPs included\n"
                                       "  * genotypes passing the threshold (= 75.0 %)\n"
                                       "  * genotypes NOT passing the threshold (= 25.0 %)\n");
    EXPECT_EQ(files.capture.console(), files.capture.log());
}

TEST(GenSource, NewLayoutWithExcludedIndividuals) {
    const impute_pair files("20 snp1 rs1 100 A G 1 0 0 0 1 0 0 0 1 1 0 0\n",
                            "F1 Ann 0\nF2 Bob 0\nF3 Cem 0\nF4 Dan 0\n");
    study s;
    s.filter.ind_exclude["Ann"] = false;
    s.filter.ind_exclude["Cem"] = false;
    files.read_into(s);
    EXPECT_EQ(s.store.ind_ids, (std::vector<std::string>{"Bob", "Dan"}));
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"1", "0"}));
    EXPECT_EQ(s.variants(), std::vector<std::string>{"rs1:100:A:G"});
    EXPECT_NE(files.capture.log().find("  * 2 individuals included\n  * 2 individuals excluded\n"),
              std::string::npos);
    EXPECT_EQ(files.log_of_gen(),
              "  * New GEN/SAMPLE format detected\n  * 1 SNPs included\n"
              "  * genotypes passing the threshold (= 100.0 %)\n");
}

TEST(GenSource, LayoutsMayMixAndTheLastIsReported) {
    const std::string old_line = "snp2 rs2 200 C T 0 0 1 1 0 0\n",
                      new_line = "20 snp1 rs1 100 A G 1 0 0 0 1 0\n",
                      later = "20 snp3 rs3 300 A C 0 1 0 0 1 0\n";
    {
        const impute_pair files(new_line + old_line, TWO);
        study s;
        files.read_into(s);
        EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:A:G", "rs2:200:C:T"}));
        EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"02", "10"}));
        EXPECT_EQ(files.log_of_gen().substr(0, 34), "  * Old GEN/SAMPLE format detected");
    }
    {
        const impute_pair files(old_line + later, TWO);
        study s;
        files.read_into(s);
        EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"21", "01"}));
        EXPECT_EQ(files.log_of_gen().substr(0, 34), "  * New GEN/SAMPLE format detected");
    }
}

TEST(GenSource, EmptyGenFile) {
    const impute_pair files("", TWO);
    study s;
    files.read_into(s);
    EXPECT_EQ(files.log_of_gen(), "  * Old GEN/SAMPLE format detected\n  * 0 SNPs included\n");
    EXPECT_EQ(s.genotypes(), std::vector<std::string>(2));
}

TEST(GenSource, NoIndividuals) {
    const impute_pair files("snp1 rs1 100 A G\n20 snp2 rs2 200 A G\n", "");
    study s;
    files.read_into(s);
    EXPECT_EQ(s.store.snps.size(), 2);
    EXPECT_EQ(files.log_of_gen(), "  * New GEN/SAMPLE format detected\n  * 2 SNPs included\n");
}

TEST(GenSource, ThresholdIsPrintedWithFourDecimalsOrAsMax) {
    for (const auto& [threshold, text] :
         {std::pair(0.95, "0.9500"), std::pair(1.0, "1.0000"), std::pair(-1.0, "MAX")}) {
        const impute_pair files("", TWO);
        study s;
        files.read_into(s, threshold);
        EXPECT_NE(files.capture.log().find(std::string("in Impute2 format with calling threshold = ") + text +
                                           "\n"),
                  std::string::npos);
    }
}

struct call_row {
    const char* name;
    const char* probabilities;
    double threshold;
    const char* expected;
};

TEST(GenSource, ExamplesOfCalls) {
    for (const call_row& r :
         {call_row{"certain", "1 0 0", 0.9, "0"},
          call_row{"reaches the threshold", "0.02 0.96 0.02", 0.9, "1"},
          call_row{"normalised first", "0.5 0.3 0.2", 0.9, "."},
          call_row{"8 of 9 is too little", "0.8 0.1 0.0", 0.9, "."},
          call_row{"0.9 as float is below the double", "9 0.5 0.5", 0.9, "."},
          call_row{"weights need no sum of 1", "0 0 7", 0.9, "2"},
          call_row{"no information", "0 0 0", 0.9, "."},
          call_row{"no information, least threshold", "0 0 0", 0.51, "."},
          call_row{"no information, most likely", "0 0 0", -1.0, "1"},
          call_row{"most likely", "0.2 0.3 0.5", -1.0, "2"},
          call_row{"ties go to the lower", "0.4 0.4 0.2", -1.0, "0"},
          call_row{"text is 0", "x y 1", 0.9, "2"}, call_row{"other notations", "1e-3 .999 0x0", 0.9, "1"},
          // The sum is (p0 + p1) + p2, rounded to float twice. In another order, or for the first and the
          // last one also in double precision, the sum and therefore the call would be another one.
          call_row{"p0 + (p1 + p2) is smaller", "6.120 0.432 0.248", 0.9, "."},
          call_row{"p0 + (p1 + p2) is larger", "8.604 0.943 0.013", 0.9, "0"},
          call_row{"(p0 + p2) + p1 is larger", "0.737 0.085 7.398", 0.9, "2"},
          call_row{"both are smaller", "0.723 0.676 12.591", 0.9, "."},
          call_row{"both are larger", "0.565 7.686 0.289", 0.9, "1"}}) {
        const impute_pair files(std::string("snp1 rs1 100 A G ") + r.probabilities + "\n", "F1 Ann 0\n");
        study s;
        files.read_into(s, r.threshold);
        EXPECT_EQ(s.genotypes()[0], r.expected) << r.name;
        const bool called = std::string(r.expected) != ".";
        EXPECT_EQ(files.log_of_gen().find("NOT passing") == std::string::npos, called) << r.name;
    }
}

TEST(GenSource, OldLayoutLineWithOneAlleleTwiceIsHomozygous) {
    const impute_pair files(
        "snp1 rs1 100 A A 1 0 0 0 1 0 0 0 1 0 0 0\n"
        "20 snp2 rs2 200 A A 1 0 0 0 1 0 0 0 1 0 0 0\n"
        "20 snp3 rs3 300 300 A 1 0 0 0 1 0 0 0 1 0 0 0\n",
        "F Ann 0\nF Bob 0\nF Cem 0\nF Dan 0\n");
    study s;
    files.read_into(s);
    // In the new layout the two fields compared are the position and the first allele.
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"000", "010", "020", "..."}));
}

TEST(GenSource, GenotypesOfFilteredVariantsAreNotRead) {
    const impute_pair files(
        "snp1 rs1 100 A G 1 0 0 0 1 0\n"
        "snp2 rs2 200 A G 0 0 1 0 0 1\n"
        "snp3 rs3 -5 A G 0 0 1 0 0 1\n"
        "snp4 rs4 300 A G 0 1 0 0 0 0\n",
        TWO);
    study s;
    s.filter.snp_exclude[200] = true;
    files.read_into(s);
    EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:A:G", "rs4:300:A:G"}));
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"01", "1."}));
    EXPECT_EQ(files.log_of_gen(),
              "  * Old GEN/SAMPLE format detected\n  * 2 SNPs included\n  * 2 SNPs excluded\n"
              "  * genotypes passing the threshold (= 75.0 %)\n"
              "  * genotypes NOT passing the threshold (= 25.0 %)\n");
}

TEST(GenSource, ReportsOnlyFailuresIfNothingPasses) {
    const impute_pair files("snp1 rs1 100 A G 0 0 0 0 0 0\n", TWO);
    study s;
    files.read_into(s);
    EXPECT_EQ(files.log_of_gen(),
              "  * Old GEN/SAMPLE format detected\n  * 1 SNPs included\n"
              "  * genotypes NOT passing the threshold (= 100.0 %)\n");
}

/// Reference implementation of a call: three texts become floats, are divided by their float sum in double,
/// rounded to float and compared.
char call_plainly(const std::string& x, const std::string& y, const std::string& z, double threshold) {
    float p[3] = {static_cast<float>(std::atof(x.c_str())), static_cast<float>(std::atof(y.c_str())),
                  static_cast<float>(std::atof(z.c_str()))};
    const float first_two = p[0] + p[1];
    const float sum = first_two + p[2];
    if (sum == 0.0F) {
        p[0] = 0.332F;
        p[1] = p[2] = 0.334F;
    } else {
        for (float& q : p) q = static_cast<float>(static_cast<double>(q) / static_cast<double>(sum));
    }
    if (threshold < 0.0) {
        int best = 0;
        for (int g = 1; g < 3; ++g)
            if (p[g] > p[best]) best = g;
        return static_cast<char>('0' + best);
    }
    for (int g = 0; g < 3; ++g)
        if (static_cast<double>(p[g]) >= threshold) return static_cast<char>('0' + g);
    return '.';
}

TEST(GenSource, CallsAgreeWithReference) {
    std::mt19937 random(1);
    for (const double threshold : {0.9, 0.6, 1.0, -1.0}) {
        constexpr int n_ind = 40, n_variants = 30;
        std::vector<std::string> expected(n_ind);
        std::ostringstream gen, sample;
        for (int i = 0; i < n_ind; ++i) sample << "F I" << i << " 0\n";
        for (int v = 0; v < n_variants; ++v) {
            gen << "snp" << v << " rs" << v << " " << 10 * v << " A G";
            for (int i = 0; i < n_ind; ++i) {
                std::string texts[3];
                const int large = static_cast<int>(random() % 3);
                for (int g = 0; g < 3; ++g) {
                    const double value =
                        static_cast<double>(random() % 1000) / (g == large ? 1000.0 : 9000.0);
                    texts[g] = random() % 10 == 0 ? "0" : std::to_string(value);
                    gen << " " << texts[g];
                }
                expected[i] += call_plainly(texts[0], texts[1], texts[2], threshold);
            }
            gen << "\n";
        }
        const impute_pair files(gen.str(), sample.str());
        study s;
        files.read_into(s, threshold);
        EXPECT_EQ(s.genotypes(), expected) << threshold;
    }
}

struct fault_row {
    const char* name;
    const char* gen;
    const char* sample;
    const char* message;
};

TEST(GenSource, ErrorsStopTheRun) {
    const char* const good = "snp1 rs1 100 A G 1 0 0 0 1 0\n";
    for (const fault_row& r :
         {fault_row{"two fields in the sample", good, "F1 Ann 0\nF2 Bob\n",
                    "Line=2 found=2 fields, expected more that 3"},
          fault_row{"empty line in the sample", good, "F1 Ann 0\n\n",
                    "Line=2 found=0 fields, expected more that 3"},
          fault_row{"one field too few", "snp1 rs1 100 A G 1 0 0 0 1\n", TWO,
                    "Line=1 found=10 fields, expected=11 or 12"},
          fault_row{"two fields too many", "snp1 rs1 100 A G 1 0 0 0 1 0\n20 s r 200 A G 1 0 0 0 1 0 0\n",
                    TWO, "Line=2 found=13 fields, expected=11 or 12"},
          fault_row{"empty line", "snp1 rs1 100 A G 1 0 0 0 1 0\n\n", TWO,
                    "Line=2 found=0 fields, expected=11 or 12"},
          fault_row{"an individual more than the sample has", "snp1 rs1 100 A G 1 0 0 0 1 0 0 1 0\n", TWO,
                    "Line=1 found=14 fields, expected=11 or 12"},
          fault_row{"falling positions", "s r 100 A G 1 0 0 0 1 0\ns r 99 A G 1 0 0 0 1 0\n", TWO,
                    "Wrong ordering in physical positions curr_pos=99 prev_pos=100"},
          fault_row{"one name twice", good, "F1 Ann 0\nF2 Ann 0\n",
                    "Two individuals or more have the following ID : Ann"}}) {
        const impute_pair files(r.gen, r.sample);
        EXPECT_TRUE(stops_with(r.message, [&] {
            study s;
            files.read_into(s);
        })) << r.name;
    }
}

TEST(GenSource, FieldsAreCountedBeforeFiltering) {
    const impute_pair files("snp1 rs1 100 A G 1 0 0\n", TWO);
    EXPECT_TRUE(stops_with("Line=1 found=8 fields, expected=11 or 12", [&] {
        study s;
        s.filter.snp_exclude[100] = true;
        files.read_into(s);
    }));
}

TEST(GenSource, PositionsBeyondAnIntStopTheRun) {
    const impute_pair files("s r 5000000000 A G 1 0 0 0 1 0\n", TWO);
    EXPECT_TRUE(stops_with(
        files.gen + " line 1: [5000000000] is out of range for a position (at most 2147483647)", [&] {
            study s;
            files.read_into(s);
        }));
}

TEST(GenSource, HeaderLinesAreIgnored) {
    const impute_pair files("", "");
    for (const char* text : {"", "one line", "one line\n", "x\ny", "x\ny\n"}) {
        const std::string sample = files.capture.folder().put("short.sample", text);
        study s;
        s.read_gen(files.gen, sample, 0.9);
        EXPECT_TRUE(s.store.ind_ids.empty()) << text;
    }
}

TEST(GenSource, KeepsTheNameOfTheChromosomeInTheNewLayout) {
    for (const auto& [line, chromosome] :
         {std::pair("X s1 rs1 100 A G 1 0 0 0 1 0\n", "X"), std::pair("s1 rs1 100 A G 1 0 0 0 1 0\n", "")}) {
        const impute_pair files(line, TWO);
        study s;
        files.read_into(s);
        EXPECT_EQ(s.store.snps.getByIndex(0)->chromosome, chromosome);
    }
}

// ---- calls

struct hard_call_row {
    std::array<float, 3> p;
    double threshold;
    int call;
};

TEST(HardCall, Examples) {
    for (const hard_call_row& r :
         {hard_call_row{{0.95F, 0.05F, 0.0F}, 0.9, 0}, hard_call_row{{0.05F, 0.95F, 0.0F}, 0.9, 1},
          hard_call_row{{0.0F, 0.0F, 1.0F}, 0.9, 2}, hard_call_row{{0.4F, 0.4F, 0.2F}, 0.9, -1},
          hard_call_row{{0.75F, 0.25F, 0.0F}, 0.75, 0}, hard_call_row{{0.4F, 0.4F, 0.2F}, -1.0, 0},
          hard_call_row{{0.2F, 0.4F, 0.4F}, -1.0, 1}, hard_call_row{{0.4F, 0.2F, 0.4F}, -1.0, 0},
          hard_call_row{{0.1F, 0.2F, 0.7F}, -0.5, 2}, hard_call_row{{1.0F, 0.0F, 0.0F}, 1.0, 0},
          hard_call_row{{1.0F, 0.0F, 0.0F}, 0.0, 2}, hard_call_row{{0.0F, 0.0F, 0.0F}, 0.0, 2},
          // 0.9 as float is below 0.9 as double.
          hard_call_row{{0.9F, 0.1F, 0.0F}, 0.9, -1}}) {
        std::array<float, 3> p = r.p;
        long n_missing = 10, n_called = 20;
        EXPECT_EQ(hard_call(p[0], p[1], p[2], r.threshold, n_missing, n_called), r.call);
        EXPECT_EQ(n_missing, r.call < 0 ? 11 : 10);
        EXPECT_EQ(n_called, r.call < 0 ? 20 : 21);
        for (int g = 0; g < 3; ++g)
            EXPECT_EQ(p[g], r.call < 0 ? r.p[g] : g == r.call ? 1.0F : 0.0F) << "probability of " << g;
    }
}

TEST(HardCall, CallsTheGenotypeAtTheThresholdOrTheFirstLargest) {
    std::mt19937 random(1);
    int n_called_by_threshold = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        std::array<float, 3> p{};
        for (float& q : p) q = static_cast<float>(random() % 9) / 8.0F;
        const double threshold = 0.55 + 0.05 * static_cast<double>(random() % 9);
        long n_missing = 0, n_called = 0;
        std::array<float, 3> q = p;
        // The values need not sum to 1: trials in which two of them reach the threshold are skipped.
        int expected = -1;
        for (int g = 2; g >= 0 && expected < 0; --g)
            if (p[g] >= threshold) expected = g;
        const int n_reached = (p[0] >= threshold) + (p[1] >= threshold) + (p[2] >= threshold);
        if (n_reached < 2) {
            EXPECT_EQ(hard_call(q[0], q[1], q[2], threshold, n_missing, n_called), expected);
            n_called_by_threshold += expected >= 0;
        }
        q = p;
        expected = 0;
        for (int g = 1; g < 3; ++g)
            if (p[g] > p[expected]) expected = g;
        EXPECT_EQ(hard_call(q[0], q[1], q[2], -1.0, n_missing, n_called), expected);
    }
    EXPECT_GT(n_called_by_threshold, 500);
}

}  // namespace
