#include "utils/futils.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <new>

namespace {

constexpr int MOST_LINKS = 40;  // as in the kernel

bool is_one_file(const struct stat& a, const struct stat& b) {
    return !S_ISCHR(a.st_mode) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

namespace futils {

bool isFile(const std::string& name) {
    struct stat status {};
    if (::stat(name.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return false;
    return ::faccessat(AT_FDCWD, name.c_str(), R_OK, AT_EACCESS) == 0;
}

std::string destination(const std::string& name) {
    // The library does not follow a link to a file that does not exist.
    std::error_code failure;
    std::filesystem::path path = name;
    for (int i = 0; i < MOST_LINKS && std::filesystem::is_symlink(path, failure); ++i)
        path = path.parent_path() / std::filesystem::read_symlink(path, failure);
    path = std::filesystem::absolute(path, failure);
    if (!failure) path = std::filesystem::weakly_canonical(path, failure);
    if (failure == std::errc::not_enough_memory) throw std::bad_alloc();
    return failure ? std::string() : path.string();
}

std::string extensionFile(const std::string& name) {
    const std::size_t point = name.rfind('.');
    return point == std::string::npos ? "" : name.substr(point + 1);
}

bool isSameFile(const std::string& a, const std::string& b) {
    struct stat status_a {
    }, status_b{};
    const bool a_exists = ::stat(a.c_str(), &status_a) == 0;
    const bool b_exists = ::stat(b.c_str(), &status_b) == 0;
    if (a_exists && b_exists) return is_one_file(status_a, status_b);
    if (a_exists != b_exists) return false;
    const std::string path_a = destination(a);
    return !path_a.empty() && path_a == destination(b);
}

bool isSameFile(int descriptor, const std::string& name) {
    struct stat opened {
    }, by_name{};
    return ::fstat(descriptor, &opened) == 0 && ::stat(name.c_str(), &by_name) == 0 &&
           is_one_file(opened, by_name);
}

std::string cannotOpen(const std::string& name) {
    return name + " is impossible to open, check file existence or reading permissions";
}

std::string cannotCreate(const std::string& name) {
    return name + " is impossible to create, check writing permissions";
}

}  // namespace futils
