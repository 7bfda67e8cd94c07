// Reading BED and GEN, decoding BED, writing HAPS. An item is one genotype; the byte rate refers to the file
// on disk.
#include <filesystem>
#include <list>
#include <random>

#include "cohort.h"
#include "comparison.h"
#include "readers/bed_decoding.h"
#include "readers/bed_source.h"
#include "readers/gen_source.h"
#include "tools/cohort_files.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "writers/haplotype_writer.h"

namespace {

constexpr int ALL = 2147483647;

/// A filter that keeps everything.
filter_reader keeping_all() {
    filter_reader filter;
    filter.initialise(0, ALL);
    return filter;
}

double size_of(const std::string& file) {
    return static_cast<double>(std::filesystem::file_size(file));
}

/// Whether the store has the genotypes of the cohort.
bool holds(const genotype_store& store, const bench::cohort& data) {
    for (int l = 0; l < store.snps.size(); ++l) {
        const auto observed = simulation::observed_genotypes(data.simulated, l);
        for (std::size_t i = 0; i < observed.size(); ++i) {
            const bool missing = observed[i] == simulation::Genotype::missing;
            const int copies = store.allele_a[i].get(l) + store.allele_b[i].get(l);
            if (store.missing[i].get(l) != missing || copies != (missing ? 0 : static_cast<int>(observed[i])))
                return false;
        }
    }
    return true;
}

void compare_decoding(int individuals) {
    const int stride = (individuals + 3) / 4;
    static std::list<std::vector<unsigned char>> held;
    std::vector<unsigned char>& rows = held.emplace_back(static_cast<std::size_t>(stride) * BLOCK_VARIANTS);
    std::mt19937 random(5);
    for (unsigned char& byte : rows) byte = static_cast<unsigned char>(random());
    static std::vector<genotype_word> words;
    words.resize(individuals);
    decode_bed(rows.data(), stride, individuals, words.data());
    const std::vector<genotype_word> decoded = words;
    decode_bed_plain(rows.data(), stride, individuals, words.data());
    bench::expect(words == decoded, "decode_bed");
    bench::comparison("decode BED/" + std::to_string(individuals) + " individuals",
                      static_cast<double>(individuals) * BLOCK_VARIANTS,
                      [=, &rows] { decode_bed_plain(rows.data(), stride, individuals, words.data()); })
        .way("program", [=, &rows] { decode_bed(rows.data(), stride, individuals, words.data()); });
}

void measure_reading(const bench::folder& files, const bench::cohort& data, const std::string& size) {
    simulation::write_bed(data.simulated, files.at("c"));
    simulation::write_gen(data.simulated, files.at("c"), false, 0);
    simulation::write_gen(data.simulated, files.at("c"), true, 0);
    simulation::write_gen(data.simulated, files.at("soft"), false, 12);
    const auto genotypes = static_cast<double>(data.simulated.loci.size() * data.simulated.study_ids.size());

    filter_reader filter = keeping_all();
    const auto bed = [&files, &filter] {
        bed_source source(files.at("c.bed"), files.at("c.bim"), files.at("c.fam"), filter);
        return read_study(source);
    };
    bench::expect(holds(bed(), data), "reading BED");
    bench::alone("BED, BIM and FAM/" + size, genotypes, size_of(files.at("c.bed")), bed);
    for (const std::string name : {"c.gen", "c.gen.gz", "soft.gen"}) {
        const std::string sample = name == "soft.gen" ? "soft.sample" : "c.sample";
        const auto gen = [&files, &filter, name, sample] {
            gen_source source(files.at(name), files.at(sample), 0.9, filter);
            return read_study(source);
        };
        bench::expect(name == "soft.gen" || holds(gen(), data), "reading GEN");
        bench::alone((name == "c.gen"      ? "GEN, called/"
                      : name == "soft.gen" ? "GEN, uncertain/"
                                           : "GEN.gz, called/") +
                         size,
                     genotypes, size_of(files.at(name)), gen);
        bench::alone("lines of " + name + " alone/" + size, genotypes, size_of(files.at(name)),
                     [&files, name] {
                         ifile stream(files.at(name));
                         std::string line;
                         while (stream.getLine(line)) benchmark::DoNotOptimize(line.data());
                     });
    }
}

void measure_writing(const bench::folder& files, const bench::cohort& data, const std::string& size) {
    const auto write = [&files, &data] {
        output_files outputs;
        haps_sink sink(outputs, files.at("w.haps"), files.at("w.sample"));
        write_haplotypes(data.haplotypes, sink);
    };
    write();
    const auto genotypes = static_cast<double>(data.simulated.loci.size() * data.simulated.study_ids.size());
    bench::alone("HAPS/" + size, genotypes, size_of(files.at("w.haps")), write);
}

}  // namespace

int main(int argc, char** argv) {
    LOG.muteC();
    LOG.muteL();
    for (const int individuals : {200, 1000, 5000}) compare_decoding(individuals);
    const bench::folder files;
    const bench::cohort data(1000, 10, 250);
    measure_reading(files, data, "1000 x 2500");
    measure_writing(files, data, "1000 x 2500");
    return bench::run(argc, argv);
}
