#include "modes/options.h"

#include <algorithm>
#include <boost/program_options.hpp>
#include <cctype>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <ostream>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <variant>

#include "utils/assertion.h"
#include "utils/genome_region.h"
#include "utils/lfile.h"
#include "utils/sutils.h"
#include "utils/units.h"

namespace po = boost::program_options;

namespace {

// ---- declaration

constexpr double FAST_CLUSTER_SIZE = 4000.0;
// With matches, a quarter of all haplotypes within these bounds: in a small cohort, further ones share too
// little with the individual.
constexpr int LEAST_MATCH_STATES = 100, MOST_MATCH_STATES = 200;

// With matches, the fewer people there are the more iterations of burn-in pay: people have less to copy from,
// and it takes longer until the first phases, drawn at random, are forgotten. In a large cohort they would
// cost much and change little.
constexpr int MATCH_BURN_WORK = 6000;  // people times iterations
constexpr int LEAST_MATCH_BURN = 7, MOST_MATCH_BURN = 20;

template <class Value>
using member = setting<Value> run_options::*;

/// One option. A new one needs a field in run_options and a row in the table. It also needs a check in
/// check_options if its value can be out of range, and a line in echo_options if it affects the run.
struct option_row {
    const char* group;
    const char* name;  // followed by a comma and the short name, if any
    std::variant<member<bool>, member<int>, member<double>, member<std::string>, member<file_names>> field;
    const char* shown_default;  // FIELD if the help shows that of the field, nullptr if there is none
    const char* help;
    bool is_abbreviable = true;  // false for newer options, so that abbreviations of others stay as they were
};

constexpr const char* BASIC = "Basic options";
constexpr const char* SUBSETTING = "Subsetting options";
constexpr const char* MCMC = "MCMC options";
constexpr const char* INPUT = "Input files options";
constexpr const char* MODEL = "Model options";
constexpr const char* OUTPUT = "Output file options";
constexpr const char* FIELD = "";
constexpr const char* NONE = nullptr;
constexpr bool IN_FULL = false;

const option_row OPTIONS[] = {
    {BASIC, "help,H", &run_options::help, NONE, "Produce help message."},
    {BASIC, "seed", &run_options::seed, FIELD, "Seed of the random number generator."},
    {BASIC, "thread,T", &run_options::thread, FIELD, "Number of thread used for phasing."},
    {BASIC, "output-log,L", &run_options::output_log, "tolvane_date_time_UUID.log",
     "Log file containing a duplicate of the screen output."},
    {BASIC, "strict", &run_options::strict, NONE,
     "End at input that is probably wrong, which is accepted otherwise. Recommended.", IN_FULL},
    {BASIC, "check", &run_options::check, NONE,
     "Read and check the input, list what --strict would refuse, and end.", IN_FULL},

    {SUBSETTING, "exclude-snp", &run_options::exclude_snp, NONE,
     "File containing all the positions of the SNPs to exclude in input/output files."},
    {SUBSETTING, "include-snp", &run_options::include_snp, NONE,
     "File containing all the positions of the SNPs to include in input/output files."},
    {SUBSETTING, "exclude-ind", &run_options::exclude_ind, NONE,
     "File containing all the ID of the individuals to exclude in input/output files."},
    {SUBSETTING, "include-ind", &run_options::include_ind, NONE,
     "File containing all the ID of the individuals to include in input/output files."},
    {SUBSETTING, "input-from", &run_options::input_from, FIELD,
     "First physical position to consider in input files."},
    {SUBSETTING, "input-to", &run_options::input_to, FIELD,
     "Last physical position to consider in input file."},

    {MCMC, "burn", &run_options::burn, FIELD, "Number of burn-in MCMC iterations."},
    {MCMC, "prune", &run_options::prune, FIELD, "Number of pruning MCMC iterations."},
    {MCMC, "main", &run_options::main, FIELD, "Number of main MCMC iterations."},

    {INPUT, "input-bed,B", &run_options::input_bed, NONE, "Unphased genotypes in Plink BED/BIM/FAM format."},
    {INPUT, "input-map,M", &run_options::input_map, NONE, "Genetic map in HapMap format."},
    {INPUT, "input-gen,G", &run_options::input_gen, NONE, "Unphased genotypes in Impute2 GEN/SAMPLE format."},
    {INPUT, "input-thr", &run_options::input_thr, FIELD,
     "Probability threshold used to call a genotype in GEN file."},
    {INPUT, "input-ref,R", &run_options::input_ref, NONE,
     "Reference set of haplotypes in HAPS/SAMPLE format."},
    {INPUT, "input-vcf,V", &run_options::input_vcf, NONE, "Genotypes in a VCF or BCF file.", IN_FULL},
    {INPUT, "region", &run_options::region, NONE,
     "Chromosome to read, or part of it: CHR or CHR:FROM-TO, positions inclusive.", IN_FULL},
    {INPUT, "haploid", &run_options::haploid, NONE,
     "File containing the ID of the individuals with one copy of the chromosome, as males on X.", IN_FULL},
    {INPUT, "map-format", &run_options::map_format, FIELD,
     "Layout of the genetic map: hapmap, plink (chromosome, id, cM, position) or table (chromosome, "
     "position, "
     "rate, cM).",
     IN_FULL},
    {INPUT, "panel-missing", &run_options::panel_missing, FIELD,
     "What to do with variants that the reference set lacks: stop, or exclude them. (The set of --input-ref "
     "may "
     "also be one phased VCF or BCF file.)",
     IN_FULL},

    {MODEL, "cluster_burn,cb", &run_options::cluster_burn, FIELD,
     "Frequency of clustering in burnin iterations."},
    {MODEL, "cluster_prune,cp", &run_options::cluster_prune, FIELD,
     "Frequency of clustering in pruning iterations."},
    {MODEL, "cluster_main,cm", &run_options::cluster_main, FIELD,
     "Frequency of clustering in main iterations."},
    {MODEL, "states,S", &run_options::states, FIELD, "Number of hidden states used for phasing."},
    {MODEL, "effective-size", &run_options::effective_size, FIELD, "Effective size of the population."},
    // Checked but otherwise unused: the rates come from the genetic map, which every run needs.
    {MODEL, "rho", &run_options::rho, FIELD, "Constant recombination rate."},
    {MODEL, "fast", &run_options::fast, NONE,
     "Turn on fast mode. Greater speed with a small decrease in accuracy. (suitable for N>10,000)"},
    {MODEL, "cluster-size", &run_options::cluster_size, NONE,
     "cluster size for fast conditioning haplotype search"},
    {MODEL, "early-stopping", &run_options::early_stopping, NONE,
     "do not perform HMM calculations when perfect matches are found with conditioning haplotypes"},
    {MODEL, "window,W", &run_options::window, FIELD,
     "Mean size of the windows in which conditioning haplotypes are defined."},
    {MODEL, "match", &run_options::match, NONE,
     "Select conditioning haplotypes by the longest stretches they share with an individual. The time grows "
     "with the number of individuals, not with its square. Recommended.",
     IN_FULL},
    {MODEL, "match-depth", &run_options::match_depth, FIELD,
     "With --match: haplotypes noted on each side of a site.", IN_FULL},
    {MODEL, "learn-rates", &run_options::learn_rates, NONE,
     "Without --match: let the rates of the copying model follow the data, as --match does.", IN_FULL},
    {MODEL, "match-step", &run_options::match_step, FIELD,
     "With --match or --learn-rates: distance in cM from one site to the next.", IN_FULL},
    {MODEL, "mismatch", &run_options::mismatch, NONE,
     "With --match or --learn-rates: probability that an allele differs from the copied one.", IN_FULL},

    {OUTPUT, "output-max,O", &run_options::output_max, NONE, "Phased haplotypes in Impute2 format."},
    {OUTPUT, "output-vcf", &run_options::output_vcf, NONE,
     "Phased haplotypes in VCF or BCF: .vcf, .vcf.gz or .bcf.", IN_FULL},
    {OUTPUT, "output-index", &run_options::output_index, FIELD, "Index of --output-vcf: csi, tbi or none.",
     IN_FULL},
    {OUTPUT, "output-unphased", &run_options::output_unphased, NONE,
     "With --input-vcf: write the records that took no part too, unphased.", IN_FULL},
    {OUTPUT, "keep-missing", &run_options::keep_missing, NONE,
     "Write no filled-in genotypes with --output-vcf.", IN_FULL},
    {OUTPUT, "reference", &run_options::reference, NONE,
     "FASTA file with index, which tells the reference alleles for --output-vcf from other formats.",
     IN_FULL},
    {OUTPUT, "no-version", &run_options::no_version, NONE,
     "Write no line with version and options into the header of --output-vcf.", IN_FULL},
};

run_options defaults(long start) {
    run_options options;
    options.seed.value = static_cast<int>(start);
    return options;
}

/// A value as the help shows it.
template <class Value>
std::string text_of(const Value& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// Describes the values of an option to the library, which takes ownership of the result.
template <class Value>
po::value_semantic* semantics(const option_row& row, const run_options& with_defaults,
                              setting<Value> run_options::*field) {
    if constexpr (std::is_same_v<Value, bool>) {
        return new po::untyped_value(true);
    } else {
        auto* typed = po::value<Value>();
        if constexpr (std::is_same_v<Value, file_names>)
            typed->multitoken();
        else if (row.shown_default == FIELD)
            typed->default_value((with_defaults.*field).value, text_of((with_defaults.*field).value));
        else if (row.shown_default != NONE)
            typed->default_value((with_defaults.*field).value, row.shown_default);
        return typed;
    }
}

/// The table of options in the form that the library needs.
po::options_description describe(const run_options& with_defaults) {
    const unsigned WIDTH = po::options_description::m_default_line_length;
    po::options_description all(WIDTH, WIDTH / 2);
    for (const option_row* row = std::begin(OPTIONS); row != std::end(OPTIONS);) {
        const char* title = row->group;
        po::options_description group("\033[33m" + std::string(title) + "\033[0m");
        for (; row != std::end(OPTIONS) && row->group == title; ++row) {
            const auto declare = [&](auto field) {
                group.add_options()(row->name, semantics(*row, with_defaults, field), row->help);
            };
            std::visit(declare, row->field);
        }
        all.add(group);
    }
    return all;
}

std::string long_name(const option_row& row) {
    const std::string name = row.name;
    return name.substr(0, name.find(','));
}

/// The command line with abbreviated options written out, where only one option may be meant.
std::vector<std::string> spelled_out(std::vector<std::string> args) {
    for (std::string& word : args) {
        const std::string given = word.substr(0, word.find('='));
        if (!given.starts_with("--") || given == "--") continue;
        std::vector<std::string> meant;
        for (const option_row& row : OPTIONS) {
            const std::string name = long_name(row);
            if (name == given.substr(2)) meant = {2, name};  // two: nothing to write out
            if (row.is_abbreviable && name.starts_with(given.substr(2))) meant.push_back(name);
        }
        if (meant.size() == 1) word.replace(2, given.size() - 2, meant.front());
    }
    return args;
}

/// Number of single letters to insert, remove or replace to turn `a` into `b` (Levenshtein 1966).
std::size_t edit_distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
        }
    }
    return row.back();
}

