#include "utils/pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "utils/futils.h"
#include "utils/random_id.h"

namespace {

constexpr mode_t PERMISSIONS = 0666;  // less those that the umask takes away
constexpr std::size_t LONGEST_START =
    200;  // bytes of a name, which may have 255, in that of its temporary file

/// Whether the system refuses to create files in a folder, as opposed to being unable to.
bool is_refusal(int reason) {
    return reason == EACCES || reason == EPERM || reason == EROFS;
}

std::string temporary_name(const std::filesystem::path& target) {
    const std::string start = target.filename().string().substr(0, LONGEST_START);
    return (target.parent_path() / (start + ".part-" + random_id())).string();
}

/// Gives a new file the owner, the group and the permissions of an old one. Only root can give a file to
/// another user, and only members can give it to a group. Without them, others than the owner get no
/// permission.
void copy_access(const struct stat& from, int to) {
    const bool is_same = ::fchown(to, from.st_uid, from.st_gid) == 0;
    const bool has_group = is_same || ::fchown(to, static_cast<uid_t>(-1), from.st_gid) == 0;
    ::fchmod(to, from.st_mode & (has_group ? 0777U : 0700U));
}

/// Copies the bytes of a file over another one. False, with errno, if that fails.
bool copy_over(const std::string& from, const std::string& to) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(to.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    std::vector<char> bytes(1 << 20);
    ssize_t n = in < 0 || out < 0 ? -1 : 0;
    while (n >= 0 && (n = ::read(in, bytes.data(), bytes.size())) > 0)
        for (ssize_t done = 0; n > 0 && done < n;) {
            const ssize_t written = ::write(out, bytes.data() + done, static_cast<std::size_t>(n - done));
            if (written >= 0)
                done += written;
            else if (errno != EINTR)
                n = -1;
        }
    const int reason = errno;
    if (in >= 0) ::close(in);
    if (out >= 0 && ::close(out) != 0) return false;
    errno = reason;
    return n == 0;
}

}  // namespace

pending_file::pending_file(const std::string& name) : target(name) {
    struct stat before {};
    const bool exists = ::stat(name.c_str(), &before) == 0;
    // Renaming would replace a file without the permission to write it.
    if (exists && ::faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0) return;
    if ((exists && !S_ISREG(before.st_mode)) || name.starts_with("/dev/fd/") || name.starts_with("/proc/")) {
        open_in_place();
        return;
    }
    target = futils::destination(name);
    if (target.empty()) return;
    open_beside();
    if (opened >= 0 && exists) copy_access(before, opened);
    if (opened < 0 && is_refusal(errno)) open_in_place();
}

void pending_file::open_beside() {
    temporary.emplace(temporary_name(target));
    opened = ::open(temporary->name().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, PERMISSIONS);
    const int reason = errno;
    if (opened < 0) temporary.reset();
    errno = reason;
}

void pending_file::open_in_place() {
    opened = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, PERMISSIONS);
}

bool pending_file::publish() {
    if (!temporary) return true;
    if (std::rename(temporary->name().c_str(), target.c_str()) != 0) {
        const bool may_be_copied = errno == EBUSY || is_refusal(errno);
        if (!may_be_copied || !copy_over(temporary->name(), target)) return false;
        ::unlink(temporary->name().c_str());
    }
    temporary.reset();
    return true;
}

const std::string& pending_file::keep() {
    if (temporary) target = temporary->name();
    temporary.reset();
    return target;
}

pending_file::~pending_file() {
    if (temporary) ::unlink(temporary->name().c_str());
}
