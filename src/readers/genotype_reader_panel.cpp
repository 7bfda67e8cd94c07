#include <string_view>

#include "readers/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

constexpr int NONE = -1;
constexpr int LEAST_LEGEND_FIELDS = 4;

}  // namespace

void genotype_reader::readHaplotypeImpute(const std::string& haps, const std::string& legend,
                                          const std::string& sample) {
    const std::vector<int> hap_slot = readPanelSample(sample);
    const std::vector<legend_line> lines = readPanelLegend(legend);
    checkPanelCovers();
    readPanelHaps(haps, hap_slot, lines);
}

/// Index in ref_haps of each column of the HAPS file, NONE for those of an excluded individual.
std::vector<int> genotype_reader::readPanelSample(const std::string& sample) const {
    LOG.println("\nReading sample list [" + sample + "]");
    std::vector<int> hap_slot;
    int included = 0, excluded = 0;
    ifile stream(sample);
    std::string text;
    std::vector<std::string> fields;
    stream.getLine(text);  // header
    for (int line = 0; stream.getLine(text); ++line) {
        if (sutils::tokenize(text, fields, 1) < 1)
            LOG.error("Line=" + sutils::int2str(line) + " expected at least 1 column!");
        for (int column = 0; column < 2; ++column) {
            const bool kept = genotype_filter.checkInd(fields[0]);
            hap_slot.push_back(kept ? included++ : NONE);
            excluded += !kept;
        }
    }
    stream.close();
    LOG.println("  * " + sutils::int2str(included) + " reference haplotypes included");
    if (excluded > 0) LOG.println("  * " + sutils::int2str(excluded) + " reference haplotypes excluded");
    return hap_slot;
}

/// The study variant that each line matches, by position and alleles. A variant may be matched by several
/// lines; of two alike variants at one position only the first is ever matched.
std::vector<genotype_reader::legend_line> genotype_reader::readPanelLegend(const std::string& legend) const {
    LOG.println("\nReading SNPs in [" + legend + "]");
    std::vector<legend_line> lines;
    ifile stream(legend);
    std::string text;
    std::vector<std::string> fields;
    stream.getLine(text);  // header
    while (stream.getLine(text)) {
        const int n_fields = sutils::tokenize(text, fields, LEAST_LEGEND_FIELDS);
        // Whatever the line, its number is told as 1: scripts match this message as it stands.
        if (n_fields < LEAST_LEGEND_FIELDS)
            LOG.error("Line=1 found=" + sutils::int2str(n_fields) + " fields, expected more  than 4");
        legend_line line{NONE, false};
        const int position = sutils::str2int(fields[1], legend, static_cast<long>(lines.size()) + 1);
        for (snp* candidate : snps->getByPos(position)) {
            const int strand = candidate->strand(fields[2], fields[3]);
            if (strand < 0) continue;
            candidate->in_ref = true;
            line = {candidate->idx, strand == 1};
            break;
        }
        lines.push_back(line);
    }
    stream.close();
    return lines;
}

/// Ends the run when a study variant has no match, after leaving two files that name such variants.
void genotype_reader::checkPanelCovers() const {
    LOG.println("\nChecking that all SNPs in main panel are also within the reference panel");
    std::vector<const snp*> absent;
    for (const snp* variant : snps->snp_list)
        if (!variant->in_ref) absent.push_back(variant);
    if (absent.empty()) {
        LOG.println("  * All variants have been found in the reference panel");
        return;
    }
    const std::string prefix = lfile::getPrefix(LOG.name());
    ofile table(prefix + ".snp.strand");
    ofile positions(prefix + ".snp.strand.exclude");
    table.writeText("pos\tid\tA\tB\n");
    for (const snp* variant : absent) {
        const std::string position = sutils::int2str(variant->bp);
        table.writeText(position + "\t" + variant->id + "\t" + variant->a0 + "\t" + variant->a1 + "\n");
        positions.writeText(position + "\n");
    }
    table.close();
    positions.close();
    LOG.println("  * " + std::to_string(absent.size()) +
                " variants could not be found in the reference panel, please exclude them!");
    LOG.error("Reference and Main panels are not well aligned!");
}

void genotype_reader::readPanelHaps(const std::string& haps, const std::vector<int>& hap_slot,
                                    const std::vector<legend_line>& lines) {
    std::size_t n_kept = 0;
    for (const int slot : hap_slot) n_kept += slot != NONE;
    // As long as the legend, though indexed by study variant: the bits behind the study's stay 0.
    ref_haps.assign(n_kept, chaplotype(static_cast<unsigned>(lines.size())));

    LOG.println("\nReading reference haplotypes in [" + haps + "]");
    ifile stream(haps);
    std::string text;
    std::vector<std::string_view> fields;
    std::size_t row = 0;
    for (; row < lines.size() && stream.getLine(text); ++row) {
        if (lines[row].target == NONE) continue;
        const int n_fields = sutils::tokenize(text, fields);
        if (n_fields != static_cast<int>(hap_slot.size()))
            LOG.error("Line=" + std::to_string(row + 1) + " found=" + sutils::int2str(n_fields) +
                      " fields, expected=" + std::to_string(hap_slot.size()));
        for (std::size_t c = 0; c < hap_slot.size(); ++c)
            if (hap_slot[c] != NONE)
                ref_haps[hap_slot[c]].set(lines[row].target, (fields[c] == "1") != lines[row].flip);
    }
    long beyond = 0;
    while (row == lines.size() && stream.getLine(text)) ++beyond;
    stream.close();
    if (beyond > 0)
        LOG.warning(sutils::long2str(beyond) + " lines of [" + haps +
                    "] lie beyond the last line of the legend and were not used");
}
