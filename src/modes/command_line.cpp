#include "modes/command_line.h"

#include <cstdlib>
#include <iostream>

#include "modes/run_files.h"
#include "utils/ending.h"
#include "utils/lfile.h"
#include "utils/random_id.h"
#include "utils/sutils.h"

namespace {

constexpr const char* MODE = "Phaser";
constexpr int SYNTAX_ERROR = 2;  // exit status
// The two versions differ on purpose; CONTRIBUTING.md explains the version numbers.
constexpr const char* BANNER_VERSION = "v3.r881";
constexpr const char* LOG_VERSION = "v2.r881";

void print_banner() {
    const auto yellow = [](const std::string& text) { return "\033[33m" + text + "\033[0m"; };
    std::cout << "\n"
              << yellow("T") << "olvane " << yellow("P") << "hasing " << yellow("T") << "ool\n"
              << "  * Authors : the tolvane developers\n"
              << "  * Contact : see CONTRIBUTING.md in the source distribution\n"
              << "  * Webpage : see README.md and docs/ in the source distribution\n"
              << "  * Version : " << BANNER_VERSION << std::endl;
}

std::string default_log(long start) {
    return "tolvane_" + sutils::date2str(&start, "%d%m%Y_%Hh%Mm%Ss") + "_" + random_id() + ".log";
}

void open_log(const std::string& log, output_files& outputs) {
    outputs.take(lfile::nameFor(log));  // this protects the side files too, which are named after it
    if (LOG.open(log)) return;
    std::cerr << "Impossible to open log file[" << log << "] check writing permissions!" << std::endl;
    end_process(EXIT_FAILURE);
}

}  // namespace

run_options start_run(const std::vector<std::string>& args, long start, output_files& outputs) {
    run_options options;
    const std::string failure = parse_options(args, start, options);
    if (!failure.empty() && is_strict(args)) {
        std::cerr << "tolvane: " << failure << " (--help lists all options)" << std::endl;
        end_process(SYNTAX_ERROR);
    }
    if (!failure.empty()) {
        std::cout << MODE << " mode : " << failure << std::endl;
        end_process(EXIT_SUCCESS);
    }
    print_banner();
    if (options.help.is_given) {
        print_help(start, std::cout);
        end_process(EXIT_SUCCESS);
    }
    const std::string log = options.output_log.is_given ? options.output_log.value : default_log(start);
    if (options.strict.is_given) LOG.setStrictness(strictness::strict);
    if (options.check.is_given) LOG.setStrictness(strictness::listing);
    refuse_overwriting(options, lfile::nameFor(log));
    open_log(log, outputs);
    LOG.printlnL("Mode    : " + std::string(MODE));
    LOG.printL("Options :");
    for (const std::string& arg : args) LOG.printL(" " + arg);
    LOG.printlnL("");
    return options;
}

void print_version_and_date(long start) {
    const std::string date = sutils::date2str(&start, "%d/%m/%Y %H:%M:%S");
    LOG.printlnL("Version : " + std::string(LOG_VERSION));
    LOG.printlnL("Date    : " + date);
    LOG.printlnC("  * Date    : " + date);
    LOG.printlnC("  * LOGfile : [" + LOG.name() + "]");
}

std::string version_line(const run_options& options) {
    return "##tolvane=" + std::string(BANNER_VERSION) + " " + result_options(options);
}
