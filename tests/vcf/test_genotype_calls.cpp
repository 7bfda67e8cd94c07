#include "vcf/genotype_calls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/child_process.h"
#include "support/temporary_folder.h"
#include "support/vcf_text.h"

namespace {

using support::put_vcf;
using support::vcf_text;

constexpr const char* CODES = "0.12";  // homozygous first, missing, heterozygous, homozygous second

/// The genotypes of a record as text, and its calls.
struct decoded {
    std::string genotypes;
    record_calls calls;
};

/// Decodes the only record of a file, for all individuals or for those kept.
decoded decode(const std::string& record, std::vector<int> kept = {}) {
    const support::temporary_folder folder;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::count(record.begin(), record.end(), ' ')) - 4;
         ++i)
        names.push_back("I" + std::to_string(i));
    for (int i = 0; kept.empty() && i < static_cast<int>(names.size()); ++i) kept.push_back(i);
    if (kept.size() < names.size())
        for (int i = static_cast<int>(kept.size()); i < static_cast<int>(names.size()); ++i)
            kept.push_back(i);
    vcf_file file(put_vcf(folder, "a.bcf", vcf_text(names, {record})), std::nullopt, 1);
    EXPECT_TRUE(file.next());
    std::vector<unsigned char> row(names.size() / 4 + 1);
    call_decoder decoder(kept);
    const record_calls* calls = decoder.decode(file, row.data());
    decoded result;
    if (calls == nullptr) return {"none", {}};
    result.calls = *calls;
    for (std::size_t i = 0; i < names.size(); ++i) result.genotypes += CODES[row[i / 4] >> (i % 4 * 2) & 3];
    return result;
}

TEST(CallDecoder, Examples) {
    struct row {
        const char* record;
        const char* genotypes;
        long n_called, n_half_missing, n_phased, n_two_others;
        std::vector<int> haploid;
        int first = 0;
    };
    const row ROWS[] = {
        {"20 1 . A G 0/0 0/1 1/0 1/1 ./.", "0112.", 4, 0, 0, 0, {}},
        {"20 1 . A G 0|0 0|1 1|0 1|1 .|.", "0112.", 4, 0, 2, 0, {}},
        {"20 1 . A G 0 1 . 0/1 .", "02.1.", 3, 0, 0, 0, {0, 1, 2, 4}},
        {"20 1 . A G 0 1 .", "02.", 2, 0, 0, 0, {0, 1, 2}},
        {"20 1 . A G ./1 0/. 0/0", "..0", 1, 2, 0, 0, {}},
        {"20 1 . A . 0/0 ./.", "0.", 1, 0, 0, 0, {}},
        {"20 1 . A G,T 0/0 0/1 0/2 1/2 2/2 1/1", "011222", 6, 0, 0, 1, {}},
        {"20 1 . A G,T 2/2 0/2 1/2 0/1 2/0 ./.",
         "0112"
         "1"
         ".",
         5,
         0,
         0,
         1,
         {},
         2},
        {"20 1 . A G,T 0 1 2/2 2/2 2/1", "22001", 5, 0, 0, 0, {0, 1}, 2},
        {"20 1 . A * 0/1 1/1", "12", 2, 0, 0, 0, {}},
        {"20 1 . A <DEL> 0/1 1/1", "12", 2, 0, 0, 0, {}},
    };
    for (const row& r : ROWS) {
        const decoded d = decode(r.record);
        EXPECT_EQ(d.genotypes, r.genotypes) << r.record;
        EXPECT_EQ(d.calls.n_called, r.n_called) << r.record;
        EXPECT_EQ(d.calls.n_half_missing, r.n_half_missing) << r.record;
        EXPECT_EQ(d.calls.n_phased, r.n_phased) << r.record;
        EXPECT_EQ(d.calls.n_two_others, r.n_two_others) << r.record;
        EXPECT_EQ(d.calls.haploid, r.haploid) << r.record;
        EXPECT_EQ(d.calls.classes.first, r.first) << r.record;
    }
}

TEST(CallDecoder, ManyAllelesTakeWiderNumbers) {
    std::string alternatives;
    for (int a = 1; a <= 200; ++a)
        alternatives += (a > 1 ? "," : "") + std::string("A") + std::string(static_cast<std::size_t>(a), 'G');
    const decoded d = decode("20 1 . A " + alternatives + " 0/0 0/150 200/150 200/200 ./. 0/1");
    EXPECT_EQ(d.genotypes, "0122.1");
    EXPECT_EQ(d.calls.n_two_others, 1);
}

TEST(CallDecoder, AgreesWithThePlainMeaningOfRandomGenotypes) {
    std::mt19937 random(3);
    const char* const TEXTS[] = {"0/0", "0/1", "1/0", "1/1", "0|0", "0|1", "1|0", "1|1",
                                 "./.", ".",   "0",   "1",   "./1", "0/.", ".|."};
    const char MEANING[] = {'0', '1', '1', '2', '0', '1', '1', '2', '.', '.', '0', '2', '.', '.', '.'};
    for (int round = 0; round < 50; ++round) {
        std::string record = "20 1 . A G", expected;
        long n_called = 0;
        for (unsigned i = 0; i < 1 + random() % 40; ++i) {
            const auto k = random() % 15;
            record += " " + std::string(TEXTS[k]);
            expected += MEANING[k];
            n_called += MEANING[k] != '.';
        }
        const decoded d = decode(record);
        EXPECT_EQ(d.genotypes, expected) << record;
        EXPECT_EQ(d.calls.n_called, n_called) << record;
    }
}

TEST(CallDecoder, CountsThoseKept) {
    const decoded d = decode("20 1 . A G,T 1/1 1|1 2/2 ./2 0", {0, -1, 1, -1, -1});
    EXPECT_EQ(d.calls.n_called, 2);
    EXPECT_EQ(d.calls.n_half_missing, 0);
    EXPECT_TRUE(d.calls.haploid.empty());
    EXPECT_EQ(d.calls.classes.first, 1);
}

TEST(CallDecoder, WrongGenotypesStopTheRun) {
    EXPECT_TRUE(support::stops_naming({"record 1 (20:7)", "individual I1 has more than two alleles"},
                                      [] { decode("20 7 . A G 0/1 0/1/1"); }));
    EXPECT_TRUE(support::stops_naming(
        {"record 1 (20:7)", "individual I1 has an allele that the record does not have"},
        [] { decode("20 7 . A G 0/1 0/2"); }));
    EXPECT_EQ(decode("20 7 . A G 0/1 0/1/1", {0, -1}).calls.n_called, 1) << "somebody who is left out";
}

}  // namespace
