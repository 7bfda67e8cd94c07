#include "utils/streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <random>
#include <vector>

#include "support/child_process.h"
#include "support/files.h"
#include "support/temporary_folder.h"
#include "utils/futils.h"

namespace {

using support::bunzip2;
using support::bzip2;
using support::gunzip;
using support::gzip;
using support::read_file;
using support::stops_naming;
using support::stops_with;
using support::temporary_folder;

/// The three kinds of file that all text may be in.
struct file_kind {
    const char* ending;
    std::string (*pack)(const std::string&);
    std::string (*unpack)(const std::string&);
};
std::string as_it_is(const std::string& bytes) {
    return bytes;
}
const std::vector<file_kind> KINDS = {
    {".txt", as_it_is, as_it_is}, {".gz", gzip, gunzip}, {".bz2", bzip2, bunzip2}};

/// All lines of a file.
std::vector<std::string> lines_through(const std::string& name) {
    std::vector<std::string> lines;
    ifile file(name);
    for (std::string line; file.getLine(line);) lines.push_back(line);
    return lines;
}

TEST(Ifile, ReadsLinesOfEachKind) {
    const std::string mark = "\xEF\xBB\xBF";
    struct row {
        const char* name;
        std::string text;
        std::vector<std::string> expected;
    };
    const std::vector<row> rows = {
        {"empty", "", {}},
        {"one line", "a\n", {"a"}},
        {"no final line end", "a\nb", {"a", "b"}},
        {"empty lines", "\na\n\n", {"", "a", ""}},
        {"carriage returns are left to the readers", "a\r\nb\r\n", {"a\r", "b\r"}},
        {"byte order mark", mark + "a\nb\n", {"a", "b"}},
        {"nothing but the mark", mark, {""}},
        {"a mark further on is text", "a\n" + mark + "b\n", {"a", mark + "b"}},
        {"two marks", mark + mark + "a\n", {mark + "a"}},
        {"half a mark",
         "\xEF\xBB"
         "a\n",
         {"\xEF\xBB"
          "a"}},
        {"zero bytes", std::string("a\0b\n", 4), {std::string("a\0b", 3)}},
        {"megabytes in a line", std::string(5000000, 'x') + "\nend\n", {std::string(5000000, 'x'), "end"}},
    };
    for (const file_kind& kind : KINDS)
        for (const row& r : rows) {
            const temporary_folder folder;
            const std::string name = folder.put(std::string("input") + kind.ending, kind.pack(r.text));
            EXPECT_EQ(lines_through(name), r.expected) << r.name << " in " << kind.ending;
        }
}

TEST(Ifile, OnlyTheExtensionDecidesTheKind) {
    const temporary_folder folder;
    const std::string packed = gzip("text\n");
    EXPECT_EQ(lines_through(folder.put("a.b.gz", packed)), std::vector<std::string>{"text"});
    for (const std::string name : {"a.GZ", "a.gz.txt", "agz", "a.bz"}) {
        ifile file(folder.put(name, "plain\n"));
        std::string line;
        EXPECT_TRUE(file.getLine(line));
        EXPECT_EQ(line, "plain") << name;
    }
    EXPECT_TRUE(stops_naming({"plain.gz could not be read: ", "gzip"}, [&] {
        lines_through(folder.put("plain.gz", "plain text, not packed at all\n"));
    }));
    EXPECT_TRUE(stops_naming({"plain.bz2 could not be read: ", "bzip2"}, [&] {
        lines_through(folder.put("plain.bz2", "plain text, not packed at all\n"));
    }));
}

TEST(Ifile, CompressedDataUnderAnotherNameStopTheRun) {
    const temporary_folder folder;
    const std::string gz = folder.put("a.txt", gzip("text\n")), bz2 = folder.put("b", bzip2("text\n"));
    EXPECT_TRUE(
        stops_with(gz + " is compressed, but its name does not end in .gz: rename it and give that name, or "
                        "decompress it",
                   [&] { lines_through(gz); }));
    EXPECT_TRUE(stops_naming({bz2, "does not end in .bz2"}, [&] { lines_through(bz2); }));
    EXPECT_TRUE(stops_naming({gz, "does not end in .gz"}, [&] {
        ifile file(gz, true);
        char bytes[3];
        file.readBytes(bytes, sizeof bytes);
    }));
    EXPECT_TRUE(stops_naming({bz2, "does not end in .bz2"}, [&] {
        ifile file(bz2, true);
        char bytes[3];
        file.readBytes(bytes, sizeof bytes);
    }));
    for (const char* text : {"BZh", "BZh9", "BZh91AY", "\x1F", "text\n\x1F\x8B\n"})
        EXPECT_FALSE(lines_through(folder.put("plain", text)).empty()) << text;
    EXPECT_FALSE(lines_through(folder.put("twice.gz", gzip(gzip("text\n")))).empty());
}

TEST(Ifile, ReadsAllMembersOfCompressedFiles) {
    const temporary_folder folder;
    const std::vector<std::string> expected = {"one", "two", "three"};
    EXPECT_EQ(lines_through(folder.put("a.gz", gzip("one\ntw") + gzip("o\n") + gzip("three\n"))), expected);
    EXPECT_EQ(lines_through(folder.put("a.bz2", bzip2("one\ntw") + bzip2("o\n") + bzip2("three\n"))),
              expected);
}

TEST(Ifile, MissingFilesAndFoldersStopTheRun) {
    const temporary_folder folder;
    for (const std::string& name :
         {folder.at("missing"), folder.at("missing.gz"), folder.path(), folder.path() + "/."}) {
        ifile file;
        EXPECT_FALSE(file.open(name)) << name;
        EXPECT_EQ(file.name(), name);
        EXPECT_TRUE(stops_with(futils::cannotOpen(name), [&] { ifile stopped(name); }));
    }
}

TEST(Ifile, OpensOneFileAfterAnother) {
    const temporary_folder folder;
    const std::string first = folder.put("first.gz", gzip("\xEF\xBB\xBF"
                                                          "1\n2\n"));
    const std::string second = folder.put("second.txt",
                                          "\xEF\xBB\xBF"
                                          "3\n");
    ifile file;
    std::string line;
    EXPECT_FALSE(file.open(folder.at("missing")));
    ASSERT_TRUE(file.open(first));
    EXPECT_EQ(file.name(), first);
    ASSERT_TRUE(file.getLine(line));
    EXPECT_EQ(line, "1");
    ASSERT_TRUE(file.open(second)) << "while the first is still open";
    ASSERT_TRUE(file.getLine(line));
    EXPECT_EQ(line, "3");
    EXPECT_FALSE(file.getLine(line));
    file.close();
    ASSERT_TRUE(file.open(first)) << "after the end of another";
    ASSERT_TRUE(file.getLine(line));
    EXPECT_EQ(line, "1");
    file.close();
    file.close();
}

TEST(Ifile, BytesOfAnyValueAreRead) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    for (const file_kind& kind : KINDS) {
        const temporary_folder folder;
        ifile file(folder.put(std::string("bytes") + kind.ending, kind.pack(bytes)), true);
        std::string read(256, ' ');
        EXPECT_TRUE(file.readBytes(read.data(), 200));
        EXPECT_TRUE(file.readBytes(read.data() + 200, 56));
        EXPECT_EQ(read, bytes);
        char beyond = 0;
        EXPECT_FALSE(file.readBytes(&beyond, 1));
    }
}

