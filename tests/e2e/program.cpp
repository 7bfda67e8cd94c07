#include "program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "support/files.h"

namespace e2e {

arguments words(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

namespace {

/// Becomes the program, with `folder` as its current folder.
[[noreturn]] void become_program(const support::temporary_folder& folder, const arguments& args,
                                 const std::function<void()>& prepare) {
    std::vector<char*> argv{const_cast<char*>(TOLVANE_PROGRAM)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing < 0 || ::dup2(nothing, STDIN_FILENO) < 0 || ::chdir(folder.path().c_str()) != 0) ::_exit(126);
    // Opened first: after `prepare` the process may not be allowed to enter the folder of the program.
    const int program = ::open(TOLVANE_PROGRAM, O_PATH | O_CLOEXEC);
    prepare();
    ::fexecve(program, argv.data(), environ);
    ::_exit(127);
}

}  // namespace

support::child_end run(const support::temporary_folder& folder, const arguments& args) {
    return support::run_in_child([&] { become_program(folder, args, [] {}); });
}

support::child_end run(const support::temporary_folder& folder, const std::string& line) {
    return run(folder, words(line));
}

support::child_end run(const support::temporary_folder& folder, const std::string& line,
                       const std::function<void()>& prepare) {
    return support::run_in_child([&] { become_program(folder, words(line), prepare); });
}

background_run::background_run(const support::temporary_folder& folder, const std::string& line)
    : process(::fork()) {
    if (process < 0) throw std::runtime_error("no child process");
    if (process > 0) return;
    ::alarm(120);
    become_program(folder, words(line), [] {
        // Ignored signals are inherited, for instance from a shell that runs the tests in the background.
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) std::signal(number, SIG_DFL);
        const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(nothing, STDOUT_FILENO);
        ::dup2(nothing, STDERR_FILENO);
    });
}

background_run::~background_run() {
    if (process <= 0) return;
    signal(SIGKILL);
    wait();
}

void background_run::signal(int number) const {
    ::kill(process, number);
}

int background_run::wait() {
    int status = 0;
    ::waitpid(process, &status, 0);
    process = 0;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string plain(const std::string& console) {
    std::string text = std::regex_replace(console, std::regex("\033\\[[0-9;]*m"), "");
    text = std::regex_replace(text, std::regex("[^\n\r]*\r"), "");
    const std::size_t banner = text.find("  * Version : v3");
    return banner == std::string::npos ? text : text.substr(text.find('\n', banner) + 1);
}

std::string last_line(const support::child_end& end) {
    std::string last;
    for (const std::string& line : support::lines_of(plain(end.out)))
        if (!line.empty()) last = line;
    return last;
}

std::vector<std::string> files_in(const support::temporary_folder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace e2e
