// tolvane-evaluate: compares estimated haplotypes with the true ones.

#include <boost/program_options.hpp>
#include <cstdio>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "tools/evaluation.h"
#include "tools/text_file.h"

namespace {

namespace options = boost::program_options;
using evaluation::CalledSet;
using evaluation::PersonScore;
using evaluation::PhasedSet;
using evaluation::PhaseMask;
using evaluation::Report;
using evaluation::Score;

using Paths = std::vector<std::string>;

options::options_description described_options() {
    options::options_description description("Compares estimated haplotypes with the true ones");
    description.add_options()                                                                              //
        ("help,h", "print this text")                                                                      //
        ("truth", options::value<Paths>()->multitoken()->required(), "HAPS and SAMPLE file of the truth")  //
        ("estimate", options::value<Paths>()->multitoken()->required(),
         "HAPS and SAMPLE file to evaluate")  //
        ("genotypes", options::value<std::string>(),
         "prefix of the BED, BIM and FAM files that were phased")                               //
        ("gen", options::value<Paths>()->multitoken(), "GEN and SAMPLE file that were phased")  //
        ("threshold", options::value<double>()->default_value(0.9, "0.9"),
         "minimum probability to call a genotype in the GEN file")                               //
        ("mask", options::value<std::string>(), "what is known about the truth")                 //
        ("people", options::value<std::string>(), "file with the ids of the people to compare")  //
        ("per-person", options::value<std::string>(), "file to write a table of all people to");
    return description;
}

// The HAPS or GEN file and the SAMPLE file that an option gives.
Paths file_pair(const options::variables_map& values, const std::string& option) {
    const Paths& paths = values[option].as<Paths>();
    if (paths.size() != 2) throw std::invalid_argument("--" + option + " takes two files");
    return paths;
}

PhasedSet read_phased(const options::variables_map& values, const std::string& option) {
    const Paths paths = file_pair(values, option);
    return evaluation::read_phased(paths[0], paths[1]);
}

std::optional<CalledSet> read_given(const options::variables_map& values) {
    if (values.contains("genotypes") && values.contains("gen")) {
        throw std::invalid_argument("only one of --genotypes and --gen can be given");
    }
    if (values.contains("genotypes")) {
        return evaluation::read_plink(values["genotypes"].as<std::string>());
    }
    if (!values.contains("gen")) return std::nullopt;
    const double threshold = values["threshold"].as<double>();
    if (!(threshold > 0.5 && threshold <= 1))
        throw std::invalid_argument("--threshold must be above 0.5 and at most 1");
    const Paths paths = file_pair(values, "gen");
    return evaluation::read_gen(paths[0], paths[1], threshold);
}

Report compare(const options::variables_map& values) {
    const PhasedSet truth = read_phased(values, "truth");
    const PhasedSet estimate = read_phased(values, "estimate");
    const std::optional<CalledSet> given = read_given(values);
    std::optional<PhaseMask> mask;
    std::optional<Paths> people;
    if (values.contains("mask")) mask = evaluation::read_mask(values["mask"].as<std::string>(), truth);
    if (values.contains("people")) people = evaluation::read_ids(values["people"].as<std::string>());
    return evaluation::evaluate({.truth = truth,
                                 .given = given ? &*given : nullptr,
                                 .mask = mask ? &*mask : nullptr,
                                 .people = people ? &*people : nullptr},
                                estimate);
}

std::string formatted(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// A percentage, or "-" if there was nothing to count.
std::string percent(double rate, std::int64_t counted) {
    return counted == 0 ? "-" : formatted("%.3f %%", 100 * rate);
}

void print(const Report& report) {
    const Score total = report.total();
    std::cout << "people compared: " << report.people.size() << '\n'
              << "variants compared: " << report.variants << '\n'
              << "heterozygous sites scored: " << total.heterozygotes << '\n'
              << "pairs of heterozygous sites: " << total.pairs << '\n'
              << "switch errors: " << total.switches << '\n'
              << "switch error rate: " << percent(total.switch_error_rate(), total.pairs) << '\n'
              << "mean length between switches: " << formatted("%.0f", total.mean_bases_between_switches())
              << " bp, " << formatted("%.1f", total.mean_sites_between_switches()) << " heterozygous sites\n"
              << "genotypes compared: " << total.called << '\n'
              << "genotype mismatches: " << total.mismatches << '\n'
              << "missing genotypes filled in: " << total.filled << '\n'
              << "missing genotypes filled in wrong: " << total.filled_wrong << '\n'
              << "error rate at missing genotypes: " << percent(total.filling_error_rate(), total.filled)
              << '\n';
}

std::string table_row(const PersonScore& person) {
    const Score& score = person.score;
    std::string row = person.id;
    for (const std::int64_t count : {score.heterozygotes, score.pairs, score.switches, score.called,
                                     score.mismatches, score.filled, score.filled_wrong}) {
        row += '\t' + std::to_string(count);
    }
    return row + '\t' + formatted("%.6f", score.switch_error_rate()) + '\t' +
           formatted("%.0f", score.mean_bases_between_switches()) + '\n';
}

void write_table(const Report& report, const std::string& path) {
    tools::TextWriter file(path);
    file.write(
        "id\theterozygotes\tpairs\tswitches\tgenotypes\tmismatches\tfilled\tfilled_wrong\tswitch_error_rate\t"
        "mean_bp_between_switches\n");
    for (const PersonScore& person : report.people) file.write(table_row(person));
    file.close();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const options::options_description description = described_options();
        const options::positional_options_description no_positions;
        options::variables_map values;
        options::store(
            options::command_line_parser(argc, argv).options(description).positional(no_positions).run(),
            values);
        if (values.contains("help")) {
            std::cout << description;
            return 0;
        }
        options::notify(values);
        const Report report = compare(values);
        print(report);
        if (values.contains("per-person")) write_table(report, values["per-person"].as<std::string>());
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "tolvane-evaluate: " << error.what() << '\n';
        return 1;
    }
}
