#include "readers/vcf_source.h"

#include <algorithm>
#include <utility>

#include "readers/bed_decoding.h"
#include "utils/lfile.h"

namespace {

/// For each individual of the file, its index among those that the filter keeps, or -1.
std::vector<int> kept_individuals(const vcf_file& file, study_intake& intake, std::vector<std::string>& ids) {
    std::vector<int> index;
    for (const std::string& id : file.individuals()) {
        const bool is_kept = intake.keeps_individual(id, {file.name(), 0});
        index.push_back(is_kept ? static_cast<int>(ids.size()) : -1);
        if (is_kept) ids.push_back(id);
    }
    return index;
}

}  // namespace

vcf_source::vcf_source(vcf_file& input, filter_reader& filter)
    : file(input),
      intake(filter),
      ind_at(kept_individuals(file, intake, ids)),
      decoder(ind_at),
      row_bytes(static_cast<std::ptrdiff_t>((ind_at.size() + 3) / 4)),
      rows(BLOCK_VARIANTS * row_bytes),
      words(ind_at.size()) {
    LOG.println("\nReading genotypes in [" + file.name() + "] in VCF or BCF format");
    LOG.println("  * " + std::to_string(ids.size()) + " individuals included");
    if (ids.empty()) LOG.error("there is nobody to phase in " + file.name());
    if (ids.size() < ind_at.size())
        LOG.println("  * " + std::to_string(ind_at.size() - ids.size()) + " individuals excluded");
}

bool vcf_source::read(genotype_block& block) {
    block.clear();
    std::ranges::fill(rows, 0);
    while (!is_at_end && !block.is_full()) {
        is_at_end = !file.next();
        if (is_at_end)
            print_summary();
        else
            take_record(block);
    }
    decode_rows(block);
    return !block.variants.empty();
}

void vcf_source::take_record(genotype_block& block) {
    if (!intake.keeps_variant(static_cast<int>(file.position()))) {
        ++n_filtered;
        return;
    }
    const std::size_t j = block.variants.size();
    const record_calls* calls =
        decoder.decode(file, rows.data() + static_cast<std::ptrdiff_t>(j) * row_bytes);
    if (calls == nullptr || calls->n_called == 0) {
        ++(calls == nullptr ? n_without_field : n_without_calls);
        std::fill_n(rows.begin() + static_cast<std::ptrdiff_t>(j) * row_bytes, row_bytes, 0);
        return;
    }
    block.variants.push_back(variant_of_record(calls->classes));
    take_haploid(calls->haploid, block);
    ++n_kept;
    n_multiallelic += calls->classes.n_alleles > 2;
    n_half_missing += calls->n_half_missing;
    n_phased += calls->n_phased;
    n_two_others += calls->n_two_others;
    n_haploid += static_cast<long>(calls->haploid.size());
}

snp vcf_source::variant_of_record(const allele_classes& classes) {
    const bcf1_t* record = file.record();
    std::string others;
    for (int allele = 0; allele < record->n_allele; ++allele)
        if (allele != classes.first)
            others += (others.empty() ? "" : ",") + std::string(record->d.allele[allele]);
    snp variant(static_cast<int>(file.position()), record->d.allele[classes.first], others);
    variant.chromosome = file.chromosome();
    variant.id = record->d.id;
    if (variant.id == ".")
        variant.id = variant.chromosome + ":" + std::to_string(variant.bp) + ":" + variant.a0 + ":" +
                     (others.empty() ? "." : others);
    variant.record = static_cast<int>(file.n_read());
    return variant;
}

void vcf_source::take_haploid(const std::vector<int>& haploid, genotype_block& block) {
    if (haploid.empty()) return;
    block.haploid.resize(ids.size());
    for (const int ind : haploid) block.haploid[ind] |= std::uint64_t{1} << (block.variants.size() - 1);
}

void vcf_source::decode_rows(genotype_block& block) {
    decode_bed(rows.data(), row_bytes, static_cast<int>(ind_at.size()), words.data());
    for (std::size_t i = 0; i < ind_at.size(); ++i)
        if (ind_at[i] >= 0) block.words[ind_at[i]] = words[i];
}

void vcf_source::print_summary() const {
    const auto tell = [](long n, const std::string& text) {
        if (n > 0) LOG.println("  * " + std::to_string(n) + " " + text);
    };
    LOG.println("  * " + std::to_string(n_kept) + " variants included");
    if (n_kept == 0) LOG.error("there is no variant to phase in " + file.name());
    tell(n_filtered, "variants excluded");
    tell(n_without_field, "records without genotypes passed over");
    tell(n_without_calls, "records with missing genotypes only passed over");
    tell(n_multiallelic, "variants with more than two alleles: the most frequent one against the others");
    tell(n_two_others, "genotypes there have two of the others, and will not be phased");
    tell(n_half_missing, "genotypes with one missing allele taken for missing");
    tell(n_haploid, "genotypes of one allele");
    tell(n_phased, "genotypes are phased in the input; their phase is not used");
}
