#include "utils/pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "utils/futils.h"
#include "utils/random_id.h"

namespace {

constexpr mode_t PERMISSIONS = 0666;  // less those that the umask takes away

}  // namespace

pending_file::pending_file(const std::string& name) : target(name) {
    struct stat before {};
    const bool exists = ::stat(name.c_str(), &before) == 0;
    const bool is_special = exists && !S_ISREG(before.st_mode);
    // Renaming would replace a file without the permission to write it.
    if (exists && ::faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0) return;
    if (!is_special) {
        target = futils::destination(name);
        if (target.empty()) return;
        open_beside(target + ".part-" + random_id());
    }
    if (opened < 0) {
        opened = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, PERMISSIONS);
    } else if (exists) {
        // The new file is for the same users as the old one. Only the owner and members of the group can
        // give a file to the group; where that fails, the group gets no permission.
        const bool has_group = ::fchown(opened, static_cast<uid_t>(-1), before.st_gid) == 0;
        ::fchmod(opened, before.st_mode & (has_group ? 0777U : 0707U));
    }
}

void pending_file::open_beside(const std::string& name) {
    temporary.emplace(name);
    opened = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, PERMISSIONS);
    if (opened < 0) temporary.reset();
}

bool pending_file::publish() {
    if (!temporary) return true;
    if (std::rename(temporary->name().c_str(), target.c_str()) != 0) return false;
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
