#include <gtest/gtest.h>
#include <htslib/faidx.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <sstream>

#include "program.h"
#include "study.h"
#include "support/files.h"
#include "support/vcf_text.h"

/// Runs with VCF and BCF files, read and checked by other programs.
namespace {

using e2e::run;
using texts = std::vector<std::string>;

const std::string SHORT = " -M study.map -L run.log --seed 3 --burn 1 --prune 1 --main 2 ";

/// Runs a shell command in a folder and returns what it prints. It has to succeed.
std::string shell(const support::temporary_folder& folder, const std::string& command) {
    const std::string line = "cd '" + folder.path() + "' && { " + command + "; } 2>&1";
    FILE* pipe = ::popen(("bash -o pipefail -c " + ("\"" + line + "\"")).c_str(), "r");
    std::string text;
    std::array<char, 4096> bytes{};
    while (const std::size_t n = std::fread(bytes.data(), 1, bytes.size(), pipe))
        text.append(bytes.data(), n);
    EXPECT_EQ(::pclose(pipe), 0) << command << "\n" << text;
    return text;
}

void phase(const e2e::study& data, const std::string& line) {
    const auto end = run(data.folder(), line + SHORT);
    ASSERT_EQ(end.status, 0) << end.out << end.err;
}

/// The genotypes of a file without phase: the two alleles of each in ascending order.
texts unordered_calls(const std::string& file) {
    texts records;
    for (const std::string& record : support::calls_of(file)) {
        std::istringstream words(record);
        std::string text;
        for (std::string call; words >> call;) {
            std::replace(call.begin(), call.end(), '|', '/');
            const std::size_t slash = call.find('/');
            if (slash != std::string::npos && call.substr(0, slash) > call.substr(slash + 1))
                call = call.substr(slash + 1) + "/" + call.substr(0, slash);
            text += call + " ";
        }
        records.push_back(text);
    }
    return records;
}

/// A VCF with all that occurs, on chromosome 20, with a genotype of 30 people in each record.
std::string varied_vcf(unsigned seed = 5) {
    std::mt19937 random(seed);
    const auto draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    texts people, records;
    for (int i = 0; i < 30; ++i) people.push_back("P" + std::to_string(i));
    const texts ALLELES = {"A G", "A G", "C T", "CTT C", "G <DEL>", "T *,C", "A C,G,T", "G ."};
    for (int v = 0; v < 300; ++v) {
        const std::string& alleles = ALLELES[draw(static_cast<int>(ALLELES.size()))];
        const int n_alleles = alleles.ends_with('.')
                                  ? 1
                                  : 2 + static_cast<int>(std::count(alleles.begin(), alleles.end(), ','));
        std::string record = "20 " + std::to_string(1000 + 400 * (v - v % 3)) + " " +
                             (v % 4 == 0 ? "." : "v" + std::to_string(v)) + " " + alleles;
        for (int i = 0; i < 30; ++i) {
            const auto allele = [&] { return std::to_string(draw(n_alleles)); };
            const int kind = draw(20);
            record += " " + (kind == 0   ? "./."
                             : kind == 1 ? "./" + allele()
                                         : allele() + (kind < 10 ? "|" : "/") + allele());
        }
        records.push_back(record);
    }
    return support::vcf_text(people, records,
                             "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"c\">\n"
                             "##INFO=<ID=DP,Number=1,Type=Integer,Description=\"d\">\n");
}

TEST(vcf, gives_the_same_haplotypes_as_bed) {
    for (const char* mode : {"", " --match", " --cluster-size 20 --states 5"}) {
        const e2e::study data(40);
        phase(data, "-B study -O bed --output-vcf bed.vcf" + std::string(mode));
        phase(data, "-V study.vcf.gz -O vcf --output-vcf vcf.vcf" + std::string(mode));
        EXPECT_EQ(data.read("bed.haps"), data.read("vcf.haps")) << mode;
        EXPECT_EQ(data.read("bed.sample"), data.read("vcf.sample")) << mode;
        EXPECT_EQ(support::calls_of(data.at("bed.vcf")), support::calls_of(data.at("vcf.vcf"))) << mode;
    }
}

TEST(vcf, loses_nothing_on_the_way_through) {
    struct row {
        const char *in, *out, *mode;
    };
    unsigned seed = 0;
    for (const row& r : {row{"in.vcf", "out.vcf", ""}, row{"in.vcf.gz", "out.vcf.gz", " --match"},
                         row{"in.bcf", "out.bcf", " --early-stopping"}, row{"in.vcf.gz", "out.bcf", " -T 3"},
                         row{"in.bcf", "out.vcf", " --match -T 2"}}) {
        SCOPED_TRACE(std::string(r.in) + r.mode);
        const e2e::study data;
        support::put_vcf(data.folder(), r.in, varied_vcf(++seed));
        phase(data, "-V " + std::string(r.in) + " --keep-missing --output-vcf " + r.out + r.mode);
        // Half missing genotypes stay as they are, so all calls are those of the input.
        EXPECT_EQ(unordered_calls(data.at(r.out)), unordered_calls(data.at(r.in)));
        const std::string columns = "bcftools query -f '%CHROM %POS %ID %REF %ALT %QUAL %FILTER\\n' ";
        EXPECT_EQ(shell(data.folder(), columns + r.out), shell(data.folder(), columns + r.in));
        phase(data, "-V " + std::string(r.in) + " --output-vcf filled.bcf" + r.mode);
        for (const std::string& record : support::calls_of(data.at("filled.bcf")))
            EXPECT_EQ(record.find('.'), std::string::npos) << record;
    }
}

TEST(vcf, the_bytes_depend_on_data_and_seed_alone) {
    const e2e::study data;
    support::put_vcf(data.folder(), "in.bcf", varied_vcf());
    phase(data, "-V in.bcf --match --output-vcf one.bcf");
    phase(data, "--match --output-vcf three.bcf -V in.bcf -T 3");
    EXPECT_EQ(data.read("one.bcf"), data.read("three.bcf"));
    EXPECT_EQ(data.read("one.bcf.csi"), data.read("three.bcf.csi"));
    const texts header = support::header_of(data.at("one.bcf"));
    EXPECT_NE(std::ranges::find(header, "##tolvane=v3.r881 --seed 3 --burn 1 --prune 1 --main 2 --match"),
              header.end());
    phase(data, "-V in.bcf --output-vcf none.vcf --no-version");
    EXPECT_EQ(data.read("none.vcf").find("tolvane"), std::string::npos);
}

TEST(vcf, other_programs_read_it) {
    const e2e::study data;
    phase(data, "-V study.vcf.gz --output-vcf out.vcf.gz");
    phase(data, "-B study --output-vcf plink.bcf");
    const auto sh = [&](const std::string& command) { return shell(data.folder(), command); };
    const std::string n = std::to_string(support::records_of(data.at("study.vcf.gz")).size());
    for (const std::string file : {"out.vcf.gz", "plink.bcf"}) {
        EXPECT_NE(sh("bcftools index -s " + file).find("\t" + n + "\n"), std::string::npos);
        EXPECT_NE(sh("bcftools stats " + file + " | grep 'number of records:'").find("\t" + n + "\n"),
                  std::string::npos);
        EXPECT_EQ(sh("bcftools view -H " + file + " | wc -l"), n + "\n");
        sh("bcftools norm -d exact " + file + " -o /dev/null");
        sh("bcftools concat " + file + " -o /dev/null");
        // Through another program and back: the same genotypes, with the same alleles.
        for (const std::string plink : {"plink1.9 --keep-allele-order", "plink2"}) {
            sh(plink + (file.ends_with("bcf") ? " --bcf " : " --vcf ") + file +
               " --double-id --make-bed --out back");
            sh("plink2 --bfile back --export vcf --out back");
            EXPECT_EQ(unordered_calls(data.at("back.vcf")), unordered_calls(data.at(file))) << plink;
        }
    }
}

TEST(vcf, a_region_is_phased_alone) {
    const e2e::study data;
    const texts records = support::records_of(data.at("study.vcf.gz"));
    const std::string first = e2e::words(records[10])[1], last = e2e::words(records[30])[1];
    phase(data, "-V study.vcf.gz --region chr20:" + first + "-" + last + " --output-vcf part.vcf");
    EXPECT_EQ(support::records_of(data.at("part.vcf")).size(), 21U);
    phase(data, "-B study --region 20:" + first + "-" + last + " --output-vcf bed.vcf");
    EXPECT_EQ(support::calls_of(data.at("part.vcf")), support::calls_of(data.at("bed.vcf")));
}

TEST(vcf, a_panel_in_vcf_does_what_that_of_three_files_does) {
    const e2e::study data(10, 0.6, 15);
    phase(data, "-B study -R study.panel.haps.gz study.panel.legend.gz study.panel.sample -O three");
    phase(data, "-V study.vcf.gz -R study.panel.vcf.gz -O one");
    EXPECT_EQ(data.read("three.haps"), data.read("one.haps"));
}

TEST(vcf, variants_that_the_panel_lacks_are_excluded_on_request) {
    simulation::Settings settings;
    settings.individuals = 10;
    settings.panel_individuals = 15;
    settings.megabases = 0.6;
    settings.absent_in_panel_rate = 0.1;
    const e2e::study data(settings);
    EXPECT_EQ(run(data.folder(), "-V study.vcf.gz -R study.panel.vcf.gz -O out" + SHORT).status, 1);
    phase(data, "-V study.vcf.gz -R study.panel.vcf.gz --panel-missing exclude -O one --output-vcf one.vcf");
    const std::string absent = data.read("run.snp.strand.exclude");
    EXPECT_GT(support::lines_of(absent).size(), 3U);
    data.write("absent.txt", absent);
    phase(data, "-V study.vcf.gz -R study.panel.vcf.gz --exclude-snp absent.txt -O two");
    EXPECT_EQ(data.read("one.haps"), data.read("two.haps"));
    EXPECT_EQ(support::records_of(data.at("one.vcf")).size(),
              support::lines_of(data.read("one.haps")).size());
    phase(data,
          "-B study -R study.panel.haps.gz study.panel.legend.gz study.panel.sample --panel-missing exclude "
          "-O three");
    EXPECT_EQ(data.read("one.haps"), data.read("three.haps"));
}

TEST(vcf, maps_of_other_layouts_place_the_same) {
    const e2e::study data;
    std::string plink = "19 x 1 5\n", table = "chr position rate cM\nchr19 5 1 1\n";
    bool is_header = true;
    for (const std::string& line : support::lines_of(data.read("study.map"))) {
        const e2e::arguments fields = e2e::words(line);
        if (!std::exchange(is_header, false)) {
            plink += "20 . " + fields[2] + " " + fields[0] + "\n";
            table += "chr20 " + fields[0] + " 1 " + fields[2] + "\n";
        }
    }
    data.write("plink.map", plink + "21 x 7 9\n");
    data.write("table.map", table + "chr21 9 1 7\n");
    phase(data, "-V study.vcf.gz -O out");
    const std::string expected = data.read("out.haps");
    for (const std::string layout : {"plink", "table"}) {
        const auto end = run(data.folder(), "-V study.vcf.gz -O out -M " + layout + ".map --map-format " +
                                                layout + " -L run.log --seed 3 --burn 1 --prune 1 --main 2");
        ASSERT_EQ(end.status, 0) << end.out;
        EXPECT_EQ(data.read("out.haps"), expected) << layout;
    }
}

TEST(vcf, a_failed_run_leaves_an_earlier_result) {
    const e2e::study data;
    phase(data, "-V study.vcf.gz --output-vcf out.bcf -O out");
    const std::string vcf = data.read("out.bcf"), index = data.read("out.bcf.csi"),
                      haps = data.read("out.haps");
    data.write("broken.vcf", support::gunzip(data.read("study.vcf.gz")) + "20\tx\n");
    EXPECT_EQ(run(data.folder(), "-V broken.vcf --output-vcf out.bcf -O out" + SHORT).status, 1);
    EXPECT_EQ(data.read("out.bcf"), vcf);
    EXPECT_EQ(data.read("out.bcf.csi"), index);
    EXPECT_EQ(data.read("out.haps"), haps);
}

/// Writes a reference sequence of the study. At every third variant with single bases it has the second
/// allele. Returns how many these are.
int put_reference(const e2e::study& data) {
    std::string bases;
    int n_turned = 0, v = 0;
    for (const std::string& line : support::lines_of(data.read("study.bim"))) {
        const e2e::arguments fields = e2e::words(line);
        const auto position = static_cast<std::size_t>(std::stoul(fields[3]));
        const bool is_turned = v++ % 3 == 0 && fields[4].size() == 1 && fields[5].size() == 1;
        n_turned += is_turned;
        if (bases.size() < position + 100) bases.resize(position + 100, 'N');
        const std::string& allele = fields[is_turned ? 5 : 4];
        bases.replace(position - 1, allele.size(), allele);
    }
    std::string text = ">chr20\n";
    for (std::size_t i = 0; i < bases.size(); i += 60) text += bases.substr(i, 60) + "\n";
    data.write("ref.fa", text);
    EXPECT_EQ(::fai_build(data.at("ref.fa").c_str()), 0);
    return n_turned;
}

TEST(vcf, alleles_are_turned_to_a_reference) {
    const e2e::study data;
    const int n_turned = put_reference(data);
    ASSERT_GT(n_turned, 10);
    phase(data, "-B study --output-vcf as_is.vcf");
    const auto end = run(data.folder(), "-B study --reference ref.fa --output-vcf out.vcf.gz" + SHORT);
    ASSERT_EQ(end.status, 0) << end.out;
    EXPECT_NE(end.out.find("  * " + std::to_string(n_turned) + " variants turned to the reference"),
              std::string::npos);
    // Everybody has the same alleles, whichever is the reference.
    const auto sh = [&](const std::string& command) { return shell(data.folder(), command); };
    const std::string query = "bcftools query -f '[%TGT ]\\n' ";
    EXPECT_EQ(sh(query + "out.vcf.gz"), sh(query + "as_is.vcf"));
    sh("sed 's/^>chr20/>20/' ref.fa > plain.fa");
    sh("bcftools norm --check-ref e -f plain.fa out.vcf.gz -o /dev/null");
    const std::string fixref = sh("bcftools +fixref out.vcf.gz -- -f plain.fa");
    EXPECT_NE(fixref.find("ref mismatch \t0\t"), std::string::npos) << fixref;
}

// ---- chromosome X

/// Rewrites a study so that every second person is a male with one copy: of the two true haplotypes it keeps
/// the first one. Returns the names of the males, a line each.
std::string make_males(const e2e::study& data) {
    std::string males;
    const texts truth = support::lines_of(data.read("study.truth.haps"));
    const texts people = data.cohort().study_ids;
    for (std::size_t i = 0; i < people.size(); i += 2) males += people[i] + "\n";
    std::string text;
    std::size_t v = 0;
    for (const std::string& line : support::lines_of(support::gunzip(data.read("study.vcf.gz")))) {
        if (line.starts_with('#')) {
            text += line + "\n";
            continue;
        }
        const e2e::arguments fields = e2e::words(line), alleles = e2e::words(truth[v++]);
        for (std::size_t f = 0; f < fields.size(); ++f) {
            const std::size_t i = f - 9;
            const bool is_male = f >= 9 && i % 2 == 0;
            text += (f == 0 ? "" : "\t") + (!is_male             ? fields[f]
                                            : fields[f] == "./." ? "."
                                                                 : alleles[5 + 2 * i]);
        }
        text += "\n";
    }
    support::put_vcf(data.folder(), "x.vcf.gz", text);
    return males;
}

TEST(vcf, males_stay_haploid_on_x) {
    simulation::Settings settings;
    settings.individuals = 60;
    settings.megabases = 1;
    settings.missing_rate = 0.03;
    const e2e::study data(settings);
    data.write("males.txt", make_males(data));
    const std::string more = " --match --main 10";
    const auto end =
        run(data.folder(), "-V x.vcf.gz -O out --output-vcf out.vcf -M study.map -L run.log --seed 3" + more);
    ASSERT_EQ(end.status, 0) << end.out;
    for (const std::string& record : support::calls_of(data.at("out.vcf"))) {
        const e2e::arguments calls = e2e::words(record);
        for (std::size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i].size(), i % 2 == 0 ? 1U : 3U);
    }
    for (const std::string& line : support::lines_of(data.read("out.haps"))) {
        const e2e::arguments alleles = e2e::words(line);
        for (std::size_t i = 0; i < 60; i += 2) EXPECT_EQ(alleles[5 + 2 * i], alleles[6 + 2 * i]);
    }
    // The females are phased about as well as if all were, with half the haplotypes.
    const evaluation::Score with_males = data.score();
    ASSERT_EQ(run(data.folder(), "-V study.vcf.gz -O out -M study.map -L run.log --seed 3" + more).status, 0);
    const evaluation::Score all = data.score();
    EXPECT_LT(with_males.switch_error_rate(), 1.5 * all.switch_error_rate());
}

TEST(vcf, a_list_makes_people_of_other_formats_haploid) {
    const e2e::study data(30);
    const std::string males = make_males(data);
    data.write("males.txt", males);
    shell(data.folder(),
          "bcftools +fixploidy x.vcf.gz -- -f 2 > diploid.vcf; plink2 --vcf diploid.vcf --double-id "
          "--make-bed --out x");
    phase(data, "-B x --haploid males.txt --output-vcf out.vcf");
    const texts calls = support::calls_of(data.at("out.vcf"));
    for (const std::string& record : calls) {
        const e2e::arguments words = e2e::words(record);
        for (std::size_t i = 0; i < words.size(); ++i) EXPECT_EQ(words[i].size(), i % 2 == 0 ? 1U : 3U) << i;
    }
    // Heterozygous ones become missing and are filled in.
    const auto end = run(data.folder(), "-B study --haploid males.txt --output-vcf het.vcf" + SHORT);
    ASSERT_EQ(end.status, 0);
    EXPECT_NE(end.out.find("heterozygous genotypes of them taken for missing"), std::string::npos);
}

}  // namespace
