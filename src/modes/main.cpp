#include <sys/time.h>

#include <csignal>
#include <ctime>
#include <new>
#include <string>
#include <vector>

#include "modes/phaser/phaser.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

int main(int argc, char** argv) {
    timeval start{}, stop{};
    gettimeofday(&start, nullptr);
    START_DATE = std::time(nullptr);
    // A write beyond a file size limit then fails like any other write, with a message.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        phaser mode;
        mode.phase(std::vector<std::string>(argv + (argc > 0), argv + argc));
    } catch (const std::bad_alloc&) {
        LOG.error("Not enough memory");
    }
    gettimeofday(&stop, nullptr);
    LOG.println("\nRunning time: " + sutils::long2str(stop.tv_sec - start.tv_sec) + " seconds");
    LOG.close();
    return 0;
}
