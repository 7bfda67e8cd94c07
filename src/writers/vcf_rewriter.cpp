#include "writers/vcf_rewriter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>
#include <utility>

#include "utils/assertion.h"
#include "utils/lfile.h"

namespace {

constexpr int MISSING = -1;
constexpr std::int32_t NONE = bcf_int32_vector_end;

/// How one individual was phased at a variant: the classes of its haplotypes, equal where it is haploid.
struct phase_of_one {
    bool first, second;
    bool is_haploid;
};

/// The alleles of an individual in a record: their numbers, or MISSING.
struct gt_alleles {
    std::array<int, 2> at = {MISSING, MISSING};
    int n = 0;  // how many there are

    /// Whether the genotype was taken for missing.
    bool is_missing() const { return n == 0 || at[0] == MISSING || (n == 2 && at[1] == MISSING); }
};

/// The values of GT of an individual.
using gt_pair = std::array<std::int32_t, 2>;

int allele_of(std::int32_t value) {
    return value == bcf_int32_missing || bcf_gt_is_missing(value) ? MISSING : bcf_gt_allele(value);
}

gt_alleles alleles_of(std::span<const std::int32_t> own) {
    gt_alleles found;
    while (found.n < std::min<int>(2, static_cast<int>(own.size())) && own[found.n] != NONE) {
        found.at[found.n] = allele_of(own[found.n]);
        ++found.n;
    }
    return found;
}

/// Which allele of a record stands for each class of a variant.
struct class_alleles {
    int first = 0;   // the one of class 0
    int second = 0;  // the most frequent one of class 1
    bool class_of(int allele) const { return allele != first; }
    int allele_of(bool c) const { return c ? second : first; }
};

/// The classes of a record in which the variant took part: its first allele against all others.
class_alleles classes_of(const bcf1_t& record, const snp& variant, std::span<const std::int32_t> values) {
    const std::string& text = variant.is_turned ? variant.a1 : variant.a0;
    class_alleles classes;
    for (int allele = 0; allele < record.n_allele; ++allele)
        if (record.d.allele[allele] == text) classes.first = allele;
    std::vector<long> counts(record.n_allele, 0);
    for (const std::int32_t value : values)
        if (value != NONE && allele_of(value) != MISSING) ++counts[allele_of(value)];
    counts[classes.first] = -1;
    classes.second = static_cast<int>(std::ranges::max_element(counts) - counts.begin());
    return classes;
}

// ---- genotypes

gt_pair unphased(const gt_alleles& given) {
    gt_pair values = {bcf_gt_missing, given.n < 2 ? NONE : bcf_gt_missing};
    for (int j = 0; j < given.n; ++j)
        if (given.at[j] != MISSING) values[j] = bcf_gt_unphased(given.at[j]);
    return values;
}

gt_pair joined(int first, int second) {
    return {bcf_gt_unphased(first), bcf_gt_phased(second)};
}

gt_pair filled_in(const phase_of_one& phase, const class_alleles& classes) {
    const int first = classes.allele_of(phase.first), second = classes.allele_of(phase.second);
    if (phase.is_haploid) return {bcf_gt_unphased(first), NONE};
    return joined(first, second);
}

gt_pair phased(const gt_alleles& given, const phase_of_one& phase, const class_alleles& classes) {
    const int a = given.at[0], b = given.at[given.n - 1];
    const bool is_turned = classes.class_of(a) != phase.first;
    TOLVANE_ASSERT(classes.class_of(is_turned ? b : a) == phase.first &&
                       classes.class_of(is_turned ? a : b) == phase.second,
                   "the haplotypes have the alleles of the genotype");
    if (given.n == 1 || (a != b && classes.class_of(a) == classes.class_of(b))) return unphased(given);
    return is_turned ? joined(b, a) : joined(a, b);
}

/// Turns pairs of values into single ones.
void drop_second_values(std::vector<std::int32_t>& values) {
    for (std::size_t i = 0; 2 * i < values.size(); ++i) values[i] = values[2 * i];
    values.resize(values.size() / 2);
}

/// Removes all phases.
void clear_phases(std::span<std::int32_t> values) {
    for (std::int32_t& value : values)
        if (value != NONE && value != bcf_int32_missing) value &= ~1;
}

// ---- fields that follow the genotypes

/// Replaces the numbers of an INFO field that a record has, in the type that the header gives it.
void update_info(const bcf_hdr_t* header, bcf1_t* record, const char* tag,
                 const std::vector<double>& numbers) {
    const bcf_info_t* info = ::bcf_get_info(header, record, tag);
    if (info == nullptr || numbers.empty()) return;
    const auto type = bcf_hdr_id2type(header, BCF_HL_INFO, info->key);
    const int n = static_cast<int>(numbers.size());
    const std::vector<float> real(numbers.begin(), numbers.end());
    if (type == BCF_HT_INT) {
        const std::vector<std::int32_t> whole(numbers.begin(), numbers.end());
        bcf_update_info_int32(header, record, tag, whole.data(), n);
    } else if (type == BCF_HT_REAL) {
        bcf_update_info_float(header, record, tag, real.data(), n);
    } else if (type == BCF_HT_STR) {  // so is a field that the header does not declare
        std::ostringstream text;
        for (int i = 0; i < n; ++i) text << (i > 0 ? "," : "") << real[i];
        bcf_update_info_string(header, record, tag, text.str().c_str());
    }
}

/// Brings AC, AN and AF in line with the genotypes, where the record has them.
void update_counts(const bcf_hdr_t* header, bcf1_t* record, std::span<const std::int32_t> values) {
    std::vector<double> counts(record->n_allele, 0.0);
    double n = 0.0;
    for (const std::int32_t value : values) {
        // A record that took no part may have alleles beyond its own.
        if (value == NONE || allele_of(value) == MISSING || allele_of(value) >= record->n_allele) continue;
        ++counts[allele_of(value)];
        ++n;
    }
    counts.erase(counts.begin());
    update_info(header, record, "AC", counts);
    update_info(header, record, "AN", {n});
    for (double& count : counts) count /= n;
    if (n > 0.0) update_info(header, record, "AF", counts);
}

}  // namespace

