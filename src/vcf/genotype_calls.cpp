#include "vcf/genotype_calls.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace {

// What one value of GT says: an allele of one of the classes, a missing one, or that there is none.
enum kind : std::uint8_t { FIRST, OTHER, MISSING, NONE, WRONG, N_KINDS };

// A genotype: two bits as in BED, and what needs a closer look.
using genotype = std::uint8_t;
constexpr genotype HOMOZYGOUS_FIRST = 0, NOT_CALLED = 1, HETEROZYGOUS = 2, HOMOZYGOUS_OTHER = 3, BED_BITS = 3,
                   HALF_MISSING = 4, HAPLOID = 8, WRONG_CALL = 16,
                   SPECIAL = HALF_MISSING | HAPLOID | WRONG_CALL;

constexpr genotype genotype_of(kind a, kind b) {
    constexpr std::array<genotype, 3> TWICE = {HOMOZYGOUS_FIRST, HOMOZYGOUS_OTHER, NOT_CALLED};
    if (a == WRONG || b == WRONG || (a == NONE && b != NONE)) return WRONG_CALL;
    if (a == NONE) return NOT_CALLED;
    if (b == NONE) return HAPLOID | TWICE[a];
    if (a == b) return TWICE[a];
    return a == MISSING || b == MISSING ? HALF_MISSING | NOT_CALLED : HETEROZYGOUS;
}

constexpr auto GENOTYPES = [] {
    std::array<genotype, N_KINDS * N_KINDS> all{};
    for (int a = 0; a < N_KINDS; ++a)
        for (int b = 0; b < N_KINDS; ++b)
            all[a * N_KINDS + b] = genotype_of(static_cast<kind>(a), static_cast<kind>(b));
    return all;
}();

/// The GT field of a record whose values have the type `Value`. A value is 2 * (allele + 1), plus 1 if it is
/// phased; the two lowest numbers mean a missing value, and that there are no more.
template <class Value>
class gt_field {
  public:
    gt_field(const bcf_fmt_t& gt_format, const std::vector<int>& kept, record_calls& result)
        : format(gt_format), index(kept), calls(result) {}

    void take(int n_alleles, vcf_file& file, unsigned char* row) {
        calls.classes = {n_alleles > 2 ? most_frequent(n_alleles) : 0, n_alleles};
        if (take_row(row)) look_closer(file);
        if (n_alleles > 2) count_two_others();
    }

  private:
    Value at(std::size_t i, int j) const {
        Value value;
        std::memcpy(&value, format.p + i * format.size + j * sizeof value, sizeof value);
        return value;
    }

    static int allele_of(Value value) { return (value >> 1) - 1; }

    kind kind_of(Value value) const {
        constexpr Value LOWEST = std::numeric_limits<Value>::min();
        const int allele = allele_of(value);
        if (value == LOWEST + 1) return NONE;
        if (value == LOWEST || allele == -1) return MISSING;
        if (allele < 0 || allele >= calls.classes.n_alleles) return WRONG;
        return allele == calls.classes.first ? FIRST : OTHER;
    }

    /// The genotype of individual `i`, by its first two values.
    template <class KindOf>
    genotype genotype_at(std::size_t i, const KindOf& kind_of_value) const {
        const kind second = format.n > 1 ? kind_of_value(at(i, 1)) : NONE;
        return GENOTYPES[kind_of_value(at(i, 0)) * N_KINDS + second];
    }

    bool is_polyploid(std::size_t i) const {
        for (int j = 2; j < format.n; ++j)
            if (kind_of(at(i, j)) != NONE) return true;
        return false;
    }

    /// Adds the genotypes to the row. Returns whether some need a closer look.
    bool take_row(unsigned char* row) {
        if constexpr (sizeof(Value) == 1) {  // nearly always
            std::array<kind, 256> kinds{};
            for (int byte = 0; byte < 256; ++byte) kinds[byte] = kind_of(static_cast<Value>(byte));
            return take_genotypes([&kinds](Value v) { return kinds[static_cast<std::uint8_t>(v)]; }, row);
        } else {
            return take_genotypes([this](Value v) { return kind_of(v); }, row);
        }
    }

    template <class KindOf>
    bool take_genotypes(const KindOf& kind_of_value, unsigned char* row) {
        unsigned all = format.n > 2 ? SPECIAL : 0;
        for (std::size_t i = 0; i < index.size(); ++i) {
            const genotype g = genotype_at(i, kind_of_value);
            row[i / 4] |= static_cast<unsigned char>((g & BED_BITS) << (i % 4 * 2));
            const bool is_kept = index[i] >= 0;
            all |= g;
            calls.n_called += is_kept && (g & BED_BITS) != NOT_CALLED;
            calls.n_phased += is_kept && g == HETEROZYGOUS && (at(i, 1) & 1) != 0;
        }
        return (all & SPECIAL) != 0;
    }

    /// Counts the genotypes of one allele, and those with one missing allele. Ends the run at a wrong one.
    void look_closer(vcf_file& file) {
        for (std::size_t i = 0; i < index.size(); ++i) {
            if (index[i] < 0) continue;
            const genotype g = genotype_at(i, [this](Value v) { return kind_of(v); });
            const auto stop = [&](const std::string& reason) {
                file.stop("individual " + std::string(file.header()->samples[i]) + " has " + reason);
            };
            if (is_polyploid(i)) stop("more than two alleles");
            if ((g & WRONG_CALL) != 0) stop("an allele that the record does not have");
            calls.n_half_missing += (g & HALF_MISSING) != 0;
            if ((g & HAPLOID) != 0) calls.haploid.push_back(index[i]);
        }
    }

    /// The allele that those kept have most often, the first one of several.
    int most_frequent(int n_alleles) const {
        std::vector<long> counts(n_alleles, 0);
        for (std::size_t i = 0; i < index.size(); ++i)
            for (int j = 0; index[i] >= 0 && j < std::min(format.n, 2); ++j) {
                const int allele = allele_of(at(i, j));
                if (allele >= 0 && allele < n_alleles) ++counts[allele];
            }
        return static_cast<int>(std::ranges::max_element(counts) - counts.begin());
    }

    void count_two_others() {
        for (std::size_t i = 0; format.n > 1 && i < index.size(); ++i) {
            const Value a = at(i, 0), b = at(i, 1);
            calls.n_two_others +=
                index[i] >= 0 && kind_of(a) == OTHER && kind_of(b) == OTHER && allele_of(a) != allele_of(b);
        }
    }

    const bcf_fmt_t& format;
    const std::vector<int>& index;
    record_calls& calls;
};

}  // namespace

call_decoder::call_decoder(std::vector<int> kept) : index(std::move(kept)) {}

const record_calls* call_decoder::decode(vcf_file& file, unsigned char* row) {
    const bcf_fmt_t* format = ::bcf_get_fmt(file.header(), file.record(), "GT");
    if (format == nullptr || format->n == 0) return nullptr;
    calls = {};
    const int n_alleles = file.record()->n_allele;
    switch (format->type) {
        case BCF_BT_INT8:
            gt_field<std::int8_t>(*format, index, calls).take(n_alleles, file, row);
            break;
        case BCF_BT_INT16:
            gt_field<std::int16_t>(*format, index, calls).take(n_alleles, file, row);
            break;
        case BCF_BT_INT32:
            gt_field<std::int32_t>(*format, index, calls).take(n_alleles, file, row);
            break;
        default:
            file.stop("GT has no genotypes");
    }
    return &calls;
}
