#include "readers/vcf_panel.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "utils/lfile.h"

namespace {

/// Whether a list of alleles, joined by commas, has one.
bool has_allele(std::string_view list, std::string_view allele) {
    while (!list.empty()) {
        const std::string_view first = list.substr(0, list.find(','));
        if (first == allele) return true;
        list.remove_prefix(std::min(first.size() + 1, list.size()));
    }
    return false;
}

}  // namespace

vcf_panel::vcf_panel(vcf_file& input, filter_reader& filter,
                     const std::vector<std::string>& study_individuals, snp_set& study_variants)
    : file(input), study(study_variants) {
    LOG.println("\nReading reference haplotypes in [" + file.name() + "] in VCF or BCF format");
    std::set<std::string> taken(study_individuals.begin(), study_individuals.end());
    const std::vector<std::string> individuals = file.individuals();
    for (std::size_t i = 0; i < individuals.size(); ++i) {
        if (!filter.checkInd(individuals[i])) continue;
        kept.push_back(static_cast<int>(i));
        if (!taken.insert(individuals[i]).second)
            LOG.refuse("unique-identifier", file.name(), 0, individuals[i],
                       "an identifier that nobody else in the study or the panel has");
    }
    alleles.resize(2 * kept.size());
    LOG.println("  * " + std::to_string(alleles.size()) + " reference haplotypes included");
    const std::size_t n_excluded = 2 * (individuals.size() - kept.size());
    if (n_excluded > 0) LOG.println("  * " + std::to_string(n_excluded) + " reference haplotypes excluded");
}

bool vcf_panel::read(haplotype_block& block) {
    block.variants.clear();
    block.words.assign(alleles.size(), 0);
    while (!is_at_end && block.variants.size() < BLOCK_VARIANTS) {
        is_at_end = !file.next();
        if (is_at_end)
            LOG.println("  * " + std::to_string(n_matched) + " of " + std::to_string(file.n_read()) +
                        " records are variants of the study");
        else if (!study.getByPos(static_cast<int>(file.position())).empty())
            take_record(block);
    }
    return !block.variants.empty();
}

void vcf_panel::take_record(haplotype_block& block) {
    read_alleles();
    for (snp& candidate : study.getByPos(static_cast<int>(file.position()))) {
        bool is_turned = false;
        // Of several equal records, the first one counts.
        if (candidate.in_ref || !matches(candidate, is_turned)) continue;
        ++n_matched;
        candidate.in_ref = true;
        const std::size_t j = block.variants.size();
        block.variants.push_back(candidate);
        block.variants.back().is_turned = is_turned;
        for (std::size_t h = 0; h < alleles.size(); ++h)
            block.words[h] |= std::uint64_t{is_second[alleles[h]]} << j;
        return;
    }
}

/// Reads the alleles of all haplotypes. A haploid individual gets its allele twice.
void vcf_panel::read_alleles() {
    const std::span<const std::int32_t> all = values.read(file.header(), file.record());
    if (all.empty()) file.stop("a panel has genotypes in each record, and this one has none");
    const std::size_t width = all.size() / bcf_hdr_nsamples(file.header());
    const int n_alleles = file.record()->n_allele;
    for (std::size_t k = 0; k < kept.size(); ++k) {
        const auto stop = [&](const std::string& problem) {
            file.stop("individual " + std::string(file.header()->samples[kept[k]]) + " of the panel " +
                      problem);
        };
        const std::span<const std::int32_t> own = all.subspan(kept[k] * width, width);
        const auto is_given = [](std::int32_t value) { return value != bcf_int32_vector_end; };
        const auto n = std::ranges::count_if(own, is_given);
        if (n > 2) stop("has more than two alleles");
        for (int j = 0; j < n; ++j) {
            if (bcf_gt_is_missing(own[j]) || own[j] == bcf_int32_missing) stop("has a missing allele");
            if (bcf_gt_allele(own[j]) < 0 || bcf_gt_allele(own[j]) >= n_alleles)
                stop("has an allele that the record does not have");
        }
        if (n == 0) stop("has a missing allele");
        if (n == 2 && bcf_gt_is_phased(own[1]) == 0) stop("is not phased");
        alleles[2 * k] = bcf_gt_allele(own[0]);
        alleles[2 * k + 1] = bcf_gt_allele(own[n - 1]);
    }
}

/// Whether the last record is this variant of the study. If so, sets the classes of its alleles.
bool vcf_panel::matches(const snp& candidate, bool& is_turned) {
    const bcf1_t* record = file.record();
    const std::string_view reference = record->d.allele[0];
    is_second.assign(record->n_allele, true);
    is_second[0] = false;
    if (record->n_allele <= 2 && candidate.a1.find(',') == std::string::npos) {
        const int strand = candidate.strand(std::string(reference), record->d.allele[record->n_allele - 1]);
        is_turned = strand == 1;
        return strand >= 0;
    }
    std::vector<bool> is_known(record->n_allele);
    int n_found = 0;  // alleles of the variant
    for (int allele = 0; allele < record->n_allele; ++allele) {
        const std::string_view text = record->d.allele[allele];
        is_second[allele] = text != candidate.a0;
        is_known[allele] = !is_second[allele] || has_allele(candidate.a1, text);
        n_found += is_known[allele];
    }
    const auto n_alleles = 2 + std::count(candidate.a1.begin(), candidate.a1.end(), ',');
    return n_found == n_alleles && std::ranges::all_of(alleles, [&](int allele) { return is_known[allele]; });
}