/// The option that a word may mean: one of which it is a part, or that is spelled nearly like it; else empty.
std::string nearest_option(const std::string& word) {
    std::string given = word.substr(std::min(word.find_first_not_of('-'), word.size()));
    for (char& c : given) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::string nearest;
    std::size_t least = given.size() / 2 + 1;  // a word of which half is wrong may mean anything
    for (const option_row& row : OPTIONS) {
        const std::string name = long_name(row);
        const bool is_part = given.size() > 2 && name.find(given) != std::string::npos;
        const std::size_t distance = is_part ? 0 : edit_distance(given, name);
        if (distance >= least) continue;
        least = distance;
        nearest = name;
    }
    return nearest;
}

/// Message for a word that is no option and no value of one.
std::string unexpected(const std::string& word) {
    const std::string nearest = nearest_option(word);
    return "unexpected word '" + word + "'" + (nearest.empty() ? "" : "; did you mean --" + nearest + "?");
}

/// Message for the first mistake that the library accepts: a word that belongs to no option, an option in the
/// place of a value, a "=" behind a short option, or an option given twice. Empty if there is none.
std::string first_slip(const std::vector<po::option>& words) {
    std::set<std::string> given;
    for (const po::option& word : words) {
        if (word.position_key >= 0) return unexpected(word.value.front());
        if (!given.insert(word.string_key).second)
            return "option '--" + word.string_key + "' cannot be specified more than once";
        for (const std::string& value : word.value)
            if (value.starts_with("--") || value.starts_with('='))
                return "'" + value + "' is not a value of option '--" + word.string_key + "'";
    }
    return {};
}

