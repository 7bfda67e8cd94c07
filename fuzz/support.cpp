#include "support.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "utils/assertion.h"
#include "utils/lfile.h"

namespace fuzz {

namespace {

constexpr char SEPARATOR = '\036';

struct temporary_folder {
    temporary_folder() : path("/dev/shm/tolvane_fuzz_" + std::to_string(::getpid())) {
        std::filesystem::create_directories(path);
    }
    ~temporary_folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string path;
};

}  // namespace

void broken(const char* law, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: broken law: %s\n", file, line, law);
    std::abort();
}

unsigned input::byte() {
    if (left.empty()) return 0;
    const auto first = static_cast<unsigned char>(left.front());
    left.remove_prefix(1);
    return first;
}

std::string_view input::part() {
    const std::size_t end = left.find(SEPARATOR);
    const std::string_view taken = left.substr(0, end);
    left.remove_prefix(end == std::string_view::npos ? left.size() : end + 1);
    return taken;
}

std::string_view input::rest() {
    const std::string_view taken = left;
    left = {};
    return taken;
}

const std::string& folder() {
    static const temporary_folder made;
    return made.path;
}

memory_file::memory_file(const std::string& name)
    : path(folder() + "/" + name), descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600)) {
    FUZZ_LAW(descriptor >= 0);
}

memory_file::~memory_file() {
    ::close(descriptor);
}

void memory_file::fill(std::string_view content) {
    // Write first and truncate then: keeping pages is cheaper than getting new ones.
    FUZZ_LAW(::pwrite(descriptor, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
    if (content.size() < length) FUZZ_LAW(::ftruncate(descriptor, static_cast<off_t>(content.size())) == 0);
    length = content.size();
}

open_files::open_files() : first(::open("/dev/null", O_RDONLY | O_CLOEXEC)) {
    FUZZ_LAW(first >= 0);
}

open_files::~open_files() {
    ::close_range(static_cast<unsigned>(first), ~0U, 0);
}

}  // namespace fuzz

// Both replace functions of the program. An assertion that comes with advice is a valid end of a run with
// options or data that do not go together. Any other one is a finding.

void advise(const std::string&) {
    throw ended_process{EXIT_FAILURE};
}

void assertion_failed(const char* text, const char* file, int line, const char*) {
    fuzz::broken(text, file, line);
}

/// Called once, before the first input. The log is opened only to set its name, after which side files are
/// named.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::cout.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    LOG.open(fuzz::folder() + "/run.log");
    LOG.close();
    LOG.muteC();
    LOG.muteL();
    return 0;
}
