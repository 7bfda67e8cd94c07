#include "writers/vcf_rewriter.h"

#include <gtest/gtest.h>

#include "readers/vcf_source.h"
#include "support/child_process.h"
#include "support/haplotype_text.h"
#include "support/log_capture.h"
#include "support/study.h"
#include "support/vcf_text.h"

namespace {

using support::log_capture;
using support::study;
using support::vcf_text;

/// A VCF that was read, and its haplotypes: two texts for each individual, an allele for each variant.
struct phased_vcf {
    phased_vcf(const std::string& text, const std::vector<std::string>& haplotypes, study s = {})
        : input(support::put_vcf(capture.folder(), "in.vcf", text), std::nullopt, 1) {
        vcf_source source(input, s.filter);
        s.store = read_study(source);
        s.store.settleMissingHaploid();
        std::vector<genotype_graph> graphs(s.store.ind_ids.begin(), s.store.ind_ids.end());
        set = genhap_set(std::move(s.store.snps), std::move(graphs));
        set.haploid = std::move(s.store.haploid);
        for (std::size_t h = 0; h < haplotypes.size(); ++h) set.vecH[h] = support::haplotype(haplotypes[h]);
    }

    /// Writes the result and returns its name.
    std::string write(const vcf_content& content = {}, const char* name = "out.vcf") {
        const std::string file = capture.folder().at(name);
        vcf_rewriter sink({file}, content, input, set);
        write_haplotypes(set, sink);
        EXPECT_EQ(sink.publish(), "");
        return file;
    }
    std::vector<std::string> calls(const vcf_content& content = {}) {
        return support::calls_of(write(content));
    }

