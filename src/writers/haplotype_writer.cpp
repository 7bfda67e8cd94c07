#include "writers/haplotype_writer.h"

#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

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
    ofile stream(haps);
    const std::size_t n_haplotypes = 2 * GH.vecG.size();
    std::string line;
    for (int l = 0; l < GH.snps->size(); ++l) {
        const snp* variant = GH.snps->getByIndex(l);
        line = variant->id + " " + variant->id + " " + sutils::int2str(variant->bp) + " " + variant->a0 +
               " " + variant->a1;
        for (std::size_t h = 0; h < n_haplotypes; ++h) {
            line += ' ';
            line += GH.vecH[h].get(l) ? '1' : '0';
        }
        line += '\n';
        stream.writeText(line);
    }
    stream.close();
}
