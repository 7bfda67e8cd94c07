#include "utils/output_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "utils/futils.h"
#include "utils/lfile.h"

namespace {

constexpr int CLOSED = -1;

bool is_special(const std::string& name) {
    struct stat status {};
    return ::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

output_files::~output_files() {
    for (const taken_file& file : files)
        if (file.descriptor != CLOSED) ::close(file.descriptor);
}

/// Returns false if another run has locked the file.
bool output_files::lock(const std::string& name) {
    for (;;) {
        const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
        if (descriptor < 0) return true;
        const bool is_taken = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        // Between opening and locking, another run may have finished and given the name to its result.
        if (!is_taken && futils::isSameFile(descriptor, name)) {
            files.push_back({name, descriptor, false});
            return true;
        }
        ::close(descriptor);
        if (is_taken) return false;
    }
}

void output_files::take(const std::string& name) {
    // Two runs that write to one file at once would leave a mixture that looks complete.
    if (!is_special(name) && !lock(name))
        LOG.error(name + " is being written by another run; give another name to the output or the log");
}

void output_files::prepare(const std::string& name) {
    const std::size_t n_before = files.size();
    if (is_special(name)) {
        const int descriptor = ::open(name.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor >= 0) files.push_back({name, descriptor, true});
    } else {
        take(name);
    }
    if (files.size() == n_before) LOG.error(futils::cannotCreate(name));
}

void output_files::open(const std::string& name, ofile& stream) {
    for (taken_file& file : files)
        if (file.is_special && file.descriptor != CLOSED && file.name == name) {
            stream.open(name, std::exchange(file.descriptor, CLOSED));
            return;
        }
    if (!stream.open(name)) LOG.error(futils::cannotCreate(name));
}

std::string output_files::replaced() {
    std::vector<taken_file> earlier = std::exchange(files, {});
    for (taken_file& file : earlier) {
        if (file.is_special || futils::isSameFile(file.descriptor, file.name)) {
            files.push_back(file);
            continue;
        }
        ::close(file.descriptor);
        if (::access(file.name.c_str(), F_OK) == 0 || !lock(file.name)) return file.name;
        LOG.warning(file.name + " was removed while this run was working");
    }
    return {};
}

void output_files::check() {
    const std::string name = replaced();
    if (!name.empty()) LOG.error(name + " was replaced while this run was working");
}
