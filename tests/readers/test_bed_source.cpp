#include "readers/bed_source.h"

#include <gtest/gtest.h>

#include <random>

#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/study.h"

namespace {

using support::log_capture;
using support::stops_with;
using support::study;

constexpr char SNP_MAJOR = 1;
constexpr char INDIVIDUAL_MAJOR = 0;

/// Two bits of a genotype as text: 00 homozygous first, 01 missing, 10 heterozygous, 11 homozygous second.
unsigned code_of(char genotype) {
    return static_cast<unsigned>(std::string("0.12").find(genotype));
}

/// A BED file of these genotypes, one text per individual. `padding` fills the bits past the end of a block.
std::string bed_file(const std::vector<std::string>& genotypes, int n_variants, char mode,
                     unsigned padding = 0) {
    const int n_ind = static_cast<int>(genotypes.size());
    const bool by_variant = (mode & 1) != 0;
    std::string bytes = std::string("\x6C\x1B") + mode;
    for (int block = 0; block < (by_variant ? n_variants : n_ind); ++block) {
        const int n = by_variant ? n_ind : n_variants;
        for (int first = 0; first < n; first += 4) {
            unsigned byte = 0;
            for (int j = 3; j >= 0; --j) {
                const int at = first + j;
                const unsigned code = at >= n      ? padding
                                      : by_variant ? code_of(genotypes[at][block])
                                                   : code_of(genotypes[block][at]);
                byte = 4 * byte + code;
            }
            bytes += static_cast<char>(byte);
        }
    }
    return bytes;
}

std::string bim_file(const std::vector<int>& positions) {
    std::string text;
    for (const int pos : positions)
        text += "20\trs" + std::to_string(pos) + "\t0.5\t" + std::to_string(pos) + "\tA\tG\n";
    return text;
}

std::string fam_file(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += "F1 " + name + " 0 0 1 -9\n";
    return text;
}

/// Three files in a folder, and the log.
struct plink_set {
    plink_set(const std::string& bed_bytes, const std::string& bim_text, const std::string& fam_text)
        : bed(capture.folder().put("study.bed", bed_bytes)),
          bim(capture.folder().put("study.bim", bim_text)),
          fam(capture.folder().put("study.fam", fam_text)) {}
    void read_into(study& s) const { s.read_bed(bed, bim, fam); }

    log_capture capture;
    std::string bed, bim, fam;
};

const std::vector<std::string> FIVE = {"01.2", "1200", ".011", "2222", "0.10"};
const std::vector<std::string> NAMES = {"Ann", "Bob", "Cem", "Dan", "Eve"};
const std::vector<int> POSITIONS = {100, 200, 200, 350};

TEST(BedSource, VariantsIndividualsAndGenotypes) {
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR}) {
        const plink_set files(bed_file(FIVE, 4, mode), bim_file(POSITIONS), fam_file(NAMES));
        study s;
        files.read_into(s);
        EXPECT_EQ(s.genotypes(), FIVE);
        EXPECT_EQ(s.store.ind_ids, NAMES);
        EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs100:100:A:G", "rs200:200:A:G", "rs200:200:A:G",
                                                          "rs350:350:A:G"}));
        for (int v = 0; v < 4; ++v) EXPECT_EQ(s.store.snps.getByIndex(v)->idx, v);
        EXPECT_EQ(files.capture.log(),
                  "\nReading SNPs in [" + files.bim + "] in Plink BIM format\n  * 4 SNPs included\n" +
                      "\nReading individuals in [" + files.fam +
                      "] in Plink FAM format\n  * 5 individuals included\n" + "\nReading genotypes in [" +
                      files.bed + "] in Plink BED format\n  * Plink binary file " +
                      (mode == SNP_MAJOR ? "SNP-major" : "individual-major") + " mode\n");
        EXPECT_EQ(files.capture.console(), files.capture.log());
    }
}