/// Copies a value that the library has parsed.
template <class Value>
void take_value(const po::variable_value& parsed, setting<Value>& into) {
    into.is_given = !parsed.empty() && !parsed.defaulted();
    if constexpr (std::is_same_v<Value, bool>)
        into.value = into.is_given;
    else if (!parsed.empty())
        into.value = parsed.as<Value>();
}

}  // namespace

int run_options::n_burn(int n_individuals) const {
    if (!chooses_burn()) return burn.value;
    return std::clamp(MATCH_BURN_WORK / std::max(n_individuals, 1), LEAST_MATCH_BURN, MOST_MATCH_BURN);
}

int run_options::n_states(int n_haplotypes) const {
    return chooses_states() ? std::clamp(n_haplotypes / 4, LEAST_MATCH_STATES, MOST_MATCH_STATES)
                            : states.value;
}

double run_options::tree_size() const {
    return fast.is_given ? FAST_CLUSTER_SIZE : cluster_size.value;
}

std::string result_options(const run_options& options) {
    std::string text;
    const auto add = [&](const option_row& row, const std::string& value) {
        text += (text.empty() ? "--" : " --") + long_name(row) + (value.empty() ? "" : " " + value);
    };
    const auto visit = [&](const option_row& row, auto field) {
        using kind = std::remove_cvref_t<decltype((options.*field).value)>;
        const auto& given = options.*field;
        if constexpr (std::is_same_v<kind, bool>) {
            if (given.is_given) add(row, "");
        } else if constexpr (std::is_arithmetic_v<kind>) {
            if (given.is_given || long_name(row) == "seed") add(row, text_of(given.value));
        }
    };
    const std::set<std::string> WITHOUT_EFFECT = {"help", "thread", "strict", "check"};
    for (const option_row& row : OPTIONS)
        if (!WITHOUT_EFFECT.contains(long_name(row)))
            std::visit([&](auto field) { visit(row, field); }, row.field);
    return text;
}

