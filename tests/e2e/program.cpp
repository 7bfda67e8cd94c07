#include "program.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>

#include "support/files.h"

namespace e2e {

arguments words(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

support::child_end run(const support::temporary_folder& folder, const arguments& args) {
    return support::run_in_child([&] {
        std::vector<char*> argv{const_cast<char*>(TOLVANE_PROGRAM)};
        for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        const int nothing = ::open("/dev/null", O_RDONLY);
        if (nothing < 0 || ::dup2(nothing, STDIN_FILENO) < 0 || ::chdir(folder.path().c_str()) != 0)
            ::_exit(126);
        ::execv(TOLVANE_PROGRAM, argv.data());
        ::_exit(127);
    });
}

support::child_end run(const support::temporary_folder& folder, const std::string& line) {
    return run(folder, words(line));
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
