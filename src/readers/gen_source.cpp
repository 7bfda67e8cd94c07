#include "readers/gen_source.h"

#include <bit>
#include <cstdint>
#include <utility>

#include "utils/futils.h"
#include "utils/lfile.h"

namespace {

constexpr int HEADER_LINES = 2;       // of the list of individuals
constexpr double LARGEST_SUM = 1.02;  // of three probabilities with two decimals each, rounded

/// Indexes of the fields of a GEN line; -1 if the layout has no such field.
struct gen_layout {
    int chr, id, position, a0, a1, probabilities;
};
constexpr gen_layout OLD_LAYOUT = {-1, 1, 2, 3, 4, 5};
constexpr gen_layout NEW_LAYOUT = {0, 2, 3, 4, 5, 6};

/// Rescales three probabilities to sum to 1, rounding to float after each step. If all are 0, the result is a
/// genotype that no threshold from 0.5 up calls.
void normalise_call(float& p0, float& p1, float& p2) {
    const float sum = (p0 + p1) + p2;
    if (sum == 0.0F) {
        p0 = 0.332F;
        p1 = p2 = 0.334F;
        return;
    }
    if (sum == 1.0F) return;  // the usual case; dividing would change nothing
    p0 = static_cast<float>(static_cast<double>(p0) / sum);
    p1 = static_cast<float>(static_cast<double>(p1) / sum);
    p2 = static_cast<float>(static_cast<double>(p2) / sum);
}

/// The genotype called from three probabilities, or -1.
int call_of(float p0, float p1, float p2, double threshold) {
    long n_missing = 0, n_called = 0;
    normalise_call(p0, p1, p2);
    return hard_call(p0, p1, p2, threshold, n_missing, n_called);
}

/// Calls of probabilities that are 0 or 1: in entry b, probability i is bit i of b.
std::array<int, 8> certain_calls(double threshold) {
    std::array<int, 8> calls{};
    for (int b = 0; b < 8; ++b)
        calls[b] = call_of(static_cast<float>(b & 1), static_cast<float>(b >> 1 & 1),
                           static_cast<float>(b >> 2), threshold);
    return calls;
}

void check_sum(double sum, const input_line& at) {
    if (sum > LARGEST_SUM)
        LOG.refuse("probability-sum", at.file, at.number, sutils::double2str(sum, 3),
                   "three probabilities with a sum of at most 1");
}

/// Refuses what are no probabilities of the three genotypes.
void check_probabilities(const std::array<std::string_view, 3>& three, const input_line& at) {
    double sum = 0.0;
    for (const std::string_view field : three) {
        const double p = sutils::is_number(field) ? sutils::str2double(field) : -1.0;
        if (p < 0.0 || p > 1.0)
            LOG.refuse("probability", at.file, at.number, "[" + std::string(field) + "]",
                       "a number from 0 to 1");
        sum += p;
    }
    check_sum(sum, at);
}

std::string percentage(long part, long whole) {
    return sutils::double2str(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1);
}

}  // namespace

gen_source::gen_source(const std::string& gen, const std::string& sample, double calling_threshold,
                       filter_reader& filter, study_facts facts)
    : intake(filter, std::move(facts)),
      threshold(calling_threshold),
      certain(certain_calls(calling_threshold)),
      fields(NEW_LAYOUT.probabilities) {
    read_sample(sample);
    LOG.println("\nReading SNPs and genotypes in [" + gen + "] in Impute2 format with calling threshold = " +
                (threshold < 0.0 ? "MAX" : sutils::double2str(threshold, 4)));
    if (!stream.open(gen)) LOG.error(futils::cannotOpen(gen));
}

void gen_source::read_sample(const std::string& sample) {
    LOG.println("\nReading individuals in [" + sample + "] in Impute2 sample format");
    ifile list(sample);
    std::vector<std::string> words;
    for (int i = 0; i < HEADER_LINES; ++i) list.getLine(line);
    int number = 0;
    while (list.getLine(line)) {
        ++number;
        const int n_words = sutils::tokenize(line, words);
        if (n_words < 3)
            LOG.error("Line=" + sutils::int2str(number) + " found=" + sutils::int2str(n_words) +
                      " fields, expected more that 3");
        keeps_individual.push_back(intake.keeps_individual(words[1], {sample, number + HEADER_LINES}));
        if (keeps_individual.back()) ids.push_back(words[1]);
    }
    list.close();
    const int included = static_cast<int>(ids.size());
    LOG.println("  * " + sutils::int2str(included) + " individuals included");
    if (included < number) LOG.println("  * " + sutils::int2str(number - included) + " individuals excluded");
}

bool gen_source::read(genotype_block& block) {
    block.clear();
    while (!is_at_end && !block.is_full()) {
        is_at_end = !stream.getLine(line);
        if (is_at_end) {
            stream.close();
            print_summary();
            break;
        }
        ++n_lines;
        check_fields();
        sutils::field_cursor cursor(line);
        if (take_variant(cursor, block)) take_genotypes(cursor, block);
    }
    return !block.variants.empty();
}

