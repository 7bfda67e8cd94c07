#include "tools/evaluation.h"

#include <gtest/gtest.h>

#include <stdexcept>

using evaluation::CalledSet;
using evaluation::evaluate;
using evaluation::PhasedSet;
using evaluation::PhaseMask;
using evaluation::Report;
using evaluation::Score;

namespace {

// A set of one person with these two haplotypes, with sites at 100, 200, ... and the alleles A and C.
PhasedSet one_person(const std::string& first, const std::string& second, const std::string& id = "ann") {
    PhasedSet set{{id}, {}, {}};
    for (std::size_t i = 0; i < first.size(); ++i) {
        set.sites.push_back({100 * static_cast<std::int64_t>(i + 1), "A", "C"});
        set.alleles.push_back({first[i] == '1', second[i] == '1'});
    }
    return set;
}

// Joins two sets with the same sites and different people.
PhasedSet together(PhasedSet set, const PhasedSet& other) {
    set.people.insert(set.people.end(), other.people.begin(), other.people.end());
    for (std::size_t i = 0; i < set.alleles.size(); ++i) {
        set.alleles[i].insert(set.alleles[i].end(), other.alleles[i].begin(), other.alleles[i].end());
    }
    return set;
}

CalledSet one_person_called(const std::vector<std::int8_t>& calls) {
    CalledSet set{{"ann"}, {}, {}};
    for (std::size_t i = 0; i < calls.size(); ++i) {
        set.sites.push_back({100 * static_cast<std::int64_t>(i + 1), "A", "C"});
        set.calls.push_back({calls[i]});
    }
    return set;
}

PhaseMask one_person_mask(const std::string& states) {
    PhaseMask mask;
    for (const char state : states) mask.emplace_back(1, state);
    return mask;
}

TEST(Evaluate, TruthAgainstItselfHasNoSwitch) {
    const PhasedSet truth = one_person("010110", "101010");
    const Score score = evaluate({truth}, truth).total();
    EXPECT_EQ(score.heterozygotes, 4);
    EXPECT_EQ(score.pairs, 3);
    EXPECT_EQ(score.switches, 0);
    EXPECT_EQ(score.mismatches, 0);
    EXPECT_EQ(score.called, 6);
    EXPECT_EQ(score.span, 300);
    EXPECT_EQ(score.stretches, 1);
}

TEST(Evaluate, HaplotypeOrderDoesNotMatter) {
    const PhasedSet truth = one_person("010110", "101010");
    const PhasedSet exchanged = one_person("101010", "010110");
    EXPECT_EQ(evaluate({truth}, exchanged).total().switches, 0);
}

TEST(Evaluate, SwitchesBetweenConsecutiveHeterozygotesCount) {
    const PhasedSet truth = one_person("000000", "111111");
    const Score score = evaluate({truth}, one_person("001110", "110001")).total();
    EXPECT_EQ(score.pairs, 5);
    EXPECT_EQ(score.switches, 2);
    EXPECT_DOUBLE_EQ(score.switch_error_rate(), 0.4);
    EXPECT_EQ(score.stretches, 3);
    EXPECT_DOUBLE_EQ(score.mean_sites_between_switches(), 2);
    EXPECT_DOUBLE_EQ(score.mean_bases_between_switches(), 500 / 3.0);
}

TEST(Evaluate, FlippedFirstSiteIsOneSwitchAndFlippedMiddleSiteTwo) {
    const PhasedSet truth = one_person("0000", "1111");
    EXPECT_EQ(evaluate({truth}, one_person("1000", "0111")).total().switches, 1);
    EXPECT_EQ(evaluate({truth}, one_person("0100", "1011")).total().switches, 2);
}

TEST(Evaluate, SitesWithAnotherGenotypeAreMismatchesAndSkipped) {
    const PhasedSet truth = one_person("0000", "1111");
    const Score score = evaluate({truth}, one_person("0100", "1111")).total();
    EXPECT_EQ(score.mismatches, 1);
    EXPECT_EQ(score.heterozygotes, 3);
    EXPECT_EQ(score.pairs, 2);
    EXPECT_EQ(score.switches, 0);
}

TEST(Evaluate, SwappedAllelesAreFlipped) {
    const PhasedSet truth = one_person("0010", "1110");
    PhasedSet estimate = one_person("0001", "1101");
    for (const std::size_t site : {2, 3})
        std::swap(estimate.sites[site].allele0, estimate.sites[site].allele1);
    estimate.alleles[2] = {false, false};
    estimate.alleles[3] = {true, true};
    const Score score = evaluate({truth}, estimate).total();
    EXPECT_EQ(score.mismatches, 0);
    EXPECT_EQ(score.switches, 0);
    EXPECT_EQ(score.heterozygotes, 2);
}

TEST(Evaluate, OtherVariantsAndPeopleAreIgnored) {
    const PhasedSet truth = together(one_person("0000", "1111"), one_person("0101", "0110", "bob"));
    PhasedSet estimate = together(one_person("0100", "1011", "carl"), one_person("0110", "0101", "bob"));
    estimate.sites[0].allele1 = "T";
    estimate.sites[1].position = 222;
    const Report report = evaluate({truth}, estimate);
    EXPECT_EQ(report.variants, 2);
    ASSERT_EQ(report.people.size(), 1u);
    EXPECT_EQ(report.people[0].id, "bob");
    EXPECT_EQ(report.people[0].score.heterozygotes, 2);
    EXPECT_EQ(report.people[0].score.switches, 0);
}

TEST(Evaluate, SwitchesDoNotCrossPeople) {
    const PhasedSet truth = together(one_person("00", "11"), one_person("00", "11", "bob"));
    const PhasedSet estimate = together(one_person("00", "11"), one_person("11", "00", "bob"));
    const Report report = evaluate({truth}, estimate);
    EXPECT_EQ(report.total().switches, 0);
    EXPECT_EQ(report.total().pairs, 2);
    EXPECT_EQ(report.total().stretches, 2);
}

TEST(Evaluate, ComparesOnlyChosenPeople) {
    const PhasedSet truth = together(one_person("00", "11"), one_person("00", "11", "bob"));
    const std::vector<std::string> people{"bob", "nobody"};
    const Report report = evaluate({.truth = truth, .people = &people}, truth);
    ASSERT_EQ(report.people.size(), 1u);
    EXPECT_EQ(report.people[0].id, "bob");
}

TEST(Evaluate, MissingGenotypesAreComparedWithTheTruthAndGivenOnesWithTheInput) {
    const PhasedSet truth = one_person("00000", "11100");
    // The second genotype was given with an error, which the estimate must keep; the last two were missing.
    const CalledSet given = one_person_called({1, 2, 1, CalledSet::not_called, CalledSet::not_called});
    const Score kept = evaluate({.truth = truth, .given = &given}, one_person("01000", "11101")).total();
    EXPECT_EQ(kept.called, 3);
    EXPECT_EQ(kept.mismatches, 0);
    EXPECT_EQ(kept.filled, 2);
    EXPECT_EQ(kept.filled_wrong, 1);
    EXPECT_DOUBLE_EQ(kept.filling_error_rate(), 0.5);
    EXPECT_EQ(kept.pairs, 1);
    EXPECT_EQ(evaluate({.truth = truth, .given = &given}, truth).total().mismatches, 1);
}

TEST(Evaluate, GivenGenotypesWithSwappedAllelesAreFlipped) {
    const PhasedSet truth = one_person("010", "110");
    CalledSet given = one_person_called({1, 0, 2});
    for (auto& site : given.sites) std::swap(site.allele0, site.allele1);
    EXPECT_EQ(evaluate({.truth = truth, .given = &given}, truth).total().mismatches, 0);
}

TEST(Evaluate, MaskHidesPhaseAndGenotypes) {
    const PhasedSet truth = one_person("00000", "11110");
    const PhasedSet estimate = one_person("01010", "10101");
    EXPECT_EQ(evaluate({truth}, estimate).total().switches, 3);
    const PhaseMask mask = one_person_mask("101.m");
    const PhaseMask without_second = one_person_mask("1011m");
    const Score score = evaluate({.truth = truth, .mask = &without_second}, estimate).total();
    EXPECT_EQ(score.heterozygotes, 3);
    EXPECT_EQ(score.pairs, 2);
    EXPECT_EQ(score.switches, 1);
    EXPECT_EQ(score.called, 4);
    EXPECT_EQ(score.mismatches, 0);
    EXPECT_EQ(evaluate({.truth = truth, .mask = &mask}, estimate).total().pairs, 1);
}

TEST(Evaluate, MaskedMissingGenotypesAreNotCompared) {
    const PhasedSet truth = one_person("00", "11");
    const CalledSet given = one_person_called({CalledSet::not_called, CalledSet::not_called});
    const PhaseMask mask = one_person_mask("m1");
    const PhasedSet estimate = one_person("00", "00");
    const Score score = evaluate({.truth = truth, .given = &given, .mask = &mask}, estimate).total();
    EXPECT_EQ(score.filled, 1);
    EXPECT_EQ(score.filled_wrong, 1);
}

TEST(Evaluate, ImpossibleComparisonsAreRejected) {
    const PhasedSet truth = one_person("01", "10");
    PhasedSet elsewhere = truth;
    for (auto& site : elsewhere.sites) site.position += 7;
    EXPECT_THROW(evaluate({truth}, elsewhere), std::runtime_error);
    EXPECT_THROW(evaluate({truth}, one_person("01", "10", "bob")), std::runtime_error);
    EXPECT_THROW(evaluate({together(truth, truth)}, truth), std::runtime_error);

    PhasedSet unordered = truth;
    std::swap(unordered.sites[0], unordered.sites[1]);
    EXPECT_THROW(evaluate({unordered}, truth), std::runtime_error);

    const PhaseMask promising = one_person_mask("11");
    const PhasedSet homozygous = one_person("00", "10");
    EXPECT_THROW(evaluate({.truth = homozygous, .mask = &promising}, truth), std::runtime_error);

    CalledSet of_others = one_person_called({1, 1});
    of_others.people = {"bob"};
    EXPECT_THROW(evaluate({.truth = truth, .given = &of_others}, truth), std::runtime_error);
}

}  // namespace
