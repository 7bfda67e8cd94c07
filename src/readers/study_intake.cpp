#include "readers/study_intake.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "utils/chromosome.h"
#include "utils/lfile.h"

namespace {

/// Whether a name of a chromosome is X, Y or MT, also by the numbers of Plink.
bool is_haploid(const std::string& name) {
    constexpr std::array HAPLOID = {"X", "Y", "M", "MT", "23", "24", "26"};
    return std::find(HAPLOID.begin(), HAPLOID.end(), chromosome_key(name)) != HAPLOID.end();
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

bool study_intake::keeps_variant(int pos, const std::string& chromosome) {
    if (pos < 0 || !is_in_region(pos, chromosome)) return false;
    if (pos < last_position)
        LOG.error("Wrong ordering in physical positions curr_pos=" + std::to_string(pos) +
                  " prev_pos=" + std::to_string(last_position));
    if (!filter.checkSnp(pos)) return false;
    last_position = pos;
    return true;
}

namespace {

/// Whether an input does not tell the chromosome: 0 is Plink's name for an unknown one.
bool is_unknown(const std::string& chromosome) {
    return chromosome.empty() || chromosome == "0";
}

}  // namespace

bool study_intake::is_in_region(int pos, const std::string& chromosome) const {
    if (!facts.region) return true;
    return facts.region->contains(pos) &&
           (is_unknown(chromosome) || chromosome_key(chromosome) == chromosome_key(facts.region->chromosome));
}

std::string study_intake::chromosome_or(const std::string& chromosome) const {
    return is_unknown(chromosome) && facts.region ? facts.region->chromosome : chromosome;
}

void study_intake::check_chromosome(const std::string& chromosome, const input_line& at) {
    if (first_chromosome.empty()) {
        first_chromosome = chromosome;
        if (!facts.names_haploid && is_haploid(chromosome))
            LOG.refuse("autosome", at.file, at.number, "chromosome " + chromosome,
                       "an autosome, where everybody has two haplotypes");
    }
    if (chromosome != first_chromosome)
        LOG.refuse("one-chromosome", at.file, at.number, "chromosome " + chromosome,
                   "the same chromosome as before, " + first_chromosome);
}