void gen_source::check_fields() {
    const int n_old = 3 * static_cast<int>(keeps_individual.size()) + OLD_LAYOUT.probabilities;
    const int n_new = n_old + 1, n_fields = sutils::count_fields(line);
    if (n_fields != n_old && n_fields != n_new)
        LOG.error("Line=" + sutils::int2str(n_lines) + " found=" + sutils::int2str(n_fields) +
                  " fields, expected=" + sutils::int2str(n_old) + " or " + sutils::int2str(n_new));
    is_new_format = n_fields == n_new;
}

/// Reads the fields before the probabilities; false if the variant is filtered out.
bool gen_source::take_variant(sutils::field_cursor& cursor, genotype_block& block) {
    const gen_layout& at = is_new_format ? NEW_LAYOUT : OLD_LAYOUT;
    for (int f = 0; f < at.probabilities; ++f) fields[f] = cursor.next();
    const int position = sutils::str2int(fields[at.position], stream.name(), n_lines);
    const std::string chromosome(at.chr < 0 ? "" : fields[at.chr]);
    if (!intake.keeps_variant(position, chromosome)) return false;
    ++n_kept;
    snp& variant =
        block.variants.emplace_back(position, std::string(fields[at.a0]), std::string(fields[at.a1]));
    variant.id = fields[at.id];
    check_identifier(variant.id, {stream.name(), n_lines});
    variant.chromosome = intake.chromosome_or(chromosome);
    if (at.chr >= 0) intake.check_chromosome(variant.chromosome, {stream.name(), n_lines});
    return true;
}

/// Reads the genotypes of the last variant of the block.
void gen_source::take_genotypes(sutils::field_cursor& cursor, genotype_block& block) {
    const auto next_call = [&] {
        const int bits = cursor.next_three_bits();
        if (bits >= 0) {
            if (LOG.isStrict())
                check_sum(std::popcount(static_cast<unsigned>(bits)), {stream.name(), n_lines});
            return certain[bits];
        }
        const std::array three = {cursor.next(), cursor.next(), cursor.next()};
        if (LOG.isStrict()) check_probabilities(three, {stream.name(), n_lines});
        const auto probability = [&three](int g) { return static_cast<float>(sutils::str2double(three[g])); };
        return call_of(probability(0), probability(1), probability(2), threshold);
    };
    // Fields 3 and 4 are the two alleles in the old layout only. In the new layout they are the position and
    // the first allele, which always differ, so there a line that has one allele twice keeps its calls.
    const std::uint64_t differ = fields[3] == fields[4] ? 0 : 1;
    const int j = static_cast<int>(block.variants.size()) - 1;
    long n_missing_here = 0;
    genotype_word* word = block.words.data();
    for (const bool is_kept : keeps_individual) {
        const int call = next_call();
        if (!is_kept) continue;
        n_missing_here += call < 0;
        word->allele_a |= (differ & std::uint64_t{call == 2}) << j;
        word->allele_b |= (differ & std::uint64_t{call > 0}) << j;
        word->missing |= std::uint64_t{call < 0} << j;
        ++word;
    }
    n_missing += n_missing_here;
    n_called += static_cast<long>(ids.size()) - n_missing_here;
}

void gen_source::print_summary() const {
    LOG.println(std::string("  * ") + (is_new_format ? "New" : "Old") + " GEN/SAMPLE format detected");
    LOG.println("  * " + sutils::int2str(n_kept) + " SNPs included");
    if (n_kept < n_lines) LOG.println("  * " + sutils::int2str(n_lines - n_kept) + " SNPs excluded");
    const long n_calls = n_called + n_missing;
    if (n_called > 0)
        LOG.println("  * genotypes passing the threshold (= " + percentage(n_called, n_calls) + " %)");
    if (n_missing > 0)
        LOG.println("  * genotypes NOT passing the threshold (= " + percentage(n_missing, n_calls) + " %)");
}

int hard_call(float& p0, float& p1, float& p2, double threshold, long& n_missing, long& n_called) {
    int call = -1;
    const auto call_as = [&](int genotype) {
        p0 = genotype == 0 ? 1.0F : 0.0F;
        p1 = genotype == 1 ? 1.0F : 0.0F;
        p2 = genotype == 2 ? 1.0F : 0.0F;
        call = genotype;
    };
    if (threshold < 0.0) {
        if (p0 >= p1 && p0 >= p2) call_as(0);
        if (p1 >= p0 && p1 >= p2) call_as(1);
        if (p2 >= p0 && p2 >= p1) call_as(2);
    } else {
        if (p0 >= threshold) call_as(0);
        if (p1 >= threshold) call_as(1);
        if (p2 >= threshold) call_as(2);
    }
    ++(call < 0 ? n_missing : n_called);
    return call;
}
