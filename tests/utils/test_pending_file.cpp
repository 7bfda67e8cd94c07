#include "utils/pending_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "support/child_process.h"
#include "support/files.h"
#include "support/temporary_folder.h"

namespace {

using support::read_file;
using support::temporary_folder;

std::vector<std::string> names_in(const temporary_folder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename());
    return names;
}

/// Writes a text and closes the file.
void fill(const pending_file& file, const std::string& text) {
    ASSERT_GE(file.descriptor(), 0);
    ASSERT_EQ(::write(file.descriptor(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ASSERT_EQ(::close(file.descriptor()), 0);
}

mode_t permissions_of(const std::string& name) {
    struct stat status {};
    return ::stat(name.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

TEST(PendingFile, ReplacesTheOldFileAtTheEnd) {
    for (const bool is_old : {false, true}) {
        const temporary_folder folder;
        const std::string name = folder.at("name");
        if (is_old) folder.put("name", "old");
        pending_file file(name);
        fill(file, "new");
        EXPECT_EQ(std::filesystem::exists(name), is_old);
        if (is_old) {
            EXPECT_EQ(read_file(name), "old");
        }
        ASSERT_TRUE(file.publish());
        EXPECT_EQ(read_file(name), "new");
        EXPECT_EQ(names_in(folder), std::vector<std::string>{"name"});
    }
}

TEST(PendingFile, IsRemovedUnlessPublishedOrKept) {
    const temporary_folder folder;
    folder.put("name", "old");
    { fill(pending_file(folder.at("name")), "new"); }
    EXPECT_EQ(names_in(folder), std::vector<std::string>{"name"});
    EXPECT_EQ(read_file(folder.at("name")), "old");
    std::string kept;
    {
        pending_file file(folder.at("name"));
        fill(file, "new");
        kept = file.keep();
        EXPECT_EQ(file.keep(), kept);
    }
    EXPECT_TRUE(kept.starts_with(folder.at("name") + ".part-")) << kept;
    EXPECT_EQ(read_file(kept), "new");
    EXPECT_EQ(read_file(folder.at("name")), "old");
}

TEST(PendingFile, IsRemovedIfTheProcessEnds) {
    const temporary_folder folder;
    const auto end = support::run_in_child([&folder] {
        const pending_file other(folder.at("other")), file(folder.at("name"));
        { const pending_file ended(folder.at("ended")); }
        end_process(names_in(folder).size() == 2 ? 7 : 8);
    });
    EXPECT_EQ(end.status, 7);
    EXPECT_TRUE(names_in(folder).empty());
}

TEST(PendingFile, HasThePermissionsOfTheOldFile) {
    const temporary_folder folder;
    const std::string name = folder.put("name", "old");
    for (const mode_t permissions : {0600U, 0640U, 0664U}) {
        ASSERT_EQ(::chmod(name.c_str(), permissions), 0);
        pending_file file(name);
        fill(file, "new");
        ASSERT_TRUE(file.publish());
        EXPECT_EQ(permissions_of(name), permissions);
    }
    const mode_t before = ::umask(0027);
    pending_file file(folder.at("new"));
    ::umask(before);
    fill(file, "new");
    ASSERT_TRUE(file.publish());
    EXPECT_EQ(permissions_of(folder.at("new")), 0640U);
}

TEST(PendingFile, ReplacesTheFileAtTheEndOfALink) {
    for (const bool is_old : {false, true}) {
        const temporary_folder folder;
        std::filesystem::create_directory(folder.at("sub"));
        if (is_old) support::write_file(folder.at("sub/file"), "old");
        ASSERT_EQ(::symlink("sub/file", folder.at("link").c_str()), 0);
        pending_file file(folder.at("link"));
        fill(file, "new");
        ASSERT_TRUE(file.publish());
        EXPECT_TRUE(std::filesystem::is_symlink(folder.at("link")));
        EXPECT_EQ(read_file(folder.at("sub/file")), "new");
    }
}

TEST(PendingFile, FilesThatMustNotBeWrittenAreLeftAlone) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write everything";
    const temporary_folder folder;
    const std::string name = folder.put("name", "old");
    ASSERT_EQ(::chmod(name.c_str(), 0400), 0);
    EXPECT_EQ(pending_file(name).descriptor(), -1);
    EXPECT_EQ(read_file(name), "old");
}

/// Runs `body` as a user without rights, if this is root.
support::child_end run_as_nobody(const std::function<void()>& body) {
    return support::run_in_child([&body] {
        constexpr uid_t NOBODY = 65534;
        if (::geteuid() == 0 && ::setuid(NOBODY) != 0) ::_exit(124);
        body();
    });
}

TEST(PendingFile, IsWrittenInPlaceWhereNoOtherFileCanBeCreated) {
    const temporary_folder folder;
    const std::string name = folder.put("name", "a longer old text");
    ASSERT_EQ(::chmod(name.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    const auto end = run_as_nobody([&] {
        pending_file file(name);
        fill(file, "new");
        ::_exit(file.publish() && file.keep() == name ? 7 : 8);
    });
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    EXPECT_EQ(end.status, 7);
    EXPECT_EQ(read_file(name), "new");
}

TEST(PendingFile, LongNamesHaveTemporaryFilesToo) {
    const temporary_folder folder;
    const std::string longest = folder.put(std::string(255, 'x'), "old");
    pending_file file(longest);
    fill(file, "new");
    EXPECT_EQ(read_file(longest), "old");
    ASSERT_TRUE(file.publish());
    EXPECT_EQ(read_file(longest), "new");
    errno = 0;
    EXPECT_EQ(pending_file(folder.at(std::string(256, 'x'))).descriptor(), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST(PendingFile, WritesThroughADescriptorThatIsNamed) {
    const temporary_folder folder;
    const std::string name = folder.put("gone", "");
    const int descriptor = ::open(name.c_str(), O_RDWR | O_CLOEXEC);
    std::filesystem::remove(name);
    pending_file file("/dev/fd/" + std::to_string(descriptor));
    fill(file, "new");
    ASSERT_TRUE(file.publish());
    char text[3];
    EXPECT_EQ(::pread(descriptor, text, 3, 0), 3);
    EXPECT_EQ(std::string(text, 3), "new");
    EXPECT_TRUE(names_in(folder).empty());
}

TEST(PendingFile, WritesToDevicesInPlace) {
    const temporary_folder folder;
    ASSERT_EQ(::symlink("/dev/null", folder.at("null").c_str()), 0);
    for (const std::string& name : {std::string("/dev/null"), folder.at("null")}) {
        pending_file file(name);
        fill(file, "new");
        ASSERT_TRUE(file.publish());
    }
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.at("null")));
}

TEST(PendingFile, SaysWhyAFileCannotBeCreated) {
    const temporary_folder folder;
    for (const std::string& name : {folder.at("missing/name"), folder.path(), std::string()}) {
        errno = 0;
        EXPECT_EQ(pending_file(name).descriptor(), -1) << name;
        EXPECT_NE(errno, 0) << name;
    }
}

TEST(PendingFile, PublishFailsIfTheFolderIsGone) {
    const temporary_folder folder;
    std::filesystem::create_directory(folder.at("sub"));
    pending_file file(folder.at("sub/name"));
    fill(file, "new");
    std::filesystem::remove_all(folder.at("sub"));
    EXPECT_FALSE(file.publish());
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace
