#include <array>
#include <string_view>

#include "readers/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

/// Where the fields of a GEN line stand.
struct gen_layout {
    int alt_id, chr, id, position, a0, a1, probabilities;
};
constexpr gen_layout OLD_LAYOUT = {0, -1, 1, 2, 3, 4, 5};
constexpr gen_layout NEW_LAYOUT = {1, 0, 2, 3, 4, 5, 6};

/// Rescales three probabilities to sum 1, rounding to float after each step; all zero becomes a genotype
/// that no threshold from 0.5 up calls.
void normalise_call(float& p0, float& p1, float& p2) {
    const float sum = (p0 + p1) + p2;
    if (sum == 0.0F) {
        p0 = 0.332F;
        p1 = p2 = 0.334F;
        return;
    }
    if (sum == 1.0F) return;  // as with all calls made elsewhere; dividing would change nothing
    p0 = static_cast<float>(static_cast<double>(p0) / sum);
    p1 = static_cast<float>(static_cast<double>(p1) / sum);
    p2 = static_cast<float>(static_cast<double>(p2) / sum);
}

/// The genotype that three probabilities are taken for, or -1.
int call_of(float p0, float p1, float p2, double threshold) {
    long n_missing = 0, n_called = 0;
    normalise_call(p0, p1, p2);
    return hard_call(p0, p1, p2, threshold, n_missing, n_called);
}

/// The calls of probabilities that are 0 or 1: entry b if the bits of b are the probabilities, first one
/// lowest.
std::array<int, 8> certain_calls(double threshold) {
    std::array<int, 8> calls{};
    for (int b = 0; b < 8; ++b)
        calls[b] = call_of(static_cast<float>(b & 1), static_cast<float>(b >> 1 & 1),
                           static_cast<float>(b >> 2), threshold);
    return calls;
}

std::string percentage(long part, long whole) {
    return sutils::double2str(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1);
}

}  // namespace

std::vector<bool> genotype_reader::readSample(const std::string& sample) {
    LOG.println("\nReading individuals in [" + sample + "] in Impute2 sample format");
    std::vector<bool> mask;
    ifile stream(sample);
    std::string line;
    std::vector<std::string> fields;
    stream.getLine(line);  // two lines of header
    stream.getLine(line);
    int included = 0, number = 0;
    while (stream.getLine(line)) {
        ++number;
        const int n_fields = sutils::tokenize(line, fields);
        if (n_fields < 3)
            LOG.error("Line=" + sutils::int2str(number) + " found=" + sutils::int2str(n_fields) +
                      " fields, expected more that 3");
        mask.push_back(putInd(fields[1]));
        included += mask.back();
    }
    stream.close();
    LOG.println("  * " + sutils::int2str(included) + " individuals included");
    if (included < number) LOG.println("  * " + sutils::int2str(number - included) + " individuals excluded");
    return mask;
}

void genotype_reader::readGenotypeImpute(const std::string& gen, const std::string& sample,
                                         double threshold) {
    const std::vector<bool> ind_mask = readSample(sample);
    const int n_old = 3 * static_cast<int>(ind_mask.size()) + 5;
    const int n_new = n_old + 1;

    LOG.println("\nReading SNPs and genotypes in [" + gen + "] in Impute2 format with calling threshold = " +
                (threshold < 0.0 ? "MAX" : sutils::double2str(threshold, 4)));
    ifile stream(gen);
    std::string line;
    std::vector<std::string_view> fields(NEW_LAYOUT.probabilities);  // those before the probabilities
    int included = 0, number = 0;
    long n_called = 0, n_missing = 0;
    bool new_format = false;
    genotype_block block(ind_ids.size());
    const std::array<int, 8> certain = certain_calls(threshold);
    while (stream.getLine(line)) {
        ++number;
        const int n_fields = sutils::count_fields(line);
        if (n_fields != n_old && n_fields != n_new)
            LOG.error("Line=" + sutils::int2str(number) + " found=" + sutils::int2str(n_fields) +
                      " fields, expected=" + sutils::int2str(n_old) + " or " + sutils::int2str(n_new));
        new_format = n_fields == n_new;
        const gen_layout& at = new_format ? NEW_LAYOUT : OLD_LAYOUT;
        sutils::field_cursor cursor(line);
        for (int f = 0; f < at.probabilities; ++f) fields[f] = cursor.next();
        const auto text = [&](int field) { return field < 0 ? std::string() : std::string(fields[field]); };
        if (!putSnp(sutils::str2int(fields[at.position], gen, number), text(at.id), text(at.alt_id),
                    text(at.chr), text(at.a0), text(at.a1)))
            continue;
        ++included;
        // These are the alleles in the old layout only. In the new one position and first allele stand here,
        // which never agree, so a line that names one allele twice keeps its calls.
        const bool same_alleles = fields[3] == fields[4];
        const auto probability = [&cursor] { return static_cast<float>(sutils::str2double(cursor.next())); };
        const auto next_call = [&] {
            const int bits = cursor.next_three_bits();
            if (bits >= 0) return certain[bits];
            const float p0 = probability(), p1 = probability(), p2 = probability();
            return call_of(p0, p1, p2, threshold);
        };
        const std::uint64_t differ = same_alleles ? 0 : 1;
        long n_missing_here = 0;
        genotype_word* word = block.words.data();
        for (const bool kept : ind_mask) {
            const int call = next_call();
            if (!kept) continue;
            n_missing_here += call < 0;
            word->allele_a |= (differ & std::uint64_t{call == 2}) << block.n_variants;
            word->allele_b |= (differ & std::uint64_t{call > 0}) << block.n_variants;
            word->missing |= std::uint64_t{call < 0} << block.n_variants;
            ++word;
        }
        n_missing += n_missing_here;
        n_called += static_cast<long>(ind_ids.size()) - n_missing_here;
        if (++block.n_variants == genotype_block::CAPACITY) putBlock(block);
    }
    putBlock(block);
    stream.close();
    snps->indexing();

    LOG.println(std::string("  * ") + (new_format ? "New" : "Old") + " GEN/SAMPLE format detected");
    LOG.println("  * " + sutils::int2str(included) + " SNPs included");
    if (included < number) LOG.println("  * " + sutils::int2str(number - included) + " SNPs excluded");
    const long n_calls = n_called + n_missing;
    if (n_called > 0)
        LOG.println("  * genotypes passing the threshold (= " + percentage(n_called, n_calls) + " %)");
    if (n_missing > 0)
        LOG.println("  * genotypes NOT passing the threshold (= " + percentage(n_missing, n_calls) + " %)");
}
