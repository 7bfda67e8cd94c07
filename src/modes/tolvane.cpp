#include "modes/tolvane.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iostream>

#include "utils/assertion.h"
#include "utils/ending.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/putils.h"
#include "utils/sutils.h"

namespace po = boost::program_options;

long START_DATE = 0;

namespace {

constexpr const char* FILTER_LISTS[] = {"exclude-snp", "include-snp", "exclude-ind", "include-ind"};

void print_banner() {
    const auto yellow = [](const std::string& text) { return "\033[33m" + text + "\033[0m"; };
    std::cout << "\n"
              << yellow("T") << "olvane " << yellow("P") << "hasing " << yellow("T") << "ool\n"
              << "  * Authors : the tolvane developers\n"
              << "  * Contact : see CONTRIBUTING.md in the source distribution\n"
              << "  * Webpage : see README.md and docs/ in the source distribution\n"
              << "  * Version : v3.r881" << std::endl;
}

/// Parses a command line into `options`; returns what is wrong with it, or nothing.
std::string failure_of(const std::vector<std::string>& args, const po::options_description& descriptions,
                       po::variables_map& options) {
    const auto has_mark = [](const std::string& word) { return word.find('%') != std::string::npos; };
    try {
        po::store(po::command_line_parser(args).options(descriptions).run(), options);
        po::notify(options);
        return {};
    } catch (const po::error& failure) {
        if (std::none_of(args.begin(), args.end(), has_mark)) return failure.what();
    }
    // The library puts words of the command line into its message in the place of marks like %value%, as long
    // as it finds any: for ever, if a word is such a mark. So each % is hidden from it.
    constexpr char HIDDEN = '\1';
    std::vector<std::string> words = args;
    for (std::string& word : words) std::replace(word.begin(), word.end(), '%', HIDDEN);
    po::variables_map unused;
    std::string message = failure_of(words, descriptions, unused);
    TOLVANE_ASSERT(!message.empty(), "a line that fails with % fails without");
    std::replace(message.begin(), message.end(), HIDDEN, '%');
    return message;
}

}  // namespace

tolvane::tolvane()
    : descriptions(po::options_description::m_default_line_length,
                   po::options_description::m_default_line_length / 2) {}

void tolvane::declare_options() {
    po::options_description basic("\033[33mBasic options\033[0m");
    auto add_basic = basic.add_options();
    add_basic("help,H", "Produce help message.");
    add_basic("seed", po::value<int>()->default_value(static_cast<int>(std::time(nullptr))),
              "Seed of the random number generator.");
    add_basic("thread,T", po::value<int>()->default_value(1), "Number of thread used for phasing.");
    add_basic("output-log,L", po::value<std::string>()->default_value("", "tolvane_date_time_UUID.log"),
              "Log file containing a duplicate of the screen output.");
    po::options_description subsetting("\033[33mSubsetting options\033[0m");
    auto add_subsetting = subsetting.add_options();
    add_subsetting("exclude-snp", po::value<std::string>(),
                   "File containing all the positions of the SNPs to exclude in input/output files.");
    add_subsetting("include-snp", po::value<std::string>(),
                   "File containing all the positions of the SNPs to include in input/output files.");
    add_subsetting("exclude-ind", po::value<std::string>(),
                   "File containing all the ID of the individuals to exclude in input/output files.");
    add_subsetting("include-ind", po::value<std::string>(),
                   "File containing all the ID of the individuals to include in input/output files.");
    add_subsetting("input-from", po::value<int>()->default_value(0),
                   "First physical position to consider in input files.");
    add_subsetting("input-to", po::value<int>()->default_value(1000000000),
                   "Last physical position to consider in input file.");
    descriptions.add(basic).add(subsetting);
}

