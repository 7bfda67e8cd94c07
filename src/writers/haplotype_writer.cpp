#include "writers/haplotype_writer.h"

#include <vector>

#include "models/column_kernels.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

/// Appends a blank and a digit for each of `n` alleles.
void appendAlleles(std::string& line, const unsigned char* alleles, int n) {
    const std::size_t start = line.size();
    line.resize(start + 2 * static_cast<std::size_t>(n));
    char* text = line.data() + start;
    for (int i = 0; i < n; ++i) {
        text[2 * i] = ' ';
        text[2 * i + 1] = static_cast<char>('0' + alleles[i]);
    }
}

}  // namespace

void haplotype_writer::writeHaplotypeHap(const std::string& haps, const std::string& sample) const {
    LOG.println("\nWriting sample information in [" + sample + "] in IMPUTE2 format");
    writeSample(sample);
    LOG.println("\nWriting haplotypes in [" + haps + "] in IMPUTE format");
    writeHaps(haps);
}

void haplotype_writer::writeSample(const std::string& sample) const {
    ofile stream(sample);
    stream.writeText("ID_1 ID_2 missing\n0 0 0\n");
    for (const genotype_graph* graph : GH.vecG) stream.writeText(graph->name + " " + graph->name + " 0\n");
    stream.close();
}

void haplotype_writer::writeHaps(const std::string& haps) const {
    constexpr int BYTE = 8, WORD = 64;  // loci
    ofile stream(haps);
    const int n_haplotypes = 2 * static_cast<int>(GH.vecG.size());
    std::vector<std::uint64_t> words(n_haplotypes);
    std::vector<unsigned char> alleles(BYTE * words.size());
    std::string line;
    for (int l = 0; l < GH.snps->size(); ++l) {
        if (l % WORD == 0)
            for (int h = 0; h < n_haplotypes; ++h) words[h] = GH.vecH[h].get64(l);
        if (l % BYTE == 0)
            column_kernels::kernels().unpack(words.data(), l % WORD / BYTE, n_haplotypes, alleles.data());
        const snp* variant = GH.snps->getByIndex(l);
        line = variant->id + " " + variant->id + " " + sutils::int2str(variant->bp) + " " + variant->a0 +
               " " + variant->a1;
        appendAlleles(line, alleles.data() + (l % BYTE) * words.size(), n_haplotypes);
        line += '\n';
        stream.writeText(line);
    }
    stream.close();
}