TEST(BedSource, FourGenotypesPerByte) {
    // From the low bits up: 0 is 00, missing 01, heterozygous 10, 2 is 11; then one more genotype, and
    // padding.
    const plink_set files(std::string("\x6C\x1B\x01\xE4\xFE", 5), bim_file({100}), fam_file(NAMES));
    study s;
    files.read_into(s);
    EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"0", ".", "1", "2", "1"}));
}

TEST(BedSource, NoBitsRemainOfExcludedVariantsAtTheEnd) {
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR}) {
        const plink_set files(bed_file({"012", "10.", "211", "0.2"}, 3, mode), bim_file({100, 200, 300}),
                              fam_file({"Ann", "Bob", "Cem", "Dan"}));
        study s;
        s.filter.snp_exclude[300] = true;
        files.read_into(s);
        const genotype_store expected = support::study_of({"01", "10", "21", "0."});
        // The comparison includes the bits past the last variant, which have to be 0.
        EXPECT_EQ(s.store.allele_a, expected.allele_a);
        EXPECT_EQ(s.store.allele_b, expected.allele_b);
        EXPECT_EQ(s.store.missing, expected.missing);
    }
}

TEST(BedSource, OnlyBitZeroOfTheModeCounts) {
    struct row {
        char mode;
        const char* name;
    };
    for (const row& r :
         {row{'\x03', "SNP-major"}, row{'\xFF', "SNP-major"}, row{'\x02', "individual-major"}}) {
        const plink_set files(bed_file(FIVE, 4, r.mode), bim_file(POSITIONS), fam_file(NAMES));
        study s;
        files.read_into(s);
        EXPECT_EQ(s.genotypes(), FIVE);
        EXPECT_NE(files.capture.log().find(std::string("  * Plink binary file ") + r.name + " mode\n"),
                  std::string::npos);
    }
}

TEST(BedSource, ExcludedLinesDoNotShiftTheOthers) {
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR}) {
        const plink_set files(bed_file(FIVE, 4, mode), bim_file({100, -1, 200, 350}), fam_file(NAMES));
        study s;
        s.filter.ind_exclude["Ann"] = false;
        s.filter.ind_exclude["Cem"] = false;
        s.filter.snp_exclude[200] = true;
        files.read_into(s);
        EXPECT_EQ(s.store.ind_ids, (std::vector<std::string>{"Bob", "Dan", "Eve"}));
        EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs100:100:A:G", "rs350:350:A:G"}));
        EXPECT_EQ(s.genotypes(), (std::vector<std::string>{"10", "22", "00"}));
        const std::string log = files.capture.log();
        EXPECT_NE(log.find("  * 2 SNPs included\n  * 2 SNPs excluded\n"), std::string::npos);
        EXPECT_NE(log.find("  * 3 individuals included\n  * 2 individuals excluded\n"), std::string::npos);
    }
}

TEST(BedSource, AgreesWithReferenceEncoderForAllSizes) {
    std::mt19937 random(1);
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR})
        for (int n_ind = 1; n_ind <= 9; ++n_ind)
            // Around the size of a block, too.
            for (const int n_variants : {1, 2, 3, 4, 5, 8, 9, 63, 64, 65, 128, 130}) {
                std::vector<std::string> all, names;
                std::vector<int> positions;
                for (int i = 0; i < n_ind; ++i) {
                    names.push_back("I" + std::to_string(i));
                    all.emplace_back();
                    for (int v = 0; v < n_variants; ++v) all[i] += "012."[random() % 4];
                }
                for (int v = 0; v < n_variants; ++v) positions.push_back(10 * v + 10);
                const plink_set files(bed_file(all, n_variants, mode, random() % 4), bim_file(positions),
                                      fam_file(names));
                study s;
                std::vector<std::string> expected;
                std::vector<bool> variant_kept(n_variants);
                for (int v = 0; v < n_variants; ++v) {
                    variant_kept[v] = random() % 3 > 0;
                    if (!variant_kept[v]) s.filter.snp_exclude[positions[v]] = true;
                }
                for (int i = 0; i < n_ind; ++i) {
                    if (random() % 3 == 0) {
                        s.filter.ind_exclude[names[i]] = false;
                        continue;
                    }
                    expected.emplace_back();
                    for (int v = 0; v < n_variants; ++v)
                        if (variant_kept[v]) expected.back() += all[i][v];
                }
                files.read_into(s);
                ASSERT_EQ(s.genotypes(), expected) << n_ind << " individuals, " << n_variants << " variants";
            }
}

