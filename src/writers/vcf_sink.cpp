#include "writers/vcf_sink.h"

#include <utility>

#include "utils/lfile.h"

vcf_sink::vcf_sink(const vcf_output_settings& chosen_settings, vcf_content chosen,
                   const reference_alleles& reference, const genhap_set& phased,
                   const std::vector<chaplotype>& missing)
    : settings(chosen_settings),
      content(std::move(chosen)),
      alleles(reference),
      set(phased),
      missing_at(missing),
      record(hts::new_record()) {}

void vcf_sink::begin(const std::vector<std::string>& individuals) {
    LOG.println("\nWriting haplotypes in [" + settings.name + "] in VCF or BCF format");
    const std::string length = alleles.length > 0 ? ",length=" + std::to_string(alleles.length) : "";
    std::vector<std::string> lines = {
        "##contig=<ID=" + alleles.chromosome + length + ">",
        "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Phased genotype\">"};
    if (!content.header_line.empty()) lines.push_back(content.header_line);
    hts::header_handle head;
    const bool is_good = hts::watched([&] {
        head.reset(::bcf_hdr_init("w"));
        bool fits = head != nullptr;
        for (const std::string& line : lines) fits = fits && ::bcf_hdr_append(head.get(), line.c_str()) == 0;
        for (const std::string& name : individuals)
            fits = fits && ::bcf_hdr_add_sample(head.get(), name.c_str()) == 0;
        return fits && ::bcf_hdr_sync(head.get()) == 0;
    });
    if (!is_good) LOG.error("the header of " + settings.name + " cannot be made");
    output = std::make_unique<vcf_output_file>(settings, std::move(head));
}

void vcf_sink::write(const haplotype_block& block) {
    for (std::size_t j = 0; j < block.variants.size(); ++j)
        if (alleles.variants[block.variants[j].idx].is_written)
            write_variant(block.variants[j], block.words, static_cast<int>(j));
}

void vcf_sink::write_variant(const snp& variant, const std::vector<std::uint64_t>& words, int j) {
    const vcf_alleles& texts = alleles.variants[variant.idx];
    genotypes.clear();
    for (std::size_t h = 0; h < words.size(); h += 2) {
        const auto value_of = [&](std::size_t haplotype, bool is_joined) {
            const bool is_alternative = ((words[haplotype] >> j & 1) != 0) != texts.is_turned;
            return is_joined ? bcf_gt_phased(is_alternative) : bcf_gt_unphased(is_alternative);
        };
        const bool is_haploid = !set.haploid.empty() && set.haploid[h / 2][variant.idx];
        const bool is_missing = !missing_at.empty() && missing_at[h / 2][variant.idx];
        const std::int32_t second = is_missing ? bcf_gt_missing : value_of(h + 1, true);
        genotypes.push_back(is_missing ? bcf_gt_missing : value_of(h, false));
        genotypes.push_back(is_haploid ? bcf_int32_vector_end : second);
    }
    const std::string both = texts.reference + (texts.alternative.empty() ? "" : "," + texts.alternative);
    const bool is_good = hts::watched([&] {
        bcf_hdr_t* head = output->header();
        ::bcf_clear(record.get());
        record->rid = ::bcf_hdr_name2id(head, alleles.chromosome.c_str());
        record->pos = variant.bp - 1;
        return ::bcf_update_id(head, record.get(), variant.id.c_str()) == 0 &&
               ::bcf_update_alleles_str(head, record.get(), both.c_str()) == 0 &&
               bcf_update_genotypes(head, record.get(), genotypes.data(),
                                    static_cast<int>(genotypes.size())) == 0;
    });
    if (!is_good) LOG.error(settings.name + ": the record of " + variant.id + " cannot be made");
    output->write(record.get());
}

void vcf_sink::close() {
    output->close();
}
