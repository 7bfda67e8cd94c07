#include "support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <streambuf>

#ifdef TOLVANE_COVERAGE
extern "C" void __gcov_dump(void);
#endif

namespace support {

namespace {

constexpr int STATUS_RETURNED = 77;
constexpr int STATUS_THROWN = 78;
constexpr unsigned TIME_LIMIT = 120;  // seconds

using file_handle = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

file_handle unnamed_file() {
    file_handle file(std::tmpfile(), std::fclose);
    if (!file) throw std::runtime_error("no temporary file");
    return file;
}

std::string contents(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
    return text;
}

/// Writes directly to a descriptor, so that nothing is lost in a buffer if the process ends at once.
class descriptor_buffer : public std::streambuf {
  public:
    explicit descriptor_buffer(int file_descriptor) : descriptor(file_descriptor) {}

  protected:
    int_type overflow(int_type c) override {
        const char byte = static_cast<char>(c);
        return ::write(descriptor, &byte, 1) == 1 ? c : traits_type::eof();
    }
    std::streamsize xsputn(const char* bytes, std::streamsize n) override {
        return ::write(descriptor, bytes, static_cast<std::size_t>(n));
    }

  private:
    int descriptor;
};

#ifdef TOLVANE_COVERAGE
void keep_counts_on_abort(int) {
    std::signal(SIGABRT, SIG_DFL);
    __gcov_dump();
    std::abort();
}
#endif

[[noreturn]] void be_child(const std::function<void()>& body, std::FILE* out, std::FILE* err) {
    ::dup2(::fileno(out), STDOUT_FILENO);
    ::dup2(::fileno(err), STDERR_FILENO);
    static descriptor_buffer to_out(STDOUT_FILENO), to_err(STDERR_FILENO);
    std::cout.rdbuf(&to_out);
    std::cerr.rdbuf(&to_err);
#ifdef TOLVANE_COVERAGE
    std::at_quick_exit(__gcov_dump);
    std::signal(SIGABRT, keep_counts_on_abort);
#endif
    ::alarm(TIME_LIMIT);
    int status = STATUS_RETURNED;
    try {
        body();
    } catch (const std::exception& thrown) {
        std::cerr << "thrown: " << thrown.what() << "\n";
        status = STATUS_THROWN;
    }
    std::fflush(nullptr);
    std::quick_exit(status);
}

::testing::AssertionResult unexpected(const child_end& end) {
    return ::testing::AssertionFailure()
           << (end.returned ? "it returned" : "it ended") << " with status " << end.status << ", signal "
           << end.signal << "\nout: " << end.out << "\nerr: " << end.err;
}

/// The text after the last "ERROR:" on the console, without its line end.
std::string error_message(const child_end& end) {
    const std::string mark = "\033[33mERROR:\033[0m ";
    const std::size_t start = end.out.rfind(mark);
    if (end.status != EXIT_FAILURE || start == std::string::npos || end.out.back() != '\n') return {};
    return end.out.substr(start + mark.size(), end.out.size() - start - mark.size() - 1);
}

}  // namespace

child_end run_in_child(const std::function<void()>& body) {
    const file_handle out = unnamed_file(), err = unnamed_file();
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) be_child(body, out.get(), err.get());

    child_end end;
    int wait_status = 0;
    ::waitpid(child, &wait_status, 0);
    if (WIFEXITED(wait_status)) end.status = WEXITSTATUS(wait_status);
    if (WIFSIGNALED(wait_status)) end.signal = WTERMSIG(wait_status);
    end.returned = end.status == STATUS_RETURNED;
    end.out = contents(out.get());
    end.err = contents(err.get());
    return end;
}

::testing::AssertionResult stops_with(const std::string& message, const std::function<void()>& body) {
    const child_end end = run_in_child(body);
    if (error_message(end) == message) return ::testing::AssertionSuccess();
    return unexpected(end) << "\nexpected the message: " << message;
}

::testing::AssertionResult stops_naming(const std::vector<std::string>& pieces,
                                        const std::function<void()>& body) {
    const child_end end = run_in_child(body);
    const std::string message = error_message(end);
    if (message.empty()) return unexpected(end);
    for (const std::string& piece : pieces)
        if (message.find(piece) == std::string::npos)
            return unexpected(end) << "\nexpected in the message: " << piece;
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult aborts_on(const std::string& assertion, const std::function<void()>& body) {
    const child_end end = run_in_child(body);
    if (end.signal == SIGABRT && end.err.find("Assertion `" + assertion + "' failed.") != std::string::npos)
        return ::testing::AssertionSuccess();
    return unexpected(end) << "\nexpected the assertion: " << assertion;
}

}  // namespace support