TEST(BedSource, NoIndividualsOrNoVariants) {
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR}) {
        const std::string head = std::string("\x6C\x1B") + mode;
        {
            const plink_set files(head, bim_file(POSITIONS), "");
            study s;
            files.read_into(s);
            EXPECT_EQ(s.store.snps.size(), 4);
            EXPECT_TRUE(s.store.ind_ids.empty());
        }
        {
            const plink_set files(head, "", fam_file(NAMES));
            study s;
            files.read_into(s);
            EXPECT_EQ(s.store.snps.size(), 0);
            EXPECT_EQ(s.genotypes(), std::vector<std::string>(5));
        }
    }
}

TEST(BedSource, TruncationReportsTheMissingByte) {
    // Five genotypes in a block take two bytes, in either mode.
    const std::vector<std::string> square = {"01.20", "12001", ".0112", "22220", "0.10."};
    const std::vector<int> positions = {1, 2, 3, 4, 5};
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR}) {
        const std::string whole = bed_file(square, 5, mode);
        ASSERT_EQ(whole.size(), 13U);
        for (int n = 0; n < 13; ++n) {
            const plink_set files(whole.substr(0, n), bim_file(positions), fam_file(NAMES));
            const int block = (n - 3) / 2, first = (n - 3) % 2 * 4;
            const std::string ind = std::to_string(mode == SNP_MAJOR ? first : block);
            const std::string snp = std::to_string(mode == SNP_MAJOR ? block : first);
            const std::string message = n < 3 ? "Binary file format unsupported"
                                              : std::string("Binary file ") +
                                                    (mode == SNP_MAJOR ? "SM" : "IM") +
                                                    " corrupted ind=" + ind + " snp=" + snp;
            EXPECT_TRUE(stops_with(message,
                                   [&] {
                                       study s;
                                       files.read_into(s);
                                   }))
                << n << " bytes";
        }
    }
}

TEST(BedSource, TruncationCountsExcludedLines) {
    const plink_set files(bed_file(FIVE, 4, SNP_MAJOR).substr(0, 3 + 7), bim_file(POSITIONS),
                          fam_file(NAMES));
    EXPECT_TRUE(stops_with("Binary file SM corrupted ind=4 snp=3", [&] {
        study s;
        s.filter.ind_exclude["Ann"] = false;
        s.filter.snp_exclude[100] = true;
        files.read_into(s);
    }));
}

struct fault_row {
    const char* name;
    std::string bed, bim, fam;
    std::string message;
};