    log_capture capture;
    vcf_file input;
    genhap_set set;
};

const std::vector<std::string> PAIR = {"Ann", "Bob"};
using texts = std::vector<std::string>;

TEST(VcfRewriter, KeepsEverythingButTheGenotypes) {
    const std::string header =
        "##source=somebody\n##FILTER=<ID=q10,Description=\"Low\">\n"
        "##INFO=<ID=DP,Number=1,Type=Integer,Description=\"Depth\">\n"
        "##INFO=<ID=NOTE,Number=.,Type=String,Description=\"Any\">\n"
        "##FORMAT=<ID=PL,Number=G,Type=Integer,Description=\"L\">\n";
    std::string text = vcf_text(PAIR, {"20 100 a A G 0/1 1/0", "20 200 . CTT C 1/1 ./."}, header);
    text.replace(text.find(".\t.\t.\tGT\t0/1\t1/0"), 16,
                 "7.5\tq10\tDP=3;NOTE=x,y\tGT:PL\t0/1:1,2,3\t1/0:4,5,6");
    for (const char* name : {"out.vcf", "out.vcf.gz", "out.bcf"}) {
        phased_vcf p(text, {"01", "11", "01", "10"});
        const std::string file = p.write({.header_line = "##tolvane=v1 --seed 3"}, name);
        EXPECT_EQ(support::records_of(file),
                  (texts{"20\t100\ta\tA\tG\t7.5\tq10\tDP=3;NOTE=x,y\tGT:PL\t0|1:1,2,3\t0|1:4,5,6",
                         "20\t200\t.\tCTT\tC\t.\t.\t.\tGT\t1|1\t1|0"}));
        const texts before = support::header_of(p.capture.folder().at("in.vcf")),
                    after = support::header_of(file);
        texts expected(before.begin(), before.end() - 1);
        expected.push_back("##tolvane=v1 --seed 3");
        expected.push_back(before.back());
        EXPECT_EQ(after, expected);
    }
}

TEST(VcfRewriter, Genotypes) {
    struct row {
        const char* name;
        const char* record;  // genotypes of two people
        texts haplotypes;    // of one variant each
        const char* filled;
        const char* kept;  // if missing genotypes stay
    };
    const row ROWS[] = {
        {"heterozygous", "A G 0/1 1|0", {"1", "0", "0", "1"}, "1|0 0|1", "1|0 0|1"},
        {"homozygous", "A G 0/0 1/1", {"0", "0", "1", "1"}, "0|0 1|1", "0|0 1|1"},
        {"missing", "A G ./. 0/1", {"1", "0", "0", "1"}, "1|0 0|1", "./. 0|1"},
        {"missing, one dot", "A G . 0/1", {"1", "0", "0", "1"}, "1|0 0|1", ". 0|1"},
        {"half missing", "A G ./1 0/1", {"0", "0", "0", "1"}, "0|0 0|1", "./1 0|1"},
        {"haploid", "A G 1 0/1", {"1", "1", "0", "1"}, "1 0|1", "1 0|1"},
        {"all haploid", "A G 1 0", {"1", "1", "0", "0"}, "1 0", "1 0"},
        {"third allele", "A G,T 0/2 0/0", {"1", "0", "0", "0"}, "2|0 0|0", "2|0 0|0"},
        {"two other alleles", "A G,T 0/0 1/2", {"0", "0", "1", "1"}, "0|0 1/2", "0|0 1/2"},
        {"alternative is most frequent", "A G 1/1 0/1", {"1", "1", "0", "1"}, "1|1 0|1", "1|1 0|1"},
        {"third is most frequent", "A G,T 2/2 2/1", {"0", "0", "1", "0"}, "2|2 1|2", "2|2 1|2"},
    };
    for (const row& r : ROWS) {
        const std::string text = vcf_text(PAIR, {"20 100 . " + std::string(r.record)});
        EXPECT_EQ(phased_vcf(text, r.haplotypes).calls(), texts{r.filled}) << r.name;
        EXPECT_EQ(phased_vcf(text, r.haplotypes).calls({.keeps_missing = true}), texts{r.kept}) << r.name;
    }
}

TEST(VcfRewriter, FillsInTheMostFrequentOtherAllele) {
    const std::string text = vcf_text({"A", "B", "C", "D"},
                                      {"20 100 . A G,T,C 0/0 0/0 2/2 ./.", "20 200 . A G,T ./. 1/2 0/0 0/0"});
    phased_vcf p(text, {"01", "00", "01", "01", "10", "10", "10", "00"});
    EXPECT_EQ(p.calls(), (texts{"0|0 0|0 2|2 2|0", "1|0 1/2 0|0 0|0"}));
}

TEST(VcfRewriter, MissingHaploidGenotypesStayHaploid) {
    // The first person is haploid, the second one is not: both have their missing genotypes as one dot.
    const std::string text = vcf_text(PAIR, {"X 100 . A G 1 0/1", "X 200 . A G . .", "X 300 . A G 0 1/1"});
    // The second record has missing genotypes only and takes no part.
    EXPECT_EQ(phased_vcf(text, {"10", "10", "01", "11"}).calls({.keeps_unphased = true}),
              (texts{"1 0|1", ". .", "0 1|1"}));
    const std::string third = vcf_text({"Ann", "Bob", "Eve"}, {"X 100 . A G 1 0/1 0", "X 200 . A G . . 1"});
    phased_vcf q(third, {"11", "11", "00", "11", "01", "01"});
    EXPECT_EQ(q.calls(), (texts{"1 0|1 0", "1 0|1 1"})) << "one value is not enough for the second person";
}

TEST(VcfRewriter, CountsFollowTheGenotypes) {
    const std::string header =
        "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"c\">\n"
        "##INFO=<ID=AN,Number=1,Type=Integer,Description=\"n\">\n"
        "##INFO=<ID=AF,Number=A,Type=Float,Description=\"f\">\n";
    std::string text = vcf_text(PAIR, {"20 100 a A G,T 0/0 ./.", "20 200 b A G 0/1 0/0"}, header);
    text.replace(text.find(".\t.\t.\tGT\t0/0\t./."), 5, ".\t.\tAC=0,9;AN=2;AF=0.1,0.9");
    phased_vcf p(text, {"00", "01", "00", "10"});
    EXPECT_EQ(support::records_of(p.write()),
              (texts{"20\t100\ta\tA\tG,T\t.\t.\tAC=1,0;AN=4;AF=0.25,0\tGT\t0|0\t0|1",
                     "20\t200\tb\tA\tG\t.\t.\t.\tGT\t0|1\t0|0"}));
}

TEST(VcfRewriter, CountsOfARecordWithoutAlternative) {
    const std::string header =
        "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"c\">\n"
        "##INFO=<ID=AN,Number=1,Type=Integer,Description=\"n\">\n";
    std::string text = vcf_text(PAIR, {"20 100 a A . 0/0 ./."}, header);
    text.replace(text.find(".\t.\t.\tGT\t0/0\t./."), 5, ".\t.\tAC=0;AN=2");
    phased_vcf p(text, {"0", "0", "0", "0"});
    EXPECT_EQ(support::records_of(p.write()), texts{"20\t100\ta\tA\t.\t.\t.\tAC=0;AN=4\tGT\t0|0\t0|0"});
}

TEST(VcfRewriter, CountsFollowTheGenotypesWhateverTheirType) {
    for (const auto& [header, expected] : {std::pair("", "AC=1;AN=4;AF=0.25"),
                                           {"##INFO=<ID=AC,Number=A,Type=String,Description=\"c\">\n##INFO=<"
                                            "ID=AN,Number=1,Type=Float,Description=\"n\">\n",
                                            "AC=1;AN=4;AF=0.25"}}) {
        std::string text = vcf_text(PAIR, {"20 100 a A G 0/0 ./."}, header);
        text.replace(text.find(".\t.\t.\tGT\t0/0\t./."), 5, ".\t.\tAC=9;AN=2;AF=0.9");
        phased_vcf p(text, {"0", "0", "0", "1"});
        EXPECT_EQ(support::records_of(p.write()),
                  texts{"20\t100\ta\tA\tG\t.\t.\t" + std::string(expected) + "\tGT\t0|0\t0|1"});
    }
}

TEST(VcfRewriter, ARecordThatTookNoPartMayHaveAllelesBeyondItsOwn) {
    std::string text =
        vcf_text({"Ann", "Bob", "Eve"}, {"20 100 a A G 0/1 0/1 0/0", "20 200 b A G 0/90 0/1 ./."},
                 "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"c\">\n");
    text.replace(text.find(".\t.\t.\tGT\t0/90"), 5, ".\t.\tAC=9");
    study s;
    s.filter.ind_exclude["Eve"] = false;
    s.filter.snp_exclude[200] = false;
    phased_vcf p(text, {"0", "1", "0", "1"}, s);
    EXPECT_EQ(support::records_of(p.write({.keeps_unphased = true})).back(),
              "20\t200\tb\tA\tG\t.\t.\tAC=1\tGT\t0/90\t0/1");
}

TEST(VcfRewriter, HaploidPeopleWithTwoDots) {
    const std::string text =
        vcf_text(PAIR, {"X 100 . A G 1 0/1", "X 200 . A G ./. 0/1", "X 300 . A G 0 1/1"});
    EXPECT_EQ(phased_vcf(text, {"110", "110", "001", "111"}).calls(), (texts{"1 0|1", "1 0|1", "0 1|1"}));
    const std::string kept = vcf_text(PAIR, {"X 100 . A G 1 0/1", "X 200 . A G ./. 0/1"});
    EXPECT_EQ(phased_vcf(kept, {"11", "11", "00", "11"}).calls({.keeps_missing = true}),
              (texts{"1 0|1", "./. 0|1"}));
}

TEST(VcfRewriter, LeavesOutWhatTookNoPart) {
    const std::string text = vcf_text(PAIR, {"20 100 a A G 0|1 0|1", "20 200 b A G 0/1 0/1",
                                             "20 300 c A G ./. .|.", "20 400 d A G 0|1 1|1"});
    study s;
    s.filter.snp_exclude[100] = s.filter.snp_exclude[400] = false;
    EXPECT_EQ(phased_vcf(text, {"0", "1", "1", "0"}, s).calls(), texts{"0|1 1|0"});
    EXPECT_EQ(phased_vcf(text, {"0", "1", "1", "0"}, s).calls({.keeps_unphased = true}),
              (texts{"0/1 0/1", "0|1 1|0", "./. ./.", "0/1 1/1"}));
}

TEST(VcfRewriter, LeavesOutIndividuals) {
    const std::string header = "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"c\">\n";
    std::string text = vcf_text({"Ann", "Bob", "Eve"}, {"20 100 a A G 0/1 0/1 1/1"}, header);
    text.replace(text.find(".\t.\t.\tGT\t0/1"), 5, ".\t.\tAC=4");
    study s;
    s.filter.ind_exclude["Bob"] = false;
    phased_vcf p(text, {"0", "1", "1", "1"}, s);
    const std::string file = p.write();
    EXPECT_EQ(support::records_of(file), texts{"20\t100\ta\tA\tG\t.\t.\tAC=3\tGT\t0|1\t1|1"});
    EXPECT_TRUE(support::header_of(file).back().ends_with("FORMAT\tAnn\tEve"));
}

TEST(VcfRewriter, ARegionIsWritten) {
    const log_capture capture;
    const std::string name = support::put_vcf(
        capture.folder(), "in.vcf",
        vcf_text(PAIR, {"20 100 a A G 0/1 0/1", "20 200 b A G 0/1 0/1", "21 200 c A G 0/1 0/1"}));
    vcf_file input(name, genome_region{"20", 150, 300}, 1);
    study s;
    vcf_source source(input, s.filter);
    s.store = read_study(source);
    genhap_set set(std::move(s.store.snps), {s.store.ind_ids.begin(), s.store.ind_ids.end()});
    for (int h : {1, 3}) set.vecH[h] = support::haplotype("1");
    const std::string file = capture.folder().at("out.bcf");
    vcf_rewriter sink({file}, {.keeps_unphased = true}, input, set);
    write_haplotypes(set, sink);
    sink.publish();
    EXPECT_EQ(support::records_of(file), texts{"20\t200\tb\tA\tG\t.\t.\t.\tGT\t0|1\t0|1"});
}

TEST(VcfRewriter, AnInputThatChangesStopsTheRun) {
    phased_vcf p(vcf_text(PAIR, {"20 100 a A G 0/1 0/1", "20 200 b A G 0/1 0/1"}), {"00", "11", "00", "11"});
    support::put_vcf(p.capture.folder(), "in.vcf",
                     vcf_text({"Bob", "Ann"}, {"20 100 a A G 0/1 0/1", "20 200 b A G 0/1 0/1"}));
    EXPECT_TRUE(support::stops_naming({"in.vcf has changed while this run was working"}, [&] { p.write(); }));
}

TEST(VcfRewriter, HaplotypesThatContradictTheGenotypesAreABug) {
    phased_vcf p(vcf_text(PAIR, {"20 100 a A G 0/1 0/1"}), {"0", "0", "0", "1"});
    EXPECT_TRUE(support::aborts_on("the haplotypes have the alleles of the genotype", [&] { p.write(); }));
}

}  // namespace
