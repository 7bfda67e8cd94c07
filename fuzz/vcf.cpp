// One byte that selects the response to probably wrong input, one whether the file is read as a panel too,
// and a VCF or BCF file. What is read as a study is written again, and has to be the same when it is read
// from the result.
#include "readers/vcf_panel.h"
#include "readers/vcf_source.h"
#include "study_laws.h"
#include "support.h"
#include "vcf/vcf_file.h"
#include "writers/vcf_rewriter.h"

namespace {

fuzz::comparable_study read_vcf(const std::string& name) {
    filter_reader filter = fuzz::small_filter();
    vcf_file file(name, std::nullopt, 1);
    vcf_source source(file, filter);
    return {read_study(source)};
}

/// Haplotypes that agree with the genotypes; missing ones have the first allele.
genhap_set haplotypes_of(genotype_store study) {
    study.settleMissingHaploid();
    std::vector<genotype_graph> graphs(study.ind_ids.begin(), study.ind_ids.end());
    genhap_set set(std::move(study.snps), std::move(graphs));
    for (int i = 0; i < set.n_individuals(); ++i) {
        set.vecH[2 * i] = study.allele_a[i];
        set.vecH[2 * i + 1] = study.allele_b[i];
    }
    set.haploid = std::move(study.haploid);
    return set;
}

/// Writes a study as the result of a run would be, with all genotypes as they are.
void write_again(const std::string& name, const genhap_set& set, const std::string& result) {
    vcf_file file(name, std::nullopt, 1);
    vcf_rewriter sink({result}, {.keeps_missing = true}, file, set);
    write_haplotypes(set, sink);
    FUZZ_LAW(sink.publish().empty());
}

/// Reads the file as a panel for the variants of the study.
void read_as_panel(const std::string& name, const genotype_store& study) {
    filter_reader filter = fuzz::small_filter();
    snp_set variants = study.snps;
    vcf_file file(name, std::nullopt, 1);
    vcf_panel panel(file, filter, {}, variants);
    for (const chaplotype& haplotype : read_haplotypes(panel)) FUZZ_LAW(haplotype.size() == variants.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::memory_file input("input.vcf"), result("result.vcf");
    fuzz::input bytes(data, size);
    const strictness response = bytes.response();
    const bool is_panel = bytes.byte() % 2 == 1;
    input.fill(bytes.rest());

    const auto study = fuzz::read_as(response, [&] { return read_vcf(input.name()); });
    if (!study) return 0;
    fuzz::check_study(*study);
    if (is_panel) fuzz::completes([&] { read_as_panel(input.name(), *study); });
    // A record can be readable and yet have no valid form in the output; then the run ends.
    if (!fuzz::completes([&] { write_again(input.name(), haplotypes_of(*study), result.name()); })) return 0;
    const auto again = fuzz::read_as(strictness::lenient, [&] { return read_vcf(result.name()); });
    FUZZ_LAW(again.has_value());
    FUZZ_LAW(again->allele_a == study->allele_a && again->allele_b == study->allele_b &&
             again->missing == study->missing && again->ind_ids == study->ind_ids);
    return 0;
}
