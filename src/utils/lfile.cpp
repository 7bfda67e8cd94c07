#include "utils/lfile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>

#include "utils/ending.h"
#include "utils/futils.h"

lfile LOG;

namespace {

void writeConsole(const std::string& text) {
    std::cout << text << std::flush;
}

std::string coloured(const std::string& word) {
    return "\033[33m" + word + "\033[0m";
}

}  // namespace

std::string lfile::nameFor(const std::string& name) {
    return futils::extensionFile(name) == "log" ? name : name + ".log";
}

bool lfile::open(const std::string& name) {
    file = nameFor(name);
    errno = 0;
    stream.open(file, std::ios::out | std::ios::trunc);
    if (!stream.good() && errno == ENOMEM) outOfMemory();
    return stream.good();
}

void lfile::close() {
    if (!stream.is_open()) return;
    errno = 0;
    stream.close();
    if (!stream.good()) stopOnFailure(errno);
}

std::string lfile::getPrefix(const std::string& text) {
    return text.substr(0, text.rfind('.'));
}

void lfile::print(const std::string& text) {
    printL(text);
    printC(text);
}

void lfile::println(const std::string& text) {
    print(text + "\n");
}

void lfile::printC(const std::string& text) {
    if (verbose_c) writeConsole(text);
}

void lfile::printlnC(const std::string& text) {
    printC(text + "\n");
}

void lfile::printL(const std::string& text) {
    if (verbose_l) writeLog(text);
}

void lfile::printlnL(const std::string& text) {
    printL(text + "\n");
}

void lfile::warning(const std::string& message) {
    writeConsole(coloured("WARNING:") + " " + message + "\n");
    printlnL("WARNING: " + message);
}

void lfile::error(const std::string& message) {
    const std::string line = message + "\n";
    endRun(coloured("ERROR:") + " " + line, "ERROR: " + line);
}

void lfile::outOfMemory() {
    endRun("\033[33mERROR:\033[0m Not enough memory\n", "ERROR: Not enough memory\n");
}

void lfile::endRun(std::string_view console_line, std::string_view log_line) {
    // Held until the process ends, so that only one of several failing threads ends it. The thread that holds
    // it can come here again if its memory runs out.
    static std::recursive_mutex first_error;
    const std::lock_guard lock(first_error);
    std::cout << console_line << std::flush;
    if (verbose_l && stream.is_open()) stream << log_line << std::flush;
    stream.close();
    end_process(EXIT_FAILURE);
}

void lfile::refuse(const char* rule, const std::string& input, long line, const std::string& found,
                   const std::string& expected) {
    if (!isStrict()) return;
    const std::string place = input + (line > 0 ? " line " + std::to_string(line) : "");
    std::string message = place + ": found " + found + ", expected " + expected + " [" + rule + "]";
    // Names and fields of damaged files can hold anything.
    std::replace_if(
        message.begin(), message.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    if (response == strictness::strict) error(message);
    constexpr long MOST_LISTED = 100;
    ++n_refused;
    if (n_refused <= MOST_LISTED) println("  ! " + message);
    if (n_refused == MOST_LISTED) println("  ! further ones are counted, but not listed");
}

void lfile::writeLog(const std::string& text) {
    if (!stream.is_open()) return;
    errno = 0;
    stream << text << std::flush;
    if (!stream.good()) stopOnFailure(errno);
}

void lfile::stopOnFailure(int reason) {
    muteL();  // the message can't go to the log that has just failed
    error(file + " could not be written: " + (reason != 0 ? std::strerror(reason) : "unknown reason"));
}