bool is_strict(const std::vector<std::string>& args) {
    const auto asks = [](const std::string& word) {
        using std::operator""sv;
        const std::string name = word.substr(0, word.find('='));
        return (name.starts_with("--str") && "--strict"sv.starts_with(name)) ||
               (name.starts_with("--ch") && "--check"sv.starts_with(name));
    };
    return std::any_of(args.begin(), args.end(), asks);
}

std::string parse_options(const std::vector<std::string>& args, long start, run_options& options) {
    options = defaults(start);
    const po::options_description descriptions = describe(options);
    try {
        po::variables_map parsed;
        const po::parsed_options words =
            po::command_line_parser(spelled_out(args)).options(descriptions).run();
        if (is_strict(args)) {
            std::string slip = first_slip(words.options);
            if (!slip.empty()) return slip;
        }
        po::store(words, parsed);
        po::notify(parsed);
        for (const option_row& row : OPTIONS)
            std::visit([&](auto field) { take_value(parsed[long_name(row)], options.*field); }, row.field);
        return {};
    } catch (const po::error& failure) {
        const auto* unknown = dynamic_cast<const po::unknown_option*>(&failure);
        if (is_strict(args) && unknown != nullptr) return unexpected(unknown->get_option_name());
        const auto has_mark = [](const std::string& word) { return word.find('%') != std::string::npos; };
        if (std::none_of(args.begin(), args.end(), has_mark)) return failure.what();
    }
    // The library replaces placeholders like %value% in its message by words of the command line until it
    // finds none. If a word is itself a placeholder, it never ends. So each % is hidden from it.
    constexpr char HIDDEN = '\1';
    std::vector<std::string> words = args;
    for (std::string& word : words) std::replace(word.begin(), word.end(), '%', HIDDEN);
    run_options unused;
    std::string message = parse_options(words, start, unused);
    TOLVANE_ASSERT(!message.empty(), "a line that fails with % fails without");
    std::replace(message.begin(), message.end(), HIDDEN, '%');
    return message;
}

