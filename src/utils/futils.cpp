#include "utils/futils.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace {

/// The path of a file called `name`, which need not exist; empty if it can't be determined, as for an empty
/// name.
std::filesystem::path place_of(const std::string& name) {
    std::error_code failure;
    std::filesystem::path path = std::filesystem::absolute(name, failure);
    if (!failure) path = std::filesystem::weakly_canonical(path, failure);
    return failure ? std::filesystem::path() : path;
}

}  // namespace

namespace futils {

bool isFile(const std::string& name) {
    struct stat status {};
    if (::stat(name.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return false;
    return ::faccessat(AT_FDCWD, name.c_str(), R_OK, AT_EACCESS) == 0;
}

bool createFile(const std::string& name) {
    return std::ofstream(name, std::ios::trunc).good();
}

bool takeFile(const std::string& name) {
    struct stat status {};
    if (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return true;
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) return true;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) return true;  // stays open to keep the lock
    const bool is_taken = errno == EWOULDBLOCK;
    ::close(descriptor);
    return !is_taken;
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
    if (a_exists && b_exists)
        return S_ISREG(status_a.st_mode) && status_a.st_dev == status_b.st_dev &&
               status_a.st_ino == status_b.st_ino;
    if (a_exists != b_exists) return false;
    const std::filesystem::path path_a = place_of(a);
    return !path_a.empty() && path_a == place_of(b);
}

std::string cannotOpen(const std::string& name) {
    return name + " is impossible to open, check file existence or reading permissions";
}

std::string cannotCreate(const std::string& name) {
    return name + " is impossible to create, check writing permissions";
}

}  // namespace futils