vcf_rewriter::vcf_rewriter(const vcf_output_settings& chosen_settings, vcf_content chosen, vcf_file& input,
                           const genhap_set& phased)
    : settings(chosen_settings), content(std::move(chosen)), file(input), set(phased) {}

void vcf_rewriter::begin(const std::vector<std::string>& individuals) {
    LOG.println("\nWriting haplotypes in [" + settings.name + "] with the records of [" + file.name() + "]");
    select_individuals(individuals);
    const std::string& added = content.header_line;
    if (!added.empty() && hts::watched([&] { return ::bcf_hdr_append(head.get(), added.c_str()); }) != 0)
        LOG.error("the header of " + settings.name + " cannot be made");
    for (const std::string& lost : file.lost_header_lines())
        LOG.println("  * This header line cannot be kept: " + lost);
    output = std::make_unique<vcf_output_file>(settings, std::move(head));
    file.rewind();
}

/// Makes the header of the output, with its individuals.
void vcf_rewriter::select_individuals(const std::vector<std::string>& individuals) {
    has_all_individuals = individuals == file.individuals();
    if (has_all_individuals) {
        head.reset(hts::watched([this] { return ::bcf_hdr_dup(file.header()); }));
    } else {
        std::vector<char*> names;
        names.reserve(individuals.size());
        for (const std::string& name : individuals) names.push_back(const_cast<char*>(name.c_str()));
        individual_at.resize(names.size());
        head.reset(hts::watched([&] {
            return ::bcf_hdr_subset(file.header(), static_cast<int>(names.size()), names.data(),
                                    individual_at.data());
        }));
    }
    if (head == nullptr) LOG.error("the header of " + settings.name + " cannot be made");
}

/// Reads the next record, with the individuals of the output.
bool vcf_rewriter::next_record() {
    if (!file.next()) return false;
    if (has_all_individuals) return true;
    const int result = hts::watched([this] {
        return ::bcf_subset(file.header(), file.record(), static_cast<int>(individual_at.size()),
                            individual_at.data());
    });
    if (result != 0) file.stop("its individuals cannot be selected");
    return true;
}

void vcf_rewriter::write(const haplotype_block& block) {
    for (std::size_t j = 0; j < block.variants.size(); ++j) {
        const snp& variant = block.variants[j];
        bool is_there = next_record();
        for (; is_there && file.n_read() < variant.record; is_there = next_record()) write_unphased();
        if (!is_there || file.position() != variant.bp)
            LOG.error(file.name() + " has changed while this run was working");
        write_phased(variant, block.words, static_cast<int>(j));
    }
}

void vcf_rewriter::close() {
    while (next_record()) write_unphased();
    output->close();
    if (n_left_out > 0)
        LOG.println("  * " + std::to_string(n_left_out) +
                    " records took no part and were left out (--output-unphased keeps them)");
    if (n_filled_in > 0) LOG.println("  * " + std::to_string(n_filled_in) + " missing genotypes filled in");
}

void vcf_rewriter::write_unphased() {
    if (!content.keeps_unphased) {
        ++n_left_out;
        return;
    }
    const std::span<std::int32_t> all = values.read(output->header(), file.record());
    clear_phases(all);
    if (!all.empty()) set_genotypes(all, !has_all_individuals);
    output->write(file.record());
}

void vcf_rewriter::write_phased(const snp& variant, const std::vector<std::uint64_t>& words, int j) {
    const std::span<std::int32_t> all = values.read(output->header(), file.record());
    const int n_individuals = static_cast<int>(words.size() / 2);
    if (all.empty() || all.size() % n_individuals != 0)
        LOG.error(file.name() + " has changed while this run was working");
    const std::size_t width = all.size() / n_individuals;
    const class_alleles classes = classes_of(*file.record(), variant, all);
    genotypes.resize(std::size_t{2} * n_individuals);
    bool any_pair = false;
    for (int i = 0; i < n_individuals; ++i) {
        const auto class_of = [&](int h) { return ((words[2 * i + h] >> j & 1) != 0) != variant.is_turned; };
        const phase_of_one phase = {class_of(0), class_of(1),
                                    !set.haploid.empty() && set.haploid[i][variant.idx]};
        const gt_alleles given = alleles_of(all.subspan(i * width, width));
        const bool is_missing = given.is_missing();
        n_filled_in += is_missing && !content.keeps_missing;
        const gt_pair result = !is_missing             ? phased(given, phase, classes)
                               : content.keeps_missing ? unphased(given)
                                                       : filled_in(phase, classes);
        any_pair = any_pair || result[1] != NONE;
        std::ranges::copy(result, genotypes.begin() + std::ptrdiff_t{2} * i);
    }
    if (!any_pair) drop_second_values(genotypes);
    set_genotypes(genotypes, true);
    output->write(file.record());
}

/// Replaces the genotypes of the last record, and brings its counts in line if they may have changed.
void vcf_rewriter::set_genotypes(std::span<const std::int32_t> all, bool changes_counts) {
    const int result = hts::watched([&] {
        const int n =
            bcf_update_genotypes(output->header(), file.record(), all.data(), static_cast<int>(all.size()));
        if (changes_counts) update_counts(output->header(), file.record(), all);
        return n;
    });
    if (result != 0) file.stop("its genotypes cannot be written");
}