void print_help(long start, std::ostream& out) {
    out << describe(defaults(start)) << std::endl;
}

// ---- checks

namespace {

void check_number(double x, const std::string& option) {
    if (std::isnan(x)) LOG.error("You must specify a number for --" + option);
}

void check_clustering(const run_options& o) {
    if (o.fast.is_given) {
        if (o.cluster_size.is_given) LOG.error("--cluster-size is not compatible with --fast");
        if (o.early_stopping.is_given) LOG.error("--early-stopping is not compatible with --fast");
        return;
    }
    if (!o.cluster_size.is_given) return;
    const double size = o.cluster_size.value;
    check_number(size, "cluster-size");
    TOLVANE_REQUIRE(size > 1, "cluster_size>1",
                    "--cluster-size is the number of haplotypes in a cluster: use 2 or more, at least twice "
                    "--states is usual.");
    constexpr int MOST = std::numeric_limits<int>::max() / 2;
    if (size > MOST) LOG.error("You must specify a cluster size of at most " + sutils::int2str(MOST));
}

void check_match(const run_options& o) {
    const auto refuse = [](const auto& other, const std::string& name) {
        if (other.is_given) LOG.error("--" + name + " is not compatible with --match");
    };
    if (!o.match.is_given) {
        if (o.match_depth.is_given) LOG.error("--match-depth needs --match");
        return;
    }
    refuse(o.cluster_size, "cluster-size");
    refuse(o.fast, "fast");
    refuse(o.early_stopping, "early-stopping");
    refuse(o.learn_rates, "learn-rates");
    if (o.states.value < 1) LOG.error("You must use at least 1 state");
    if (o.match_depth.value < 1) LOG.error("You must use a --match-depth of at least 1");
}

void check_learning(const run_options& o) {
    const auto need_learning = [](const auto& option, const std::string& name) {
        if (option.is_given) LOG.error("--" + name + " needs --match or --learn-rates");
    };
    if (!o.learns_rates()) {
        need_learning(o.match_step, "match-step");
        need_learning(o.mismatch, "mismatch");
        return;
    }
    check_number(o.match_step.value, "match-step");
    if (o.match_step.value < 0.001 || o.match_step.value > 1000)
        LOG.error("You must specify a --match-step from 0.001 to 1000 cM");
    if (!o.mismatch.is_given) return;
    check_number(o.mismatch.value, "mismatch");
    if (o.mismatch.value < 1e-6 || o.mismatch.value > 0.5)
        LOG.error("You must specify a --mismatch probability from 0.000001 to 0.5");
}

/// Refuses a word that is none of those allowed.
void check_word(const setting<std::string>& word, const std::string& option,
                const std::vector<std::string>& allowed) {
    if (std::ranges::find(allowed, word.value) != allowed.end()) return;
    std::string text;
    for (const std::string& one : allowed) text += (text.empty() ? "" : ", ") + one;
    LOG.error("You must specify one of these for --" + option + ": " + text);
}

void check_vcf(const run_options& o) {
    check_word(o.map_format, "map-format", {"hapmap", "plink", "table"});
    check_word(o.panel_missing, "panel-missing", {"stop", "exclude"});
    check_word(o.output_index, "output-index", {"csi", "tbi", "none"});
    const auto need = [](const auto& option, const std::string& name, const auto& other,
                         const std::string& other_name) {
        if (option.is_given && !other.is_given) LOG.error("--" + name + " needs --" + other_name);
    };
    need(o.panel_missing, "panel-missing", o.input_ref, "input-ref");
    need(o.output_index, "output-index", o.output_vcf, "output-vcf");
    need(o.output_unphased, "output-unphased", o.output_vcf, "output-vcf");
    need(o.output_unphased, "output-unphased", o.input_vcf, "input-vcf");
    need(o.keep_missing, "keep-missing", o.output_vcf, "output-vcf");
    need(o.reference, "reference", o.output_vcf, "output-vcf");
    need(o.no_version, "no-version", o.output_vcf, "output-vcf");
    if (o.reference.is_given && o.input_vcf.is_given)
        LOG.error("--reference is not compatible with --input-vcf, which has the reference alleles");
    if (o.output_index.value == "tbi" && o.output_vcf.value.ends_with(".bcf"))
        LOG.error("--output-index tbi is for .vcf.gz: the index of a BCF is csi");
    if (o.haploid.is_given && o.input_vcf.is_given)
        LOG.error("--haploid is not compatible with --input-vcf, where a haploid genotype has one allele");
    if (o.region.is_given) parse_region(o.region.value);
}

void check_step(int step, int n_iterations, const std::string& phase) {
    const std::string option = "cluster_" + phase;
    // 0 passes here and ends the run at the first iteration of its phase.
    if (step < 0) LOG.error("You must use " + option + " > 0");
    if (step > n_iterations) LOG.warning(option + " > " + phase + ", check parameters");
}

void check_iterations(int n, const std::string& text, int least, int many) {
    if (n < least) LOG.error("You must use at least " + sutils::int2str(least) + " " + text + " iteration");
    if (n > many) LOG.warning("High number of " + text + " iteration, check parameters");
}

void check_model(const run_options& o) {
    if (o.effective_size.value < 100) LOG.warning("Small effective size, check parameters.");
    if (o.effective_size.value <= 0) LOG.error("You must specify a positive effective size");
    check_number(o.rho.value, "rho");
    if (o.rho.value <= 0 || o.rho.value >= 1)
        LOG.error("You must specify a rho value comprised between 0 and 1");
    check_number(o.input_thr.value, "input-thr");
    if (o.input_thr.value <= 0.5 || o.input_thr.value > 1)
        LOG.error("You must specify a --input-thr value comprised between 0.5 and 1");
    const double window = o.window.value;
    check_number(window, "window");
    if (window < 0.1) LOG.error("You must specify a window size of at least 0.1 Mb");
    if (window * BASES_PER_MB >= std::numeric_limits<int>::max())
        LOG.error("You must specify a window size of at most 2147 Mb");
    if (window > 10) LOG.warning("Long window size may decrease accuracy. No more than 10 Mb is advised.");
}

}  // namespace

