#include "spare/packed_files.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "support/child_process.h"
#include "support/files.h"
#include "support/haplotype_text.h"
#include "support/temporary_folder.h"
#include "utils/streams.h"

namespace {

using support::haplotype;
using support::random_alleles;
using support::read_file;
using support::stops_with;
using support::temporary_folder;

std::string binary(const std::vector<bool>& bits) {
    std::ostringstream stream;
    spare::bool2binary(bits, stream);
    return stream.str();
}

TEST(Bool2binary, CountThenBytesLowBitFirst) {
    EXPECT_EQ(binary({}), std::string("\0\0\0\0", 4));
    EXPECT_EQ(binary({true, false, true}), std::string("\3\0\0\0\5", 5));
    EXPECT_EQ(binary(std::vector<bool>(8, true)), std::string("\x8\0\0\0\xFF", 5));
    EXPECT_EQ(binary({false, false, false, false, false, false, false, true, true}),
              std::string("\x9\0\0\0\x80\1", 6));
}

TEST(Binary2bool, ReadsWhatWasWritten) {
    std::mt19937 random(4);
    for (int n = 0; n < 70; ++n) {
        std::vector<bool> bits;
        for (int i = 0; i < n; ++i) bits.push_back(random() % 2 == 0);
        const std::string bytes = binary(bits);
        EXPECT_EQ(bytes.size(), 4U + static_cast<unsigned>(n + 7) / 8);
        std::istringstream stream(bytes);
        std::vector<bool> read = {true};
        EXPECT_TRUE(spare::binary2bool(read, stream));
        EXPECT_EQ(read, bits);
    }
}

TEST(Binary2bool, FailsIfDataAreMissing) {
    struct row {
        const char* name;
        std::string bytes;
        std::vector<bool> left;
    };
    for (const row& r :
         {row{"nothing", "", {}}, row{"half a count", std::string("\1\0", 2), {}},
          row{"negative count", "\xFF\xFF\xFF\xFF\xFF", {}}, row{"no bytes", std::string("\1\0\0\0", 4), {}},
          row{"one byte of two", std::string("\xA\0\0\0\xF", 5), {1, 1, 1, 1, 0, 0, 0, 0}},
          row{"a count far beyond the bytes",
              std::string("\xFF\xFF\xFF\x7F\1", 5),
              {1, 0, 0, 0, 0, 0, 0, 0}}}) {
        std::istringstream stream(r.bytes);
        std::vector<bool> bits = {true, true, true};
        EXPECT_FALSE(spare::binary2bool(bits, stream)) << r.name;
        EXPECT_EQ(bits, r.left) << r.name;
    }
}

TEST(Strings, AreStoredWithTheirLength) {
    const temporary_folder folder;
    const std::string name = folder.at("strings");
    ofile out(name, true);
    spare::write_string("abc", out);
    spare::write_string("", out);
    spare::write_string(std::string(200000, 'x'), out);
    out.close();
    EXPECT_EQ(read_file(name).substr(0, 11), std::string("\3\0\0\0abc\0\0\0\0", 11));

    ifile in(name, true);
    std::string text = "left over";
    EXPECT_TRUE(spare::read_string(text, in));
    EXPECT_EQ(text, "abc");
    EXPECT_TRUE(spare::read_string(text, in));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(spare::read_string(text, in));
    EXPECT_EQ(text, std::string(200000, 'x'));
    EXPECT_FALSE(spare::read_string(text, in));
}

TEST(Strings, EndAtTheFirstZeroByte) {
    const temporary_folder folder;
    ifile in(folder.put("strings", std::string("\5\0\0\0ab\0cd\1\0\0\0e", 14)), true);
    std::string text;
    EXPECT_TRUE(spare::read_string(text, in));
    EXPECT_EQ(text, "ab");
    EXPECT_TRUE(spare::read_string(text, in)) << "the next text starts after all five bytes";
    EXPECT_EQ(text, "e");
}

TEST(Strings, TruncatedOrOfAbsurdLengthAreRejected) {
    const temporary_folder folder;
    for (const std::string& bytes :
         {std::string("\3\0", 2), std::string("\3\0\0\0ab", 6), std::string("\xFF\xFF\xFF\x7Fxyz", 7)}) {
        ifile in(folder.put("strings", bytes), true);
        std::string text;
        EXPECT_FALSE(spare::read_string(text, in));
    }
    const std::string negative = folder.put("negative", std::string("\xFF\xFF\xFF\xFFxyz", 7));
    EXPECT_TRUE(stops_with(negative + " declares a text of -1 bytes", [&] {
        ifile in(negative, true);
        std::string text;
        spare::read_string(text, in);
    }));
}

std::string written(const chaplotype& h) {
    const temporary_folder folder;
    ofile file(folder.at("haplotype"), true);
    spare::write_haplotype(h, file);
    file.close();
    return support::read_file(folder.at("haplotype"));
}

TEST(Write, LociThenBytesThenData) {
    EXPECT_EQ(written(chaplotype()), std::string(8, '\0'));
    EXPECT_EQ(written(haplotype("1000 0000 01")), std::string("\xA\0\0\0\2\0\0\0\1\2", 10));
}

TEST(Read, ReturnsWhatWasWritten) {
    std::mt19937 random(10);
    for (const int n : {0, 1, 8, 9, 100, 1000000}) {
        const temporary_folder folder;
        const chaplotype h = haplotype(random_alleles(n, random));
        ifile file(folder.put("haplotype", written(h) + "more"), true);
        chaplotype read = haplotype("111");
        EXPECT_TRUE(spare::read_haplotype(read, file));
        EXPECT_EQ(read.size(), n);
        EXPECT_EQ(read.data, h.data);
        std::string rest(4, ' ');
        EXPECT_TRUE(file.readBytes(rest.data(), 4));
        EXPECT_EQ(rest, "more");
    }
}

TEST(Read, FailsIfTheFileEndsEarly) {
    const std::string whole = written(haplotype("1010 1010 1010 1010"));
    for (std::size_t n = 0; n < whole.size(); ++n) {
        const temporary_folder folder;
        ifile file(folder.put("haplotype", whole.substr(0, n)), true);
        chaplotype read;
        EXPECT_FALSE(spare::read_haplotype(read, file)) << n << " bytes";
    }
    const temporary_folder folder;
    ifile file(folder.put("haplotype", whole.substr(0, 9)), true);
    chaplotype read;
    spare::read_haplotype(read, file);
    EXPECT_EQ(read.data[0], 0x55) << "what was read is kept";
}

TEST(Read, InconsistentSizesStopTheRun) {
    const temporary_folder folder;
    const std::string name = folder.put("haplotype", std::string("\xA\0\0\0\3\0\0\0\1\2\3", 11));
    EXPECT_TRUE(support::stops_with(name + " declares a haplotype of 10 loci in 3 bytes", [&] {
        ifile file(name, true);
        chaplotype read;
        spare::read_haplotype(read, file);
    }));
}

}  // namespace
