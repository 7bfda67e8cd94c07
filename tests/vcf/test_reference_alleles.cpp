#include "vcf/reference_alleles.h"

#include <gtest/gtest.h>
#include <htslib/faidx.h>

#include "support/child_process.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace {

using support::log_capture;
using support::stops_naming;

/// Variants at these positions with these alleles, on chromosome 20.
snp_set variants(const std::vector<snp>& all) {
    snp_set set;
    for (snp variant : all) {
        variant.chromosome = "20";
        set.put(variant);
    }
    set.indexing();
    return set;
}

/// The alleles of each variant as in a VCF; "-" for one that is not written, "*" behind turned ones.
std::string text_of(const reference_alleles& all) {
    std::string text;
    for (const vcf_alleles& a : all.variants)
        text += (text.empty() ? "" : " ") +
                (a.is_written ? a.reference + ">" + a.alternative + (a.is_turned ? "*" : "") : "-");
    return text;
}

/// A FASTA of two chromosomes with its index.
std::string put_fasta(const log_capture& capture) {
    std::string file = capture.folder().put("ref.fa", ">chr19\nTTTTTTTT\n>chr20 x\nACGTa\ncgtNA\n");
    EXPECT_EQ(::fai_build(file.c_str()), 0);
    return file;
}

TEST(ReferenceAlleles, WithoutASequenceTheFirstAlleleIsTheReference) {
    const log_capture capture;
    const auto all =
        find_reference_alleles(variants({{1, "A", "G"}, {2, "T", "TA"}, {3, "C", "C"}, {4, "g", "0"}}), "",
                               capture.folder().at("run"));
    EXPECT_EQ(text_of(all), "A>G T>TA C> g>");
    EXPECT_EQ(all.chromosome, "20");
    EXPECT_EQ(all.length, 0);
}

TEST(ReferenceAlleles, ASequenceTurnsThem) {
    const log_capture capture;
    const auto all = find_reference_alleles(
        variants(
            {{1, "A", "G"}, {2, "T", "C"}, {3, "GTAC", "G"}, {4, "G", "TA"}, {5, "T", "T"}, {6, "c", "T"}}),
        put_fasta(capture), capture.folder().at("run"));
    EXPECT_EQ(text_of(all), "A>G C>T* GTAC>G TA>G* A>T* c>T");
    EXPECT_EQ(all.length, 10);
    EXPECT_NE(capture.log().find("  * 3 variants turned to the reference\n"), std::string::npos);
}

TEST(ReferenceAlleles, WhatCannotBeWrittenIsListed) {
    const log_capture capture;
    std::vector<snp> some(10, snp(1, "A", "C"));
    some.emplace_back(7, "A", "C");
    some.emplace_back(8, "I", "D");
    const auto all = find_reference_alleles(variants(some), put_fasta(capture), capture.folder().at("run"));
    EXPECT_EQ(text_of(all), "A>C A>C A>C A>C A>C A>C A>C A>C A>C A>C - -");
    EXPECT_EQ(support::read_file(capture.folder().at("run.vcf.exclude")),
              "pos\tid\tA\tB\treason\n7\t7\tA\tC\tnot in the reference\n8\t8\tI\tD\tnot bases\n");
}

TEST(ReferenceAlleles, AnotherAssemblyStopsTheRun) {
    const log_capture capture;
    const std::string fasta = put_fasta(capture);
    const snp_set study = variants({{1, "A", "C"}, {2, "G", "T"}, {3, "A", "C"}});
    EXPECT_TRUE(stops_naming({"2 of 3 variants do not match " + fasta, "another assembly"},
                             [&] { find_reference_alleles(study, fasta, capture.folder().at("run")); }));
}

TEST(ReferenceAlleles, FilesThatCannotBeUsedStopTheRun) {
    const log_capture capture;
    snp_set study = variants({{1, "A", "C"}});
    const auto find = [&](const std::string& fasta) {
        return [&study, fasta] { find_reference_alleles(study, fasta, "run"); };
    };
    EXPECT_TRUE(stops_naming({"x.fa is impossible to open"}, find("x.fa")));
    const std::string without = capture.folder().put("no.fa", ">20\nA\n");
    EXPECT_TRUE(stops_naming({without + ".fai is missing"}, find(without)));
    study.snp_list[0].chromosome = "7";
    const std::string fasta = put_fasta(capture);
    EXPECT_TRUE(stops_naming({fasta + " has no chromosome 7; it has chr19, chr20"}, find(fasta)));
}

TEST(ReferenceAlleles, TheStudyHasOneNamedChromosome) {
    snp_set study = variants({{1, "A", "C"}, {2, "A", "C"}});
    study.snp_list[1].chromosome = "21";
    EXPECT_TRUE(
        stops_naming({"several chromosomes (20, 21)"}, [&] { find_reference_alleles(study, "", "run"); }));
    for (const char* name : {"", "0"}) {
        study.snp_list[0].chromosome = name;
        EXPECT_TRUE(stops_naming({"does not tell its chromosome"},
                                 [&] { find_reference_alleles(study, "", "run"); }));
    }
}

}  // namespace
