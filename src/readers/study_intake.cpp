#include "readers/study_intake.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "utils/lfile.h"

namespace {

/// Whether a name of a chromosome, with or without "chr" and leading zeros, is X, Y or MT, also by the
/// numbers of Plink.
bool is_haploid(std::string name) {
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (name.starts_with("CHR")) name.erase(0, 3);
    name.erase(0, std::min(name.find_first_not_of('0'), name.size()));
    constexpr std::array HAPLOID = {"X", "Y", "M", "MT", "23", "24", "26"};
    return std::find(HAPLOID.begin(), HAPLOID.end(), name) != HAPLOID.end();
}

}  // namespace

void check_identifier(const std::string& id, const input_line& at) {
    const auto is_control = [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; };
    if (LOG.isStrict() && std::any_of(id.begin(), id.end(), is_control))
        LOG.refuse("identifier", at.file, at.number, "an identifier with a control character",
                   "printable characters");
}

bool study_intake::keeps_individual(const std::string& id, const input_line& at) {
    check_identifier(id, at);
    if (individuals.contains(id)) LOG.error("Two individuals or more have the following ID : " + id);
    if (!filter.checkInd(id)) return false;
    individuals.insert(id);
    return true;
}

bool study_intake::keeps_variant(int pos) {
    if (pos < 0) return false;
    if (pos < last_position)
        LOG.error("Wrong ordering in physical positions curr_pos=" + std::to_string(pos) +
                  " prev_pos=" + std::to_string(last_position));
    if (!filter.checkSnp(pos)) return false;
    last_position = pos;
    return true;
}

void study_intake::check_chromosome(const std::string& chromosome, const input_line& at) {
    if (first_chromosome.empty()) {
        first_chromosome = chromosome;
        if (is_haploid(chromosome))
            LOG.refuse("autosome", at.file, at.number, "chromosome " + chromosome,
                       "an autosome, where everybody has two haplotypes");
    }
    if (chromosome != first_chromosome)
        LOG.refuse("one-chromosome", at.file, at.number, "chromosome " + chromosome,
                   "the same chromosome as before, " + first_chromosome);
}
