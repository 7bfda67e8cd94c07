#include "vcf/reference_alleles.h"

#include <htslib/faidx.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "utils/chromosome.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "vcf/hts_handles.h"

namespace {

constexpr double MOST_MISMATCHES = 0.2;  // share of variants

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

/// Whether VCF allows the allele as one of bases.
bool is_bases(const std::string& allele) {
    return !allele.empty() && upper(allele).find_first_not_of("ACGTN") == std::string::npos;
}

/// One chromosome of a FASTA file.
class fasta_chromosome {
  public:
    fasta_chromosome(const std::string& name, const std::string& chromosome) : file(name) {
        if (!futils::isFile(file)) LOG.error(futils::cannotOpen(file));
        if (!futils::isFile(file + ".fai"))
            LOG.error(file + ".fai is missing: make it with samtools faidx " + file);
        sequences.reset(hts::watched([this] { return ::fai_load3(file.c_str(), nullptr, nullptr, 0); }));
        if (sequences == nullptr) LOG.error(file + " or its index is damaged");
        std::string names;
        for (int i = 0; i < ::faidx_nseq(sequences.get()); ++i) {
            const std::string sequence = ::faidx_iseq(sequences.get(), i);
            if (chromosome_key(sequence) == chromosome_key(chromosome)) found = sequence;
            if (i < MOST_NAMES) names += (i > 0 ? ", " : "") + sequence;
        }
        if (found.empty())
            LOG.error(file + " has no chromosome " + chromosome + "; it has " + names +
                      (::faidx_nseq(sequences.get()) > MOST_NAMES ? ", ..." : ""));
    }

    const std::string& name() const { return found; }
    std::int64_t length() const { return ::faidx_seq_len(sequences.get(), found.c_str()); }

    /// The bases from `position` (bp, from 1) on, in upper case; fewer at the end.
    std::string bases(std::int64_t position, std::size_t n) const {
        hts_pos_t got = 0;
        const std::int64_t last = position - 2 + static_cast<std::int64_t>(n);  // from 0
        const std::unique_ptr<char, hts::releaser<std::free>> text(hts::watched(
            [&] { return ::faidx_fetch_seq64(sequences.get(), found.c_str(), position - 1, last, &got); }));
        if (text == nullptr || got < 0) return {};
        return upper({text.get(), static_cast<std::size_t>(got)});
    }

  private:
    static constexpr int MOST_NAMES = 30;

    std::string file, found;
    std::unique_ptr<faidx_t, hts::releaser<fai_destroy>> sequences;
};

/// Turns the alleles to the reference. Returns why that is impossible, or an empty text.
std::string turn(const fasta_chromosome& fasta, int position, vcf_alleles& a) {
    const auto is_there = [&](const std::string& allele) {
        return fasta.bases(position, allele.size()) == upper(allele);
    };
    if (is_there(a.reference)) return {};
    if (a.alternative.empty()) {  // only the other allele was seen
        a.alternative = std::exchange(a.reference, fasta.bases(position, 1));
        a.is_turned = true;
        return a.reference.empty() || a.alternative.size() != 1 ? "not in the reference" : "";
    }
    if (!is_there(a.alternative)) return "not in the reference";
    std::swap(a.reference, a.alternative);
    a.is_turned = true;
    return {};
}

/// The alleles of a variant as they are, a0 being the reference.
vcf_alleles plain_alleles(const snp& variant) {
    const bool is_monomorphic = variant.a1 == variant.a0 || variant.a1 == "0" || variant.a1 == ".";
    return {variant.a0, is_monomorphic ? "" : variant.a1};
}

std::string chromosome_of(const snp_set& study) {
    std::string chromosome;
    for (const snp& variant : study.snp_list) {
        if (variant.chromosome.empty() || variant.chromosome == "0")
            LOG.error("The study does not tell its chromosome, which a VCF needs: name it with --region");
        if (!chromosome.empty() && variant.chromosome != chromosome)
            LOG.error("The study has several chromosomes (" + chromosome + ", " + variant.chromosome +
                      "), and a VCF is written of one: choose it with --region");
        chromosome = variant.chromosome;
    }
    if (chromosome.find_first_of("<>()[]{},\"'`\\*= \t") != std::string::npos)
        LOG.error("[" + chromosome +
                  "] is no name of a chromosome that a VCF can have: name it with --region");
    return chromosome;
}

/// Writes the list of variants that the VCF will not have.
void write_excluded(const std::vector<std::pair<const snp*, std::string>>& excluded,
                    const std::string& prefix) {
    ofile list(prefix + ".vcf.exclude");
    list.writeText("pos\tid\tA\tB\treason\n");
    for (const auto& [variant, reason] : excluded)
        list.writeText(std::to_string(variant->bp) + "\t" + variant->id + "\t" + variant->a0 + "\t" +
                       variant->a1 + "\t" + reason + "\n");
    list.close();
    LOG.println("  * " + std::to_string(excluded.size()) +
                " variants cannot be written in a VCF; they are listed in [" + prefix + ".vcf.exclude]");
}

}  // namespace

reference_alleles find_reference_alleles(const snp_set& study, const std::string& fasta,
                                         const std::string& prefix) {
    reference_alleles all;
    all.chromosome = chromosome_of(study);
    std::unique_ptr<fasta_chromosome> reference;
    if (!fasta.empty()) {
        LOG.println("\nReading the reference sequence in [" + fasta + "]");
        reference = std::make_unique<fasta_chromosome>(fasta, all.chromosome);
        all.length = reference->length();
        if (reference->name() != all.chromosome)
            LOG.println("  * Chromosome " + all.chromosome + " is " + reference->name() + " in this file");
    }
    std::vector<std::pair<const snp*, std::string>> excluded;
    long n_turned = 0;
    for (const snp& variant : study.snp_list) {
        vcf_alleles& alleles = all.variants.emplace_back(plain_alleles(variant));
        const bool has_bases =
            is_bases(alleles.reference) && (alleles.alternative.empty() || is_bases(alleles.alternative));
        std::string problem = has_bases ? "" : "not bases";
        if (problem.empty() && reference != nullptr) problem = turn(*reference, variant.bp, alleles);
        alleles.is_written = problem.empty();
        n_turned += alleles.is_written && alleles.is_turned;
        if (!problem.empty()) excluded.emplace_back(&variant, problem);
    }
    if (n_turned > 0) LOG.println("  * " + std::to_string(n_turned) + " variants turned to the reference");
    if (!excluded.empty()) write_excluded(excluded, prefix);
    const auto is_mismatch = [](const auto& entry) { return entry.second == "not in the reference"; };
    const auto n_mismatches = std::ranges::count_if(excluded, is_mismatch);
    if (static_cast<double>(n_mismatches) > MOST_MISMATCHES * study.size())
        LOG.error(std::to_string(n_mismatches) + " of " + std::to_string(study.size()) +
                  " variants do not match " + fasta +
                  ": it may be of another assembly, or the alleles of the other strand");
    return all;
}
