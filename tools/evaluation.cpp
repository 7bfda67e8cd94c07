#include "tools/evaluation.h"

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>
#include <unordered_map>

namespace evaluation {

namespace {

double ratio(std::int64_t part, std::int64_t whole) {
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

using IndexById = std::unordered_map<std::string, int>;

IndexById index_people(const std::vector<std::string>& people, const char* set_name) {
    IndexById indices;
    for (std::size_t i = 0; i < people.size(); ++i) {
        if (!indices.emplace(people[i], static_cast<int>(i)).second) {
            throw std::runtime_error("the id " + people[i] + " is not unique in the " + set_name);
        }
    }
    return indices;
}

void require_order(const std::vector<Site>& sites) {
    const auto descends = [](const Site& a, const Site& b) { return a.position > b.position; };
    if (std::adjacent_find(sites.begin(), sites.end(), descends) != sites.end()) {
        throw std::runtime_error("the sites of the truth are not in ascending order of position");
    }
}

// A person to compare: its index in each set, and the last heterozygous site scored.
struct Person {
    int in_truth;
    int in_estimate;
    int in_given;                     // SiteIndex::not_found if no genotypes were given
    std::optional<bool> orientation;  // whether the first haplotypes agreed at that site
    std::int64_t position = 0;        // of that site
};

// The two alleles of a person at a site; `turned` swaps the allele numbers.
struct AllelePair {
    bool first;
    bool second;

    AllelePair(const std::vector<bool>& row, int person, bool turned)
        : first(row[2 * person] != turned), second(row[2 * person + 1] != turned) {}

    int copies() const { return first + second; }
    bool heterozygous() const { return first != second; }
};

// A variant that truth and estimate have in common.
struct CommonSite {
    int in_truth;
    SiteIndex::Match in_estimate;
    SiteIndex::Match in_given;
};

class Comparison {
  public:
    Comparison(const Reference& reference, const PhasedSet& estimate)
        : reference_(reference), estimate_(estimate) {}

    Report run() {
        require_order(reference_.truth.sites);
        match_people();
        const std::vector<CommonSite> sites = match_sites();
        for (const CommonSite& site : sites) {
            for (std::size_t i = 0; i < people_.size(); ++i)
                compare(site, people_[i], report_.people[i].score);
        }
        report_.variants = static_cast<std::int64_t>(sites.size());
        return std::move(report_);
    }

  private:
    void match_people() {
        index_people(reference_.truth.people, "truth");
        const IndexById estimated = index_people(estimate_.people, "estimate");
        const CalledSet* given = reference_.given;
        const IndexById called = given ? index_people(given->people, "genotypes") : IndexById();
        std::set<std::string> chosen;
        if (reference_.people) chosen.insert(reference_.people->begin(), reference_.people->end());
        for (std::size_t i = 0; i < reference_.truth.people.size(); ++i) {
            const std::string& id = reference_.truth.people[i];
            if (!estimated.contains(id) || (reference_.people && !chosen.contains(id))) continue;
            if (given && !called.contains(id)) throw std::runtime_error("the genotypes lack " + id);
            const int in_given = given ? called.at(id) : SiteIndex::not_found;
            people_.push_back({static_cast<int>(i), estimated.at(id), in_given, {}});
            report_.people.push_back({id, {}});
        }
        if (people_.empty()) throw std::runtime_error("truth and estimate have no people in common");
    }

    std::vector<CommonSite> match_sites() const {
        const SiteIndex estimated(estimate_.sites);
        const std::vector<Site> none;
        const SiteIndex given(reference_.given ? reference_.given->sites : none);
        std::vector<CommonSite> sites;
        for (std::size_t i = 0; i < reference_.truth.sites.size(); ++i) {
            const Site& site = reference_.truth.sites[i];
            const SiteIndex::Match match = estimated.find(site);
            if (match.index == SiteIndex::not_found) continue;
            sites.push_back({static_cast<int>(i), match, given.find(site)});
        }
        if (sites.empty()) throw std::runtime_error("truth and estimate have no variants in common");
        return sites;
    }

    void compare(const CommonSite& site, Person& person, Score& score) const {
        const AllelePair truth(reference_.truth.alleles[site.in_truth], person.in_truth, false);
        const AllelePair estimate(estimate_.alleles[site.in_estimate.index], person.in_estimate,
                                  site.in_estimate.swapped);
        const Knowledge knowledge = knowledge_of(site, person, truth);
        compare_genotypes(site, person, knowledge, truth, estimate, score);
        if (knowledge == Knowledge::phase_known && estimate.heterozygous()) {
            compare_phase(site, person, truth.first == estimate.first, score);
        }
    }

    Knowledge knowledge_of(const CommonSite& site, const Person& person, const AllelePair& truth) const {
        if (!reference_.mask) return truth.heterozygous() ? Knowledge::phase_known : Knowledge::homozygous;
        const Knowledge knowledge{(*reference_.mask)[site.in_truth][person.in_truth]};
        if (knowledge == Knowledge::phase_known && !truth.heterozygous()) {
            throw std::runtime_error("the mask calls " + reference_.truth.people[person.in_truth] + " at " +
                                     std::to_string(reference_.truth.sites[site.in_truth].position) +
                                     " heterozygous, the truth does not");
        }
        return knowledge;
    }

    // Given genotypes must be unchanged; missing ones are compared with the truth.
    void compare_genotypes(const CommonSite& site, const Person& person, Knowledge knowledge,
                           const AllelePair& truth, const AllelePair& estimate, Score& score) const {
        const bool known = knowledge != Knowledge::nothing;
        std::optional<int> given;
        if (!reference_.given) {
            if (known) given = truth.copies();
        } else if (site.in_given.index != SiteIndex::not_found) {
            given = given_copies(site, person);
            if (!given && known) {
                ++score.filled;
                score.filled_wrong += estimate.copies() != truth.copies();
            }
        }
        if (given) {
            ++score.called;
            score.mismatches += estimate.copies() != *given;
        }
    }

    // Empty if the genotype was missing.
    std::optional<int> given_copies(const CommonSite& site, const Person& person) const {
        const std::int8_t call = reference_.given->calls[site.in_given.index][person.in_given];
        if (call == CalledSet::not_called) return std::nullopt;
        return site.in_given.swapped ? 2 - call : call;
    }

    void compare_phase(const CommonSite& site, Person& person, bool orientation, Score& score) const {
        const std::int64_t position = reference_.truth.sites[site.in_truth].position;
        ++score.heterozygotes;
        if (person.orientation) {
            const bool switched = orientation != *person.orientation;
            ++score.pairs;
            score.switches += switched;
            score.stretches += switched;
            score.span += position - person.position;
        } else {
            score.stretches = 1;
        }
        person.orientation = orientation;
        person.position = position;
    }

    const Reference& reference_;
    const PhasedSet& estimate_;
    std::vector<Person> people_;
    Report report_;
};

}  // namespace

Score& Score::operator+=(const Score& other) {
    heterozygotes += other.heterozygotes;
    pairs += other.pairs;
    switches += other.switches;
    span += other.span;
    stretches += other.stretches;
    called += other.called;
    mismatches += other.mismatches;
    filled += other.filled;
    filled_wrong += other.filled_wrong;
    return *this;
}

double Score::switch_error_rate() const {
    return ratio(switches, pairs);
}
double Score::filling_error_rate() const {
    return ratio(filled_wrong, filled);
}
double Score::mean_bases_between_switches() const {
    return ratio(span, stretches);
}
double Score::mean_sites_between_switches() const {
    return ratio(heterozygotes, stretches);
}

Score Report::total() const {
    Score sum;
    for (const PersonScore& person : people) sum += person.score;
    return sum;
}

Report evaluate(const Reference& reference, const PhasedSet& estimate) {
    return Comparison(reference, estimate).run();
}

}  // namespace evaluation
