#include "support/log_capture.h"

#include <iostream>
#include <stdexcept>

#include "support/files.h"
#include "utils/lfile.h"

namespace support {

log_capture::log_capture() : console_before(std::cout.rdbuf(caught.rdbuf())) {
    if (!LOG.open(files.at("run.log"))) throw std::runtime_error("no log file");
}

log_capture::~log_capture() {
    LOG.close();
    LOG.unmuteC();
    LOG.unmuteL();
    std::cout.rdbuf(console_before);
}

std::string log_capture::log() const {
    return read_file(files.at("run.log"));
}

error_output_capture::error_output_capture() : before(std::cerr.rdbuf(caught.rdbuf())) {}

error_output_capture::~error_output_capture() {
    std::cerr.rdbuf(before);
}

}  // namespace support