void tolvane::parse_command_line(const std::vector<std::string>& args, const std::string& mode) {
    const std::string failure = failure_of(args, descriptions, options);
    if (!failure.empty()) {
        std::cout << mode << " mode : " << failure << std::endl;
        end_process(EXIT_SUCCESS);
    }
    print_banner();
    if (given("help")) {
        std::cout << descriptions << std::endl;
        end_process(EXIT_SUCCESS);
    }
    const std::string log = options["output-log"].defaulted()
                                ? "tolvane_" + sutils::date2str(&START_DATE, "%d%m%Y_%Hh%Mm%Ss") + "_" +
                                      putils::getRandomID() + ".log"
                                : value<std::string>("output-log");
    refuse_overwriting(lfile::nameFor(log));
    take_output(lfile::nameFor(log));  // and with it the side files, which are named after it
    if (!LOG.open(log)) {
        std::cerr << "Impossible to open log file[" << log << "] check writing permissions!" << std::endl;
        end_process(EXIT_FAILURE);
    }
    LOG.printlnL("Mode    : " + mode);
    LOG.printL("Options :");
    for (const std::string& arg : args) LOG.printL(" " + arg);
    LOG.printlnL("");
}

/// Nothing is created before this has passed, so a slip on the command line can't cost any data.
void tolvane::refuse_overwriting(const std::string& log) const {
    const std::vector<std::string> inputs = input_files(), outputs = output_files(log);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        for (const std::string& input : inputs)
            if (futils::isSameFile(input, outputs[i]))
                LOG.error(outputs[i] + " would be overwritten by this run, which reads it as " + input +
                          "; give another name to the output or the log");
        for (std::size_t j = 0; j < i; ++j)
            if (futils::isSameFile(outputs[j], outputs[i]))
                LOG.error(outputs[j] + " and " + outputs[i] + " are one file, and this run would write both" +
                          "; give them different names");
    }
}

/// Two runs writing to one file at a time would leave a mixture of both that looks whole.
void tolvane::take_output(const std::string& file) {
    if (!futils::takeFile(file))
        LOG.error(file + " is being written by another run; give another name to the output or the log");
}

std::vector<std::string> tolvane::input_files() const {
    std::vector<std::string> files;
    for (const char* list : FILTER_LISTS)
        if (given(list)) files.push_back(value<std::string>(list));
    return files;
}

std::vector<std::string> tolvane::output_files(const std::string& log) const {
    return {log};
}

void tolvane::check_options() {
    if (given("seed") && value<int>("seed") < 0)
        LOG.error("Random number generator needs a positive seed value");
    if (given("thread") && value<int>("thread") < 1) LOG.error("You must use at least 1 thread");
    const int from = value<int>("input-from"), to = value<int>("input-to");
    if (!(to > 0 && from < to && from >= 0))
        LOG.error(
            "The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & "
            "--input-from < input-to");
}

void tolvane::check_files() {
    for (const char* list : FILTER_LISTS)
        if (given(list) && !futils::isFile(value<std::string>(list)))
            LOG.error("[" + value<std::string>(list) +
                      "] is impossible to open, check file existence or reading permissions");
}

void tolvane::verbose_mode() {
    const std::string date = sutils::date2str(&START_DATE, "%d/%m/%Y %H:%M:%S");
    // The log and the banner tell different versions; scripts that read logs know this one.
    LOG.printlnL("Version : v2.r881");
    LOG.printlnL("Date    : " + date);
    LOG.printlnC("  * Date    : " + date);
    LOG.printlnC("  * LOGfile : [" + LOG.name() + "]");
}

void tolvane::verbose_options() {
    LOG.println("\nParameters :");
    LOG.println("  * Seed : " + sutils::int2str(value<int>("seed")));
    if (!options["input-from"].defaulted() || !options["input-to"].defaulted())
        LOG.println("  * Input  window: [" + sutils::int2str(value<int>("input-from")) + " -> " +
                    sutils::int2str(value<int>("input-to")) + "[");
    LOG.println("  * Parallelisation: " + sutils::int2str(value<int>("thread")) + " threads");
}

void tolvane::read_files_and_initialise() {
    filter.initialise(value<int>("input-from"), value<int>("input-to"));
    if (given("exclude-snp")) filter.readSnpExcludeList(value<std::string>("exclude-snp"));
    if (given("include-snp")) filter.readSnpIncludeList(value<std::string>("include-snp"));
    if (given("exclude-ind")) filter.readIndExcludeList(value<std::string>("exclude-ind"));
    if (given("include-ind")) filter.readIndIncludeList(value<std::string>("include-ind"));
    putils::initRandom(value<int>("seed"));
}

void tolvane::write_files_and_finalise() {}