void check_options(const run_options& o) {
    if (o.seed.value < 0) LOG.error("Random number generator needs a positive seed value");
    if (o.thread.value < 1) LOG.error("You must use at least 1 thread");
    const int from = o.input_from.value, to = o.input_to.value;
    if (!(to > 0 && from < to && from >= 0))
        LOG.error(
            "The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & "
            "--input-from < input-to");
    if (!o.input_map.is_given) LOG.error("You did not specify a genetic map!");
    check_clustering(o);
    check_match(o);
    check_learning(o);
    check_vcf(o);
    check_step(o.cluster_burn.value, o.burn.value, "burn");
    check_step(o.cluster_prune.value, o.prune.value, "prune");
    check_step(o.cluster_main.value, o.main.value, "main");
    check_iterations(o.burn.value, "burn-in", 0, 100);
    check_iterations(o.prune.value, "pruning", 1, 100);
    check_iterations(o.main.value, "main", 1, 500);
    check_model(o);
}

// ---- echo

void echo_mode(const run_options& o) {
    LOG.printlnL("\nMODE -phase : PHASING GENOTYPE DATA");
    LOG.printlnC("\nMODE \033[33m-phase\033[0m : PHASING GENOTYPE DATA");
    LOG.println("  * Autosome (chr1 ... chr22)");
    LOG.println(o.match.is_given ? "  * Linear time search for the longest matches"
                : o.uses_trees() ? "  * Nlog(N) time Hamming distances calculation (TOLVANE v3)"
                                 : "  * Quadratic time Hamming distances calculation (TOLVANE v2)");
    LOG.println("  * MCMC iteration");
}

