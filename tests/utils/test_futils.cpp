#include "utils/futils.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <random>
#include <sstream>

#include "support/child_process.h"
#include "support/files.h"
#include "support/temporary_folder.h"

namespace {

using support::temporary_folder;

TEST(IsFile, AcceptsReadableFiles) {
    const temporary_folder folder;
    const std::string file = folder.put("file", "text"), link = folder.at("link");
    const std::string dangling = folder.at("dangling"), pipe = folder.at("pipe");
    ASSERT_EQ(::symlink(file.c_str(), link.c_str()), 0);
    ASSERT_EQ(::symlink(folder.at("nowhere").c_str(), dangling.c_str()), 0);
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_TRUE(futils::isFile(file));
    EXPECT_TRUE(futils::isFile(folder.put("empty", "")));
    EXPECT_TRUE(futils::isFile(link));
    EXPECT_TRUE(futils::isFile(pipe)) << "opening it would wait for a writer";
    EXPECT_TRUE(futils::isFile("/dev/null"));
    EXPECT_FALSE(futils::isFile(dangling));
    EXPECT_FALSE(futils::isFile(folder.path()));
    EXPECT_FALSE(futils::isFile(folder.at("missing")));
    EXPECT_FALSE(futils::isFile(file + "/below"));
    EXPECT_FALSE(futils::isFile(""));
}

TEST(IsFile, NeedsThePermissionToRead) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may read everything";
    const temporary_folder folder;
    const std::string file = folder.put("file", "text");
    ASSERT_EQ(::chmod(file.c_str(), 0200), 0);
    EXPECT_FALSE(futils::isFile(file));
}

TEST(CreateFile, LeavesAnEmptyFile) {
    const temporary_folder folder;
    EXPECT_TRUE(futils::createFile(folder.at("new")));
    EXPECT_EQ(support::read_file(folder.at("new")), "");
    const std::string old = folder.put("old", "text");
    EXPECT_TRUE(futils::createFile(old));
    EXPECT_EQ(support::read_file(old), "");
}

TEST(CreateFile, ReportsFailure) {
    const temporary_folder folder;
    EXPECT_FALSE(futils::createFile(folder.at("missing/new")));
    EXPECT_FALSE(futils::createFile(folder.path()));
    EXPECT_FALSE(futils::createFile(""));
}

TEST(TakeFile, LocksUntilTheProcessEnds) {
    const temporary_folder folder;
    const std::string file = folder.put("file", "text");
    const auto taken_by_a_child = [&file] {
        return support::run_in_child([&file] { std::cout << futils::takeFile(file); }).out;
    };
    EXPECT_EQ(taken_by_a_child(), "1");
    EXPECT_EQ(taken_by_a_child(), "1");  // the first child has ended
    const auto end = support::run_in_child([&] {
        std::cout << futils::takeFile(file);
        const int other = ::open(file.c_str(), O_RDONLY);  // as another process would open it
        std::cout << ::flock(other, LOCK_EX | LOCK_NB) << futils::takeFile(file);
    });
    EXPECT_EQ(end.out, "1-10");
    EXPECT_EQ(support::read_file(file), "text");
}

TEST(TakeFile, CreatesMissingFilesAndIgnoresWhatCannotBeLocked) {
    const temporary_folder folder;
    EXPECT_TRUE(futils::takeFile(folder.at("new")));
    EXPECT_EQ(support::read_file(folder.at("new")), "");
    for (const std::string& name : {std::string("/dev/null"), folder.path(), folder.at("missing/new")}) {
        EXPECT_TRUE(futils::takeFile(name)) << name;
        EXPECT_TRUE(futils::takeFile(name)) << name;
    }
}

TEST(ExtensionFile, TextAfterTheLastDot) {
    struct row {
        const char* name;
        const char* expected;
    };
    for (const row& r : {row{"a.gz", "gz"}, row{"a.tar.bz2", "bz2"}, row{"a", ""}, row{"a.", ""}, row{"", ""},
                         row{".log", "log"}, row{"a.GZ", "GZ"}, row{"dir.d/a", "d/a"}})
        EXPECT_EQ(futils::extensionFile(r.name), r.expected) << r.name;
}

TEST(IsSameFile, FollowsLinksAndPaths) {
    const temporary_folder folder;
    const std::string file = folder.put("file", "text"), other = folder.put("other", "text");
    const std::string soft = folder.at("soft"), hard = folder.at("hard");
    ASSERT_EQ(::symlink(file.c_str(), soft.c_str()), 0);
    ASSERT_EQ(::link(file.c_str(), hard.c_str()), 0);
    EXPECT_TRUE(futils::isSameFile(file, file));
    EXPECT_TRUE(futils::isSameFile(file, folder.path() + "/./file"));
    EXPECT_TRUE(futils::isSameFile(file, soft));
    EXPECT_TRUE(futils::isSameFile(hard, file));
    EXPECT_FALSE(futils::isSameFile(file, other));
}

TEST(IsSameFile, ComparesPathsOfFilesThatDoNotExist) {
    const temporary_folder folder;
    const std::string file = folder.put("file", "text");
    EXPECT_TRUE(futils::isSameFile(folder.at("new"), folder.path() + "/./new"));
    EXPECT_FALSE(futils::isSameFile(folder.at("new"), folder.at("newer")));
    EXPECT_FALSE(futils::isSameFile(folder.at("new"), file));
    EXPECT_FALSE(futils::isSameFile(file, folder.at("new")));
}

TEST(IsSameFile, ImpossibleNamesAreNotFiles) {
    const temporary_folder folder;
    const std::string too_long(100000, 'x');
    for (const std::string& name : {std::string(), too_long, folder.at(too_long)}) {
        EXPECT_FALSE(futils::isSameFile(name, folder.at("new")));
        EXPECT_FALSE(futils::isSameFile(folder.at("new"), name));
        EXPECT_FALSE(futils::isSameFile("", name));
    }
}

TEST(IsSameFile, DevicesAreNotFiles) {
    EXPECT_FALSE(futils::isSameFile("/dev/null", "/dev/null"));
}

TEST(Messages, NameTheFile) {
    EXPECT_EQ(futils::cannotOpen("a.map"),
              "a.map is impossible to open, check file existence or reading permissions");
    EXPECT_EQ(futils::cannotCreate("a.haps"), "a.haps is impossible to create, check writing permissions");
}

}  // namespace
