// Options, a genetic map, BIM, FAM and BED of a short whole run, from command line to files. Its haplotypes
// must be consistent with the genotypes.

#include <fstream>

#include "modes/phaser.h"
#include "readers/bed_source.h"
#include "support.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

namespace {

constexpr std::size_t MOST_BYTES = 600;
constexpr long START = 1;

struct files {
    fuzz::memory_file map{"run.map"}, bim{"run.bim"}, fam{"run.fam"}, bed{"run.bed"}, haps{"out.haps"},
        sample{"out.sample"};
};

std::vector<std::string> command_line(const files& f, fuzz::input& bytes) {
    const unsigned knobs = bytes.byte();
    const auto number = [&bytes](unsigned range) { return std::to_string(bytes.byte() % range); };
    std::vector<std::string> words{"tolvane",     "-B",
                                   f.bed.name(),  f.bim.name(),
                                   f.fam.name(),  "-M",
                                   f.map.name(),  "-O",
                                   f.haps.name(), f.sample.name(),
                                   "-L",          fuzz::folder() + "/run.log",
                                   "--prune",     "1",
                                   "--main",      "1",
                                   "--seed",      number(256),
                                   "--burn",      number(3),
                                   "--window",    number(3) + ".1",
                                   "--input-to",  "2147483647"};
    if (knobs & 1) words.insert(words.end(), {"--states", number(20)});
    if (knobs & 2) words.emplace_back("--early-stopping");
    if (knobs & 4) words.insert(words.end(), {"--cluster-size", number(20)});
    if (knobs & 8) words.emplace_back("--match");
    return words;
}

/// Compares the written haplotypes with the genotypes, allele by allele as text.
void check_output(const files& f) {
    filter_reader filter;
    filter.initialise(0, 2147483647);
    bed_source source(f.bed.name(), f.bim.name(), f.fam.name(), filter);
    const genotype_store given = read_study(source);
    const std::size_t n_individuals = given.ind_ids.size();

    std::ifstream stream(f.haps.name());
    std::string line;
    std::vector<std::string> fields;
    for (const snp& variant : given.snps.snp_list) {
        FUZZ_LAW(std::getline(stream, line));
        sutils::tokenize(line, fields);
        FUZZ_LAW(fields.size() == 5 + 2 * n_individuals);
        FUZZ_LAW(fields[2] == std::to_string(variant.bp));
        for (std::size_t i = 0; i < n_individuals; ++i) {
            const std::string &h0 = fields[5 + 2 * i], &h1 = fields[6 + 2 * i];
            FUZZ_LAW((h0 == "0" || h0 == "1") && (h1 == "0" || h1 == "1"));
            if (given.missing[i][variant.idx]) continue;
            const bool a = given.allele_a[i][variant.idx], b = given.allele_b[i][variant.idx];
            FUZZ_LAW((h0 != h1) == (a != b));
            if (a == b) FUZZ_LAW(fields[h0 == "0" ? 3 : 4] == (a ? variant.a1 : variant.a0));
        }
    }
    FUZZ_LAW(!std::getline(stream, line));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > MOST_BYTES) return -1;  // long inputs take time and find little more
    static files f;
    fuzz::input bytes(data, size);
    const std::vector<std::string> words = command_line(f, bytes);
    for (fuzz::memory_file* file : {&f.map, &f.bim, &f.fam}) file->fill(bytes.part());
    f.bed.fill(bytes.rest());

    const fuzz::open_files opened;
    const bool complete = fuzz::completes([&] { phaser(words, START).phase(); });
    LOG.close();
    if (complete) check_output(f);
    return 0;
}
