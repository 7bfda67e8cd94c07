// Parses a command line, one word per line, and runs all checks of options and files. Nothing is phased.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>

#include "modes/command_line.h"
#include "modes/run_files.h"
#include "support.h"
#include "utils/assertion.h"
#include "utils/lfile.h"

namespace {

constexpr std::array FILES = {"a.bed", "a.bim",  "a.fam",    "a.gen", "a.sample",
                              "a.map", "a.haps", "a.legend", "list",  "a.log"};

/// A folder in which a command line may create any files.
class playground {
  public:
    playground() : home(::open(".", O_DIRECTORY | O_CLOEXEC)) {
        const std::string path = fuzz::folder() + "/playground";
        std::filesystem::create_directories(path);
        inside = ::open(path.c_str(), O_DIRECTORY | O_CLOEXEC);
        for (const char* name : FILES) create(name);
    }
    void enter() const { FUZZ_LAW(::fchdir(inside) == 0); }
    void leave() const { FUZZ_LAW(::fchdir(home) == 0); }

    bool is_whole(const char* name) const {
        struct stat status {};
        return ::fstatat(inside, name, &status, 0) == 0 && status.st_size > 0;
    }
    /// Removes new files, and restores those that were changed.
    void tidy() const {
        const int listing = ::openat(inside, ".", O_DIRECTORY | O_CLOEXEC);
        DIR* entries = ::fdopendir(listing);
        while (const dirent* entry = ::readdir(entries)) {
            const std::string name = entry->d_name;
            if (name != "." && name != ".." && std::find(FILES.begin(), FILES.end(), name) == FILES.end())
                ::unlinkat(inside, name.c_str(), 0);
        }
        ::closedir(entries);
        for (const char* name : FILES)
            if (!is_whole(name)) create(name);
    }

  private:
    void create(const char* name) const {
        const int file = ::openat(inside, name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        FUZZ_LAW(file >= 0 && ::write(file, "x", 1) == 1 && ::close(file) == 0);
    }
    int home, inside;
};

std::vector<std::string> words_of(std::string_view text) {
    std::vector<std::string> words{"tolvane"};
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

}  // namespace

/// Replaces the function of the program: the assertion that checks an option is a valid end of a run, any
/// other is a finding.
void assertion_failed(const char* text, const char* file, int line, const char*) {
    if (std::strcmp(text, "cluster_size>1") != 0) fuzz::broken(text, file, line);
    throw ended_process{EXIT_FAILURE};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const playground ground;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // A word of a command line has no zero byte, and no path may lead out of the folder.
    if (text.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) return -1;

    const fuzz::open_files opened;
    run_options options;
    ground.enter();
    bool parsed = false;
    fuzz::completes([&] {
        options = start_run(words_of(text), 1);
        parsed = true;
        check_options(options);
        check_files(options);
        echo_mode(options);
        echo_options(options);
    });
    LOG.close();
    ground.leave();
    if (parsed)
        for (const std::string& input : input_files(options))
            for (const char* name : FILES) FUZZ_LAW(input != name || ground.is_whole(name));
    ground.tidy();
    return 0;
}
