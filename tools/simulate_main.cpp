// tolvane-simulate: writes a simulated cohort with known true haplotypes.

#include <boost/program_options.hpp>
#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>

#include "tools/cohort_files.h"

namespace {

namespace options = boost::program_options;
using simulation::Ascertainment;
using simulation::Cohort;
using simulation::Settings;

struct Request {
    Settings settings;
    std::string prefix;
    std::set<std::string> forms;
    double read_depth = 0;
};

options::options_description described_options(Request& request) {
    Settings& s = request.settings;
    options::options_description description(
        "Simulates genotypes of one chromosome region with known haplotypes");
    const auto with_default = [](auto* value) {
        std::ostringstream text;
        text << *value;
        return options::value(value)->default_value(*value, text.str());
    };
    description.add_options()                                                                   //
        ("help,h", "print this text")                                                           //
        ("out,O", options::value(&request.prefix)->required(), "prefix of the files to write")  //
        ("write", options::value<std::string>()->default_value("bed,map,truth.gz"),
         "formats to write, separated by commas: bed, gen, gen.gz, vcf, map, map.gz, truth, truth.gz")  //
        ("seed", with_default(&s.seed), "the same seed gives the same files on every machine")          //
        ("individuals", with_default(&s.individuals), "individuals in the study")                       //
        ("panel", with_default(&s.panel_individuals),
         "further individuals of the same population, written as a reference panel")  //
        ("panel-lacks", with_default(&s.absent_in_panel_rate),
         "rate of variants of the study absent from the panel")  //
        ("panel-extra", with_default(&s.extra_in_panel_rate),
         "variants only in the panel, per variant of the study")                         //
        ("chromosome", with_default(&s.chromosome), "name of the chromosome")            //
        ("first-position", with_default(&s.first_position), "first base of the region")  //
        ("megabases", with_default(&s.megabases), "length of the region in Mb")          //
        ("density", with_default(&s.density), "variants of the study per Mb")            //
        ("ascertainment", options::value<std::string>()->default_value("array"),
         "how variants were found: array (mostly common ones) or sequence (mostly rare ones)")          //
        ("indels", with_default(&s.indel_rate), "rate of insertions and deletions among the variants")  //
        ("missing", with_default(&s.missing_rate), "rate of missing genotypes")                         //
        ("error", with_default(&s.error_rate), "rate of wrong genotypes")                               //
        ("soft", with_default(&request.read_depth),
         "mean number of sequencing reads per genotype; if above 0, GEN probabilities are uncertain");
    return description;
}

Ascertainment parse_ascertainment(const std::string& name) {
    if (name == "array") return Ascertainment::array;
    if (name == "sequence") return Ascertainment::sequence;
    throw std::invalid_argument("--ascertainment is either array or sequence, not " + name);
}

std::set<std::string> parse_forms(const std::string& list) {
    static const std::set<std::string> known{"bed", "gen",    "gen.gz", "vcf",
                                             "map", "map.gz", "truth",  "truth.gz"};
    std::set<std::string> forms;
    for (std::size_t start = 0; start <= list.size();) {
        const std::size_t end = std::min(list.find(',', start), list.size());
        const std::string form = list.substr(start, end - start);
        if (!known.contains(form)) throw std::invalid_argument("--write: unknown format '" + form + "'");
        forms.insert(form);
        start = end + 1;
    }
    return forms;
}

// Returns false if only help was requested.
bool parse(int argc, char** argv, Request& request) {
    const options::options_description description = described_options(request);
    const options::positional_options_description no_positions;
    options::variables_map values;
    options::store(
        options::command_line_parser(argc, argv).options(description).positional(no_positions).run(), values);
    if (values.contains("help")) {
        std::cout << description;
        return false;
    }
    options::notify(values);
    request.settings.ascertainment = parse_ascertainment(values["ascertainment"].as<std::string>());
    request.forms = parse_forms(values["write"].as<std::string>());
    if (!(request.read_depth >= 0 && request.read_depth <= 1000)) {
        throw std::invalid_argument("--soft must be between 0 and 1000");
    }
    return true;
}

void write(const Cohort& cohort, const Request& request) {
    using namespace simulation;
    const auto wanted = [&](const char* form) { return request.forms.contains(form); };
    const std::string& prefix = request.prefix;
    if (wanted("bed")) write_bed(cohort, prefix);
    if (wanted("gen")) write_gen(cohort, prefix, false, request.read_depth);
    if (wanted("gen.gz")) write_gen(cohort, prefix, true, request.read_depth);
    if (wanted("vcf")) write_vcf(cohort, prefix);
    if (wanted("map")) write_map(cohort, prefix, false);
    if (wanted("map.gz")) write_map(cohort, prefix, true);
    if (wanted("truth")) write_truth(cohort, prefix, false);
    if (wanted("truth.gz")) write_truth(cohort, prefix, true);
    if (!cohort.panel_ids.empty()) write_panel(cohort, prefix);
    if (!cohort.panel_ids.empty() && wanted("vcf")) write_panel_vcf(cohort, prefix);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Request request;
        if (parse(argc, argv, request)) write(simulation::simulate(request.settings), request);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "tolvane-simulate: " << error.what() << '\n';
        return 1;
    }
}