TEST(Ifile, ReadBytesFailsIfTheFileEndsEarly) {
    const temporary_folder folder;
    ifile file(folder.put("three", "abc"), true);
    std::string read(4, ' ');
    EXPECT_FALSE(file.readBytes(read.data(), 4));
    EXPECT_EQ(file.gcount(), 3);
    EXPECT_EQ(read, "abc ");
}

/// Damage to compressed files: reading to the end either gives the original text or stops the run.
class damage : public ::testing::TestWithParam<file_kind> {
  protected:
    temporary_folder folder;
    const std::string text = "rs1 100 A G\nrs2 200 C T\nrs3 300 A T\n";
    const std::string whole = GetParam().pack(text);
    const std::string name = folder.at(std::string("input") + GetParam().ending);
};

TEST_P(damage, TruncationAtAnyByteStopsTheRun) {
    for (std::size_t n = 0; n < whole.size(); ++n) {
        support::write_file(name, whole.substr(0, n));
        ASSERT_TRUE(stops_naming({name + " could not be read: ", "damaged or cut short"},
                                 [&] { lines_through(name); }))
            << "after " << n << " of " << whole.size() << " bytes";
    }
}

TEST_P(damage, TruncationOfALaterMemberStopsTheRun) {
    for (std::size_t n = 1; n < whole.size(); ++n) {
        support::write_file(name, whole + whole.substr(0, n));
        ASSERT_TRUE(stops_naming({name + " could not be read: "}, [&] { lines_through(name); }))
            << "after " << n << " of " << whole.size() << " bytes";
    }
}

TEST_P(damage, ChangedBitNeverReadsAsOtherText) {
    for (std::size_t n = 0; n < whole.size(); ++n) {
        std::string changed = whole;
        changed[n] = static_cast<char>(changed[n] ^ (1 << n % 8));
        support::write_file(name, changed);
        const support::child_end end = support::run_in_child([&] {
            if (lines_through(name) != support::lines_of(text)) throw std::runtime_error("other text");
        });
        const bool stopped =
            end.status == 1 && end.out.find(name + " could not be read: ") != std::string::npos;
        ASSERT_TRUE(end.returned || stopped) << "byte " << n << ": " << end.err;
    }
}