TEST(BedSource, ErrorsStopTheRun) {
    const std::string bed = bed_file(FIVE, 4, SNP_MAJOR), bim = bim_file(POSITIONS), fam = fam_file(NAMES);
    std::string first_magic = bed, second_magic = bed;
    first_magic[0] = '\x6D';
    second_magic[1] = '\x1C';
    for (const fault_row& r : std::vector<fault_row>{
             {"first magic byte", first_magic, bim, fam, "Binary file format unsupported"},
             {"second magic byte", second_magic, bim, fam, "Binary file format unsupported"},
             {"one byte too long", bed + '\0', bim, fam, "Binary file corrupted : end-bit"},
             {"one byte too long, individuals first", bed_file(FIVE, 4, INDIVIDUAL_MAJOR) + '\0', bim, fam,
              "Binary file corrupted : end-bit"},
             {"five fields in BIM", bed, bim + "20 rs9 0 400 A\n", fam, "Line=5 found=5 fields expected=6"},
             {"seven fields in BIM", bed, "20 rs9 0 1 A G C\n" + bim, fam,
              "Line=1 found=7 fields expected=6"},
             {"empty line in BIM", bed, bim + "\n", fam, "Line=5 found=0 fields expected=6"},
             {"five fields in FAM", bed, bim, fam + "F Fay 0 0 1\n", "Line=6 found=5 fields expected=6"},
             {"empty line in FAM", bed, bim, "\n" + fam, "Line=1 found=0 fields expected=6"},
             {"falling positions", bed, bim_file({100, 200, 199, 350}), fam,
              "Wrong ordering in physical positions curr_pos=199 prev_pos=200"},
             {"one name twice", bed, bim, fam_file({"Ann", "Bob", "Ann", "Dan", "Eve"}),
              "Two individuals or more have the following ID : Ann"}}) {
        const plink_set files(r.bed, r.bim, r.fam);
        EXPECT_TRUE(stops_with(r.message, [&] {
            study s;
            files.read_into(s);
        })) << r.name;
    }
}

TEST(BedSource, OrderIsCheckedBeforeTheFilter) {
    const plink_set files(bed_file(FIVE, 4, SNP_MAJOR), bim_file({100, 200, 199, 350}), fam_file(NAMES));
    EXPECT_TRUE(stops_with("Wrong ordering in physical positions curr_pos=199 prev_pos=200", [&] {
        study s;
        s.filter.snp_exclude[199] = true;
        files.read_into(s);
    }));
}

TEST(BedSource, PositionsBeyondAnIntStopTheRun) {
    const plink_set files("", "20 rs1 0 100 A G\n20 rs2 0 2147483648 A G\n", "");
    EXPECT_TRUE(stops_with(
        files.bim + " line 2: [2147483648] is out of range for a position (at most 2147483647)", [&] {
            study s;
            files.read_into(s);
        }));
}

TEST(BedSource, AllelesAreKeptAsGiven) {
    const plink_set files(std::string("\x6C\x1B\x01\x00\x00", 5),
                          "20 rs1 0 100 0 G\n20 rs2 0 200 ATTC <DEL>\n", fam_file({"Ann"}));
    study s;
    files.read_into(s);
    EXPECT_EQ(s.variants(), (std::vector<std::string>{"rs1:100:0:G", "rs2:200:ATTC:<DEL>"}));
}

TEST(BedSource, ChecksTheEndOfTheFileAfterWholeBlocks) {
    for (const char mode : {SNP_MAJOR, INDIVIDUAL_MAJOR})
        for (const int n_variants : {63, 64, 65, 128}) {
            std::vector<int> positions;
            for (int v = 0; v < n_variants; ++v) positions.push_back(v + 1);
            const std::vector<std::string> genotypes(2, std::string(n_variants, '1'));
            const std::string whole = bed_file(genotypes, n_variants, mode);
            for (const auto& [bed, message] :
                 {std::pair(whole + '\0', "Binary file corrupted : end-bit"),
                  std::pair(whole.substr(0, whole.size() - 1), " corrupted ind=")}) {
                const plink_set files(bed, bim_file(positions), fam_file({"Ann", "Bob"}));
                EXPECT_TRUE(support::stops_naming({message}, [&files = files] {
                    study s;
                    files.read_into(s);
                })) << n_variants;
            }
        }
}

TEST(BedSource, KeepsTheNameOfTheChromosome) {
    const plink_set files(bed_file({"01"}, 2, SNP_MAJOR), bim_file({100, 200}), fam_file({"Ann"}));
    study s;
    files.read_into(s);
    EXPECT_EQ(s.store.snps.getByIndex(1)->chromosome, "20");
}

}  // namespace
