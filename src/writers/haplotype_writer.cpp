#include "writers/haplotype_writer.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "objects/bit_kernels.h"
#include "utils/lfile.h"

namespace {

constexpr int BYTE_VARIANTS = 8;

/// Appends a blank and a digit for each of `n` alleles.
void append_alleles(std::string& line, const unsigned char* alleles, std::size_t n) {
    const std::size_t start = line.size();
    line.resize(start + 2 * n);
    char* text = line.data() + start;
    for (std::size_t i = 0; i < n; ++i) {
        text[2 * i] = ' ';
        text[2 * i + 1] = static_cast<char>('0' + alleles[i]);
    }
}

}  // namespace

void write_haplotypes(const genhap_set& set, haplotype_sink& sink) {
    std::vector<std::string> individuals;
    for (const genotype_graph& graph : set.vecG) individuals.push_back(graph.name);
    sink.begin(individuals);
    haplotype_block block;
    block.words.resize(2 * set.vecG.size());
    const auto& variants = set.snps.snp_list;
    for (int first = 0; first < set.snps.size(); first += BLOCK_VARIANTS) {
        const int end = std::min(first + BLOCK_VARIANTS, set.snps.size());
        block.variants.assign(variants.begin() + first, variants.begin() + end);
        for (std::size_t h = 0; h < block.words.size(); ++h) block.words[h] = set.vecH[h].get64(first);
        sink.write(block);
    }
    sink.close();
}

void publish(std::span<result_sink* const> sinks, output_files& outputs) {
    const auto stop_keeping = [&](std::string failure) {
        for (result_sink* sink : sinks) failure += "; " + sink->keep();
        LOG.error(failure);
    };
    const std::string replaced = outputs.replaced();
    if (!replaced.empty()) stop_keeping(replaced + " was replaced while this run was working");
    for (result_sink* sink : sinks) {
        const std::string failure = sink->publish();
        if (!failure.empty()) stop_keeping(failure);
    }
}

haps_sink::haps_sink(output_files& run_outputs, std::string haps, std::string sample)
    : outputs(run_outputs), haps_name(std::move(haps)), sample_name(std::move(sample)) {}

void haps_sink::begin(const std::vector<std::string>& individuals) {
    LOG.println("\nWriting sample information in [" + sample_name + "] in IMPUTE2 format");
    outputs.open(sample_name, people);
    line = "ID_1 ID_2 missing\n0 0 0\n";
    for (const std::string& name : individuals) line.append(name).append(" ").append(name).append(" 0\n");
    people.writeText(line);
    people.finish();
    LOG.println("\nWriting haplotypes in [" + haps_name + "] in IMPUTE format");
    outputs.open(haps_name, stream);
}

void haps_sink::write(const haplotype_block& block) {
    const std::size_t n = block.words.size();
    alleles.resize(BYTE_VARIANTS * n);
    for (std::size_t j = 0; j < block.variants.size(); ++j) {
        const std::size_t byte = j / BYTE_VARIANTS, bit = j % BYTE_VARIANTS;
        if (bit == 0)
            bit_kernels::kernels().unpack(block.words.data(), static_cast<int>(byte), static_cast<int>(n),
                                          alleles.data());
        const snp& variant = block.variants[j];
        line = variant.id + " " + variant.id + " " + std::to_string(variant.bp) + " " + variant.a0 + " " +
               variant.a1;
        append_alleles(line, alleles.data() + bit * n, n);
        line += '\n';
        stream.writeText(line);
    }
}

void haps_sink::close() {
    stream.finish();
}

std::string haps_sink::publish() {
    for (ofile* file : {&stream, &people}) {
        const int reason = file->tryPublish();
        if (reason != 0)
            return file->name() +
                   " could not be replaced by the result of this run: " + std::strerror(reason);
    }
    return {};
}

std::string haps_sink::keep() {
    return "its haplotypes are in " + stream.keep() + ", its list of individuals in " + people.keep();
}
