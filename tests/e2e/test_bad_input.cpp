#include <gtest/gtest.h>

#include <functional>

#include "program.h"
#include "study.h"
#include "support/files.h"

namespace {

using e2e::run;

const std::string REST = " -M study.map -O out -L run.log --seed 1 --burn 0 --prune 1 --main 1 --states 8 ";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos);
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

std::string with_crlf(const std::string& text) {
    std::string out;
    for (const char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

std::string field(const e2e::study& data, const std::string& file, int line, int at) {
    return e2e::words(support::lines_of(data.read(file))[line])[at];
}

/// A way to make a valid study invalid, and the message that ends the run.
struct spoiled {
    const char* name;
    std::function<void(const e2e::study&)> spoil;
    std::string input;
    std::function<std::string(const e2e::study&)> message;
};

void PrintTo(const spoiled& s, std::ostream* out) {
    *out << s.name;
}

auto says(const std::string& text) {
    return [text](const e2e::study&) { return text; };
}

class bad_input : public testing::TestWithParam<spoiled> {};

TEST_P(bad_input, ends_with_status_1_and_a_message) {
    const e2e::study data;
    GetParam().spoil(data);
    const auto end = run(data.folder(), GetParam().input + REST);
    EXPECT_EQ(end.status, 1) << end.out << end.err;
    EXPECT_EQ(e2e::last_line(end), "ERROR: " + GetParam().message(data));
    EXPECT_EQ(data.read("out.haps"), "");
}

const std::string GZ = "-G study.gen.gz study.sample";
const std::string BZ2 = "-G study.gen.bz2 study.sample";

INSTANTIATE_TEST_SUITE_P(
    e2e, bad_input,
    testing::Values(
        spoiled{"truncated_gz",
                [](const e2e::study& d) {
                    const std::string gz = d.read("study.gen.gz");
                    d.write("study.gen.gz", gz.substr(0, gz.size() / 2));
                },
                GZ, says("study.gen.gz could not be read: the gzip data is damaged or cut short")},
        spoiled{"gz_without_its_last_byte",
                [](const e2e::study& d) {
                    const std::string gz = d.read("study.gen.gz");
                    d.write("study.gen.gz", gz.substr(0, gz.size() - 1));
                },
                GZ, says("study.gen.gz could not be read: the gzip data is damaged or cut short")},
        spoiled{"damaged_gz",
                [](const e2e::study& d) {
                    std::string gz = d.read("study.gen.gz");
                    gz[gz.size() - 6] = static_cast<char>(gz[gz.size() - 6] ^ 0x55);  // the check sum
                    d.write("study.gen.gz", gz);
                },
                GZ, says("study.gen.gz could not be read: the gzip data is damaged or cut short")},
        spoiled{"empty_gz", [](const e2e::study& d) { d.write("study.gen.gz", ""); }, GZ,
                says("study.gen.gz could not be read: the gzip data is damaged or cut short")},
        spoiled{"plain_text_called_gz",
                [](const e2e::study& d) { d.write("study.gen.gz", d.read("study.gen")); }, GZ,
                says("study.gen.gz could not be read: the gzip data is damaged or cut short")},
        spoiled{"truncated_bz2",
                [](const e2e::study& d) {
                    const std::string bz2 = d.read("study.gen.bz2");
                    d.write("study.gen.bz2", bz2.substr(0, bz2.size() - 4));
                },
                BZ2, says("study.gen.bz2 could not be read: the bzip2 data is damaged or cut short")},
        spoiled{"position_beyond_int",
                [](const e2e::study& d) {
                    d.write("study.bim", replaced(d.read("study.bim"), "\t" + field(d, "study.bim", 1, 3),
                                                  "\t2147483648"));
                },
                "-B study",
                says("study.bim line 2: [2147483648] is out of range for a position (at most 2147483647)")},
        spoiled{"gen_position_beyond_int",
                [](const e2e::study& d) {
                    d.write("study.gen", replaced(d.read("study.gen"), " " + field(d, "study.bim", 0, 3),
                                                  " 99999999999999999999999999"));
                },
                "-G study",
                says("study.gen line 1: [99999999999999999999999999] is out of range for a position (at most "
                     "2147483647)")},
        spoiled{"row_longer_than_the_people",
                [](const e2e::study& d) {
                    d.write("study.gen", replaced(d.read("study.gen"), "\n", " 1 0 0\n"));
                },
                "-G study", says("Line=1 found=44 fields, expected=41 or 42")},
        spoiled{"empty_bed", [](const e2e::study& d) { d.write("study.bed", ""); }, "-B study",
                says("Binary file format unsupported")},
        spoiled{"bed_of_two_bytes", [](const e2e::study& d) { d.write("study.bed", "\x6C\x1B"); }, "-B study",
                says("Binary file format unsupported")},
        spoiled{"bed_of_another_format", [](const e2e::study& d) { d.write("study.bed", "hello"); },
                "-B study", says("Binary file format unsupported")},
        spoiled{"bed_one_byte_short",
                [](const e2e::study& d) {
                    const std::string bed = d.read("study.bed");
                    d.write("study.bed", bed.substr(0, bed.size() - 1));
                },
                "-B study",
                [](const e2e::study& d) {
                    return "Binary file SM corrupted ind=8 snp=" +
                           std::to_string(support::lines_of(d.read("study.bim")).size() - 1);
                }},
        spoiled{"bed_one_byte_long",
                [](const e2e::study& d) { d.write("study.bed", d.read("study.bed") + "x"); }, "-B study",
                says("Binary file corrupted : end-bit")},
        spoiled{"empty_bim_and_bed",
                [](const e2e::study& d) {
                    d.write("study.bim", "");
                    d.write("study.bed", std::string("\x6C\x1B\x01", 3));
                },
                "-B study", says("12 fully missing individuals (=100%)")},
        spoiled{"empty_sets",
                [](const e2e::study& d) {
                    d.write("study.bim", "");
                    d.write("study.fam", "");
                    d.write("study.bed", std::string("\x6C\x1B\x01", 3));
                },
                "-B study", says("0 fully missing individuals (=100%)")},
        spoiled{"empty_gen", [](const e2e::study& d) { d.write("study.gen", ""); }, "-G study",
                says("12 fully missing individuals (=100%)")},
        spoiled{"empty_map", [](const e2e::study& d) { d.write("study.map", ""); }, "-B study",
                says("The genetic map must hold at least 2 positions")},
        spoiled{"map_of_one_point", [](const e2e::study& d) { d.write("study.map", "head\n100 1 0.5\n"); },
                "-B study", says("The genetic map must hold at least 2 positions")},
        spoiled{"map_out_of_order",
                [](const e2e::study& d) { d.write("study.map", "head\n1000 1 5\n900 1 6\n"); }, "-B study",
                says("Wrong order in your genetic map file 1000bp / 5.00000cM > 900bp / 6.00000cM")},
        spoiled{"fam_of_five_columns",
                [](const e2e::study& d) { d.write("study.fam", "f i 0 0 1\n" + d.read("study.fam")); },
                "-B study", says("Line=1 found=5 fields expected=6")},
        spoiled{"person_twice",
                [](const e2e::study& d) {
                    const auto fam = support::lines_of(d.read("study.fam"));
                    d.write("study.fam", d.read("study.fam") + fam[0] + "\n");
                },
                "-B study",
                [](const e2e::study& d) {
                    return "Two individuals or more have the following ID : " + field(d, "study.fam", 0, 1);
                }}),
    [](const auto& tested) { return std::string(tested.param.name); });

/// The same study, written in another way.
struct rewritten {
    const char* name;
    std::function<std::string(const std::string&)> rewrite;
};

void PrintTo(const rewritten& r, std::ostream* out) {
    *out << r.name;
}

class other_line_ends : public testing::TestWithParam<rewritten> {};

TEST_P(other_line_ends, read_as_the_same_study) {
    const e2e::study data;
    ASSERT_EQ(run(data.folder(), "-G study" + REST).status, 0);
    const std::string expected = data.read("out.haps");
    ASSERT_EQ(run(data.folder(), "-B study" + REST).status, 0);
    ASSERT_EQ(data.read("out.haps"), expected);
    for (const char* file : {"study.gen", "study.sample", "study.bim", "study.fam", "study.map"})
        data.write(file, GetParam().rewrite(data.read(file)));
    for (const char* input : {"-G study", "-B study"}) {
        const auto end = run(data.folder(), input + REST);
        EXPECT_EQ(end.status, 0) << end.out;
        EXPECT_EQ(data.read("out.haps"), expected) << input;
    }
}

INSTANTIATE_TEST_SUITE_P(
    e2e, other_line_ends,
    testing::Values(rewritten{"crlf", with_crlf},
                    rewritten{"no_final_newline",
                              [](const std::string& text) { return text.substr(0, text.size() - 1); }},
                    rewritten{"byte_order_mark",
                              [](const std::string& text) { return "\xEF\xBB\xBF" + text; }}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(e2e, a_byte_order_mark_hides_no_entry_of_a_list) {
    const e2e::study data;
    const std::string position = field(data, "study.bim", 0, 3), person = field(data, "study.fam", 0, 1);
    data.write("positions.txt", "\xEF\xBB\xBF" + position + "\n");
    data.write("people.txt", "\xEF\xBB\xBF" + person + "\n");
    ASSERT_EQ(
        run(data.folder(), "-B study --exclude-snp positions.txt --exclude-ind people.txt" + REST).status, 0);
    EXPECT_EQ(data.read("out.haps").find(" " + position + " "), std::string::npos);
    EXPECT_EQ(data.read("out.sample").find(person + " "), std::string::npos);
}

TEST(e2e, lines_of_many_megabytes_are_read_whole) {
    const e2e::study data;
    const std::string id(8 << 20, 'x');
    data.write("study.gen", replaced(data.read("study.gen"), " " + field(data, "study.bim", 0, 1), " " + id));
    ASSERT_EQ(run(data.folder(), "-G study" + REST).status, 0);
    EXPECT_EQ(e2e::words(support::lines_of(data.read("out.haps"))[0])[1], id);
}

TEST(e2e, swapped_lists_of_a_plink_set_are_noticed) {
    const e2e::study data(10, 0.3);
    run(data.folder(), "-B study.bed study.fam study.bim -M study.map -O out -L run.log");
    EXPECT_NE(data.read("run.log").find(
                  "WARNING: no variant has a position above 0: is [study.fam] the list of variants?\n"),
              std::string::npos);
}

TEST(e2e, one_person_is_too_few) {
    const e2e::study data(1, 0.3);
    const auto end = run(data.folder(), "-B study" + REST);
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_NE(end.err.find("Assertion `idxH.size()>4' failed"), std::string::npos);
    EXPECT_TRUE(end.err.starts_with("Phasing needs more individuals, or a reference panel (--input-ref).\n"));
}

TEST(e2e, people_who_are_heterozygous_everywhere_are_named) {
    const e2e::study data(10, 0.3);
    std::string bed = data.read("study.bed");
    const std::size_t n_bytes = 3;  // of ten people
    for (std::size_t at = 3; at < bed.size(); ++at)
        bed[at] = static_cast<char>((at - 3) % n_bytes == n_bytes - 1 ? 0x0A : 0xAA);
    data.write("study.bed", bed);
    const auto end = run(data.folder(), "-B study" + REST);
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_TRUE(end.err.starts_with("Only 0 conditioning haplotypes were found for S01, who is heterozygous"))
        << end.err;
}

TEST(e2e, a_pipe_is_read_like_a_file) {
    const e2e::study data;
    ASSERT_EQ(run(data.folder(), "-B study" + REST).status, 0);
    const std::string expected = data.read("out.haps");
    ASSERT_EQ(std::system(("cd " + data.folder().path() + " && mkfifo pipe.map").c_str()), 0);
    ASSERT_EQ(std::system(("cd " + data.folder().path() + " && (cat study.map > pipe.map &)").c_str()), 0);
    const auto end = run(data.folder(),
                         "-B study -M pipe.map -O out -L run.log --seed 1 --burn 0 --prune 1 --main 1 "
                         "--states 8");
    EXPECT_EQ(end.status, 0) << end.out;
    EXPECT_EQ(data.read("out.haps"), expected);
}

}  // namespace
