#include "readers/panel_source.h"

#include <set>

#include "readers/study_intake.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

namespace {

constexpr int NONE = -1;
constexpr int FIRST_LINE = 2;  // behind the header of a legend or a list of individuals
constexpr int LEAST_LEGEND_FIELDS = 4;

}  // namespace

panel_source::panel_source(const std::string& legend, const std::string& sample, filter_reader& filter,
                           const std::vector<std::string>& study_individuals, snp_set& variants)
    : study(variants) {
    read_sample(sample, filter, study_individuals);
    read_legend(legend);
}

void panel_source::read_sample(const std::string& sample, filter_reader& filter,
                               const std::vector<std::string>& study_individuals) {
    LOG.println("\nReading sample list [" + sample + "]");
    ifile list(sample);
    std::vector<std::string> words;
    std::set<std::string> individuals(study_individuals.begin(), study_individuals.end());
    list.getLine(text);  // header
    for (int line = 0; list.getLine(text); ++line) {
        const input_line at = {sample, line + FIRST_LINE};
        if (sutils::tokenize(text, words, 1) < 1)
            LOG.error("Line=" + sutils::int2str(line) + " expected at least 1 column!");
        check_identifier(words[0], at);
        const bool is_kept = filter.checkInd(words[0]);
        keeps_column.insert(keeps_column.end(), 2, is_kept);
        if (!is_kept) continue;
        n_kept += 2;
        if (!individuals.insert(words[0]).second)
            LOG.refuse("unique-identifier", sample, at.number, words[0],
                       "an identifier that nobody else in the study or the panel has");
    }
    list.close();
    const int excluded = static_cast<int>(keeps_column.size()) - n_kept;
    LOG.println("  * " + sutils::int2str(n_kept) + " reference haplotypes included");
    if (excluded > 0) LOG.println("  * " + sutils::int2str(excluded) + " reference haplotypes excluded");
}

void panel_source::read_legend(const std::string& legend) {
    LOG.println("\nReading SNPs in [" + legend + "]");
    ifile list(legend);
    std::vector<std::string> words;
    list.getLine(text);  // header
    while (list.getLine(text)) {
        const int n_words = sutils::tokenize(text, words, LEAST_LEGEND_FIELDS);
        // The message always says line 1, whichever line it is.
        if (n_words < LEAST_LEGEND_FIELDS)
            LOG.error("Line=1 found=" + sutils::int2str(n_words) + " fields, expected more  than 4");
        const int position = sutils::str2int(words[1], legend, static_cast<long>(lines.size()) + FIRST_LINE);
        lines.push_back(match(position, words[2], words[3]));
    }
    list.close();
}

panel_source::legend_line panel_source::match(int position, const std::string& a0, const std::string& a1) {
    for (snp& candidate : study.getByPos(position)) {
        const int strand = candidate.strand(a0, a1);
        if (strand < 0) continue;
        candidate.in_ref = true;
        return {candidate.idx, strand == 1};
    }
    return {NONE, false};
}

void panel_source::open(const std::string& haps) {
    LOG.println("\nReading reference haplotypes in [" + haps + "]");
    if (!stream.open(haps)) LOG.error(futils::cannotOpen(haps));
}

bool panel_source::read(haplotype_block& block) {
    block.variants.clear();
    block.words.assign(n_kept, 0);
    while (!is_finished && block.variants.size() < BLOCK_VARIANTS) {
        if (row == lines.size() || !stream.getLine(text)) {
            finish();
            break;
        }
        if (lines[row].target != NONE) take_row(block);
        ++row;
    }
    return !block.variants.empty();
}

void panel_source::take_row(haplotype_block& block) {
    const int n_fields = sutils::tokenize(text, fields);
    if (n_fields != static_cast<int>(keeps_column.size()))
        LOG.error("Line=" + std::to_string(row + 1) + " found=" + sutils::int2str(n_fields) +
                  " fields, expected=" + std::to_string(keeps_column.size()));
    const std::size_t j = block.variants.size();
    snp& variant = block.variants.emplace_back(*study.getByIndex(lines[row].target));
    variant.is_turned = lines[row].is_turned;
    if (LOG.isStrict()) check_alleles();
    std::uint64_t* word = block.words.data();
    for (std::size_t column = 0; column < fields.size(); ++column)
        if (keeps_column[column]) *word++ |= std::uint64_t{fields[column] == "1"} << j;
}

void panel_source::check_alleles() const {
    for (const std::string_view allele : fields)
        if (allele != "0" && allele != "1")
            LOG.refuse("panel-allele", stream.name(), static_cast<long>(row) + 1,
                       "[" + std::string(allele) + "]", "0 or 1");
}

void panel_source::finish() {
    is_finished = true;
    long beyond = 0;
    while (row == lines.size() && stream.getLine(text)) ++beyond;
    const std::string haps = stream.name();
    stream.close();
    if (row < lines.size() || beyond > 0)
        LOG.refuse("panel-length", haps, 0, std::to_string(static_cast<long>(row) + beyond) + " lines",
                   "one for each of the " + std::to_string(lines.size()) + " of the legend");
    if (beyond > 0)
        LOG.warning(sutils::long2str(beyond) + " lines of [" + haps +
                    "] lie beyond the last line of the legend and were not used");
}