TEST_P(damage, IsAlsoFoundByReadBytes) {
    support::write_file(name, whole.substr(0, whole.size() - 1));
    EXPECT_TRUE(stops_naming({name + " could not be read: "}, [&] {
        ifile file(name, true);
        std::string bytes(1000, ' ');
        file.readBytes(bytes.data(), 1000);
    }));
}

INSTANTIATE_TEST_SUITE_P(Ifile, damage, ::testing::Values(KINDS[1], KINDS[2]),
                         [](const auto& kind) { return std::string(kind.param.ending).substr(1); });

TEST(Ofile, WritesEachKind) {
    std::mt19937 random(6);
    std::string noise;
    for (int i = 0; i < 300000; ++i) noise += static_cast<char>(random());
    for (const std::string& text : {std::string(), std::string("a line\n"), noise})
        for (const file_kind& kind : KINDS) {
            const temporary_folder folder;
            const std::string name = folder.at(std::string("output") + kind.ending);
            ofile file(name);
            EXPECT_EQ(file.name(), name);
            file.writeText(text);
            file.close();
            EXPECT_EQ(kind.unpack(read_file(name)), text) << kind.ending;
        }
}

TEST(Ofile, ReplacesAnOldFileWhenItIsComplete) {
    const temporary_folder folder;
    const std::string name = folder.put("old.txt", "a much longer old text\n");
    ofile file(name);
    file.writeText("new\n");
    file.finish();
    EXPECT_EQ(read_file(name), "a much longer old text\n");
    file.publish();
    EXPECT_EQ(read_file(name), "new\n");
}

TEST(Ofile, CanBeKeptUnderItsTemporaryName) {
    const temporary_folder folder;
    std::string kept;
    {
        ofile file(folder.at("a.gz"));
        file.writeText("text");
        file.finish();
        kept = file.keep();
    }
    EXPECT_EQ(gunzip(read_file(kept)), "text");
    EXPECT_FALSE(std::filesystem::exists(folder.at("a.gz")));
}

TEST(Ofile, FailureToRenameNamesTheCompleteFile) {
    const temporary_folder folder;
    std::filesystem::create_directory(folder.at("sub"));
    EXPECT_TRUE(support::stops_naming({folder.at("sub/a.part-"), " is complete but could not be renamed to ",
                                       folder.at("sub/a") + ": No such file or directory"},
                                      [&folder] {
                                          ofile file(folder.at("sub/a"));
                                          file.finish();
                                          std::filesystem::remove_all(folder.at("sub"));
                                          file.publish();
                                      }));
}

TEST(Ofile, OpensOneFileAfterAnother) {
    const temporary_folder folder;
    ofile file;
    file.close();  // nothing is open yet
    ASSERT_TRUE(file.open(folder.at("a.gz")));
    file.writeText("1");
    file.close();
    file.close();
    ASSERT_TRUE(file.open(folder.at("b.txt"), true));
    file.writeText("2");
    file.close();
    EXPECT_EQ(gunzip(read_file(folder.at("a.gz"))), "1");
    EXPECT_EQ(read_file(folder.at("b.txt")), "2");
}

TEST(Ofile, DestructorDiscardsAnUnclosedFile) {
    for (const file_kind& kind : KINDS) {
        const temporary_folder folder;
        {
            ofile file(folder.at(std::string("output") + kind.ending));
            file.writeText("unclosed\n");
        }
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    }
}

TEST(Ofile, WritesToAFileThatIsOpenAlready) {
    const temporary_folder folder;
    const std::string name = folder.put("a.gz", "");
    ofile file;
    file.open(name, ::open(name.c_str(), O_WRONLY | O_CLOEXEC));
    file.writeText("text");
    file.close();
    EXPECT_EQ(gunzip(read_file(name)), "text");
}

TEST(Ofile, FailureToCreateStopsTheRun) {
    const temporary_folder folder;
    for (const std::string& name : {folder.at("missing/a.txt"), folder.path(), std::string()}) {
        ofile file;
        EXPECT_FALSE(file.open(name)) << name;
        EXPECT_TRUE(stops_with(futils::cannotCreate(name), [&] { ofile stopped(name); }));
    }
}

TEST(Ofile, FullDiskStopsTheRunAtTheLatestWhenTheFileIsClosed) {
    std::mt19937 random(6);
    std::string noise;
    for (int i = 0; i < 1000000; ++i) noise += static_cast<char>(random());
    for (const file_kind& kind : KINDS)
        for (const std::string& text : {std::string("short\n"), noise}) {
            const temporary_folder folder;
            const std::string name = folder.at(std::string("full") + kind.ending);
            ASSERT_EQ(::symlink("/dev/full", name.c_str()), 0);
            const auto write = [&] {
                ofile file(name);
                file.writeText(text);
                file.close();
            };
            EXPECT_TRUE(stops_with(name + " could not be written: No space left on device", write))
                << kind.ending << ", " << text.size() << " bytes";
        }
}

}  // namespace