namespace {

std::string window_of(const run_options& o) {
    return o.match.is_given && !o.window.is_given
               ? "Windows follow the matches"
               : "Windows of ~" + sutils::double2str(o.window.value, 1) + "Mb";
}

std::string size_of(const run_options& o) {
    return o.learns_rates() && !o.effective_size.is_given ? "Ne follows the matches"
                                                          : "Ne = " + sutils::int2str(o.effective_size.value);
}

std::string mismatch_of(const run_options& o) {
    return o.mismatch.is_given ? "mismatch probability " + sutils::double2str(o.mismatch.value, 6)
                               : "mismatch probability follows the matches";
}

}  // namespace

void echo_options(const run_options& o) {
    using sutils::int2str;
    LOG.println("\nParameters :");
    LOG.println("  * Seed : " + int2str(o.seed.value));
    if (o.input_from.is_given || o.input_to.is_given)
        LOG.println("  * Input  window: [" + int2str(o.input_from.value) + " -> " +
                    int2str(o.input_to.value) + "[");
    LOG.println("  * Parallelisation: " + int2str(o.thread.value) + " threads");
    const std::string phases = int2str(o.prune.value) + " P + " + int2str(o.main.value) + " M";
    const long n_iterations = static_cast<long>(o.burn.value) + o.prune.value + o.main.value;
    LOG.println(o.chooses_burn()
                    ? "  * MCMC: burn-in follows the number of people [" + int2str(LEAST_MATCH_BURN) +
                          " to " + int2str(MOST_MATCH_BURN) + " B + " + phases + "]"
                    : "  * MCMC: " + sutils::long2str(n_iterations) + " iterations [" +
                          int2str(o.burn.value) + " B + " + phases + "]");
    const std::string n_states = o.chooses_states()
                                     ? int2str(LEAST_MATCH_STATES) + " to " + int2str(MOST_MATCH_STATES)
                                     : int2str(o.states.value);
    LOG.println("  * Model: " + n_states + " states / " + window_of(o) + " / " + size_of(o));
    if (!o.learns_rates()) return;
    const std::string depth =
        o.match.is_given ? int2str(o.match_depth.value) + " on each side of a site / a" : "A";
    LOG.println("  * Matches: " + depth + " site every " + sutils::double2str(o.match_step.value, 3) +
                "cM / " + mismatch_of(o));
}
