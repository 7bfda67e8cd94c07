#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
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

}  // namespace

int main(int argc, char** argv) {
    open_standard_streams();
    timeval start{}, stop{};
    gettimeofday(&start, nullptr);
    // A write beyond the file size limit then fails like any other write, with a message.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        phaser(std::vector<std::string>(argv + (argc > 0), argv + argc), std::time(nullptr)).phase();
    } catch (const std::bad_alloc&) {
        LOG.error("Not enough memory");
    }
    gettimeofday(&stop, nullptr);
    LOG.println("\nRunning time: " + std::to_string(stop.tv_sec - start.tv_sec) + " seconds");
    LOG.close();
    return 0;
}
