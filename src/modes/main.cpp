#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "modes/phaser.h"
#include "utils/lfile.h"

namespace {

/// Opens the standard streams that the parent process closed. Otherwise the next file opened would get the
/// descriptor of one of them, and console output would go into that file.
void open_standard_streams() {
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = ::open("/dev/null", O_RDWR);
    if (descriptor >= 0) ::close(descriptor);
}

void end_out_of_memory() {
    LOG.outOfMemory();
}

/// Whether main is about to return.
bool is_complete = false;

/// Runs at exit(). If main has not called it, htslib has, since it found no memory in a place where it does
/// not return.
void tell_of_early_exit() {
    if (!is_complete) end_out_of_memory();
}

}  // namespace

int main(int argc, char** argv) {
    std::set_new_handler(end_out_of_memory);
    std::atexit(tell_of_early_exit);
    open_standard_streams();
    timeval start{}, stop{};
    gettimeofday(&start, nullptr);
    // Writes beyond the limit of file size, or to a pipe that nobody reads any more, then fail like any other
    // write, with a message.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        phaser run(std::vector<std::string>(argv + (argc > 0), argv + argc), std::time(nullptr));
        run.phase();
        gettimeofday(&stop, nullptr);
        LOG.println("\nRunning time: " + std::to_string(stop.tv_sec - start.tv_sec) + " seconds");
        LOG.close();
    } catch (const std::bad_alloc&) {  // of the compression libraries, which don't use the handler
        LOG.outOfMemory();
    } catch (const std::exception& failure) {
        LOG.error(failure.what());
    }
    is_complete = true;
    return EXIT_SUCCESS;
}
