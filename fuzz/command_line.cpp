// Parses a command line, one word per line, and checks its options. If it names a file that exists as input,
// checks the files too and opens the log, after which that input must still be there. Nothing is phased.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iostream>

#include "modes/command_line.h"
#include "modes/run_files.h"
#include "support.h"
#include "utils/lfile.h"
#include "utils/output_files.h"

namespace {

constexpr long START = 1;

constexpr std::array FILES = {"a.bed", "a.bim",  "a.fam",    "a.gen", "a.sample",
                              "a.map", "a.haps", "a.legend", "list",  "a.log"};

bool is_given_file(const std::string& name) {
    return std::find(FILES.begin(), FILES.end(), name) != FILES.end();
}

/// A folder in which a command line may create any files.
class playground {
  public:
    playground()
        : home(::open(".", O_DIRECTORY | O_CLOEXEC)),
          inside(::open(fuzz::folder().c_str(), O_DIRECTORY | O_CLOEXEC)) {
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
        while (const dirent* entry = ::readdir(entries))
            if (entry->d_type == DT_REG && !is_given_file(entry->d_name))
                ::unlinkat(inside, entry->d_name, 0);
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

/// The part of the checks that needs no files.
void check_values(const run_options& options) {
    fuzz::completes([&] {
        if (options.help.is_given) print_help(START, std::cout);
        check_options(options);
        echo_mode(options);
        echo_options(options);
    });
}

/// Everything that a run does before it reads its input, and then removes its traces.
void start_and_check_files(const std::vector<std::string>& words, const file_names& inputs) {
    static const playground ground;
    ground.enter();
    fuzz::completes([&] {
        output_files outputs;
        const run_options options = start_run(words, START, outputs);
        check_options(options);
        check_files(options, outputs);
    });
    LOG.close();
    ground.leave();
    for (const char* name : FILES)
        if (std::find(inputs.begin(), inputs.end(), name) != inputs.end()) FUZZ_LAW(ground.is_whole(name));
    ground.tidy();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // A word of a command line has no zero byte, and no path may lead out of the folder.
    if (text.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) return -1;

    LOG.setStrictness(strictness::lenient);
    const std::vector<std::string> words = words_of(text);
    run_options options;
    const std::string failure = parse_options(words, START, options);
    if (failure.empty()) check_values(options);
    // A line that can't be parsed creates nothing, and one that names no file that exists destroys nothing.
    const file_names inputs = failure.empty() ? input_files(options) : file_names();
    if (std::any_of(inputs.begin(), inputs.end(), is_given_file)) start_and_check_files(words, inputs);
    return 0;
}
