#include "utils/futils.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
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

TEST(Destination, FollowsLinksToTheirEnd) {
    const temporary_folder folder;
    const std::string file = folder.put("file", "text"), root = futils::destination(folder.path());
    std::filesystem::create_directory(folder.at("sub"));
    const auto link = [&folder](const std::string& to, const std::string& name) {
        ASSERT_EQ(::symlink(to.c_str(), folder.at(name).c_str()), 0);
    };
    link("file", "to_file");
    link("new", "to_new");
    link("../to_new", "sub/twice");
    link(folder.at("sub"), "to_sub");
    link("circle", "circle");
    EXPECT_EQ(futils::destination(file), root + "/file");
    EXPECT_EQ(futils::destination(folder.at("to_file")), root + "/file");
    EXPECT_EQ(futils::destination(folder.at("to_new")), root + "/new") << "which does not exist";
    EXPECT_EQ(futils::destination(folder.at("to_sub/twice")), root + "/new");
    EXPECT_EQ(futils::destination(folder.at("to_sub/x")), root + "/sub/x");
    EXPECT_EQ(futils::destination(folder.at("circle")), "");
    EXPECT_EQ(futils::destination(""), "");
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

TEST(IsSameFile, FollowsLinksToFilesThatDoNotExist) {
    const temporary_folder folder;
    ASSERT_EQ(::symlink("new", folder.at("link").c_str()), 0);
    EXPECT_TRUE(futils::isSameFile(folder.at("link"), folder.at("new")));
    EXPECT_FALSE(futils::isSameFile(folder.at("link"), folder.at("newer")));
}

TEST(IsSameFile, DevicesDoNotCountButPipesDo) {
    const temporary_folder folder;
    EXPECT_FALSE(futils::isSameFile("/dev/null", "/dev/null"));
    ASSERT_EQ(::mkfifo(folder.at("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(futils::isSameFile(folder.at("pipe"), folder.at("pipe")));
}

TEST(IsSameFile, ComparesAnOpenFile) {
    const temporary_folder folder;
    const std::string file = folder.put("file", "text"), other = folder.put("other", "text");
    const int opened = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_TRUE(futils::isSameFile(opened, file));
    EXPECT_FALSE(futils::isSameFile(opened, other));
    EXPECT_FALSE(futils::isSameFile(opened, folder.at("missing")));
    ::close(opened);
    EXPECT_FALSE(futils::isSameFile(opened, file));
}

TEST(Messages, NameTheFile) {
    EXPECT_EQ(futils::cannotOpen("a.map"),
              "a.map is impossible to open, check file existence or reading permissions");
    EXPECT_EQ(futils::cannotCreate("a.haps"), "a.haps is impossible to create, check writing permissions");
}

}  // namespace
