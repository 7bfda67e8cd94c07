#include "tools/cohort_files.h"

#include <array>
#include <charconv>

#include "tools/text_file.h"

namespace simulation {

namespace {

constexpr double read_error_rate = 0.01;

std::string fixed(double value, int digits) {
    std::array<char, 64> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits).ptr;
    return {text.data(), end};
}

std::string compressed_name(const std::string& path, bool compressed) {
    return compressed ? path + ".gz" : path;
}

// "id id", the start of lines of individuals and of variants.
std::string twice(const std::string& id) {
    return id + ' ' + id;
}

// "id id position allele0 allele1", the start of GEN and HAPS lines.
std::string line_head(const Locus& locus) {
    return twice(locus.id) + ' ' + std::to_string(locus.position) + ' ' + locus.allele0 + ' ' + locus.allele1;
}

void write_sample(const std::string& path, const std::vector<std::string>& ids) {
    tools::TextWriter file(path);
    file.write("ID_1 ID_2 missing\n0 0 0\n");
    for (const std::string& id : ids) file.write(twice(id) + " 0\n");
    file.close();
}

using Probabilities = std::array<double, 3>;

std::string certain_genotype(Genotype genotype) {
    switch (genotype) {
        case Genotype::homozygous0:
            return " 1 0 0";
        case Genotype::heterozygous:
            return " 0 1 0";
        case Genotype::homozygous1:
            return " 0 0 1";
        default:
            return " 0 0 0";
    }
}

// Genotype probabilities given only the sequencing reads of the genotype.
Probabilities sequence_genotype(Genotype genotype, double read_depth, RandomSource& random) {
    constexpr Probabilities allele1_read{read_error_rate, 0.5, 1 - read_error_rate};
    Probabilities likelihoods{1, 1, 1};
    for (int reads = random.poisson(read_depth); reads > 0; --reads) {
        const bool allele1 = random.chance(allele1_read[static_cast<std::size_t>(genotype)]);
        for (std::size_t g = 0; g < 3; ++g) likelihoods[g] *= allele1 ? allele1_read[g] : 1 - allele1_read[g];
    }
    const double sum = likelihoods[0] + likelihoods[1] + likelihoods[2];
    for (double& likelihood : likelihoods) likelihood /= sum;
    return likelihoods;
}

std::string uncertain_genotype(Genotype genotype, double read_depth, RandomSource& random) {
    if (genotype == Genotype::missing) return " 0 0 0";
    std::string text;
    for (const double probability : sequence_genotype(genotype, read_depth, random)) {
        text += ' ' + fixed(probability, 3);
    }
    return text;
}

// Alleles of the individuals first .. end - 1 at a locus as digits separated by blanks.
std::string allele_digits(const Cohort& cohort, std::size_t locus, std::size_t first, std::size_t end) {
    std::string digits(4 * (end - first), ' ');
    for (std::size_t haplotype = 2 * first; haplotype < 2 * end; ++haplotype) {
        digits[2 * (haplotype - 2 * first)] = cohort.alleles(locus, haplotype) ? '1' : '0';
    }
    if (!digits.empty()) digits.pop_back();
    return digits;
}

// The lines of a VCF before its records.
std::string vcf_header(const Cohort& cohort, const std::vector<std::string>& ids) {
    std::string text = "##fileformat=VCFv4.2\n##contig=<ID=" + cohort.settings.chromosome +
                       ">\n##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Genotype\">\n"
                       "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
    for (const std::string& id : ids) text += '\t' + id;
    return text + '\n';
}

// The columns of a record before the genotypes.
std::string vcf_record(const Cohort& cohort, const Locus& locus) {
    return cohort.settings.chromosome + '\t' + std::to_string(locus.position) + '\t' + locus.id + '\t' +
           locus.allele0 + '\t' + locus.allele1 + "\t.\tPASS\t.\tGT";
}

}  // namespace

std::string bed_block(const std::vector<Genotype>& genotypes) {
    constexpr std::array<unsigned, 4> codes{0b00, 0b10, 0b11, 0b01};
    std::string block((genotypes.size() + 3) / 4, '\0');
    for (std::size_t i = 0; i < genotypes.size(); ++i) {
        const unsigned code = codes[static_cast<std::size_t>(genotypes[i])] << (2 * (i % 4));
        block[i / 4] = static_cast<char>(static_cast<unsigned char>(block[i / 4]) | code);
    }
    return block;
}

void write_bed(const Cohort& cohort, const std::string& prefix) {
    tools::TextWriter bed(prefix + ".bed");
    tools::TextWriter bim(prefix + ".bim");
    bed.write("\x6C\x1B\x01");
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        const Locus& locus = cohort.loci[row];
        if (!locus.in_study) continue;
        bed.write(bed_block(observed_genotypes(cohort, row)));
        bim.write(cohort.settings.chromosome + '\t' + locus.id + '\t' +
                  fixed(cohort.map.centimorgans(locus.position), 6) + '\t' + std::to_string(locus.position) +
                  '\t' + locus.allele0 + '\t' + locus.allele1 + '\n');
    }
    bed.close();
    bim.close();
    tools::TextWriter fam(prefix + ".fam");
    for (const std::string& id : cohort.study_ids) fam.write(twice(id) + " 0 0 0 -9\n");
    fam.close();
}

void write_gen(const Cohort& cohort, const std::string& prefix, bool compressed, double read_depth) {
    RandomSource random(derived_seed(cohort.settings.seed, cohort.loci.size()));
    tools::TextWriter gen(compressed_name(prefix + ".gen", compressed));
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!cohort.loci[row].in_study) continue;
        std::string line = line_head(cohort.loci[row]);
        for (const Genotype genotype : observed_genotypes(cohort, row)) {
            line += read_depth > 0 ? uncertain_genotype(genotype, read_depth, random)
                                   : certain_genotype(genotype);
        }
        gen.write(line + '\n');
    }
    gen.close();
    write_sample(prefix + ".sample", cohort.study_ids);
}

void write_vcf(const Cohort& cohort, const std::string& prefix) {
    constexpr std::array<const char*, 4> genotypes{"\t0/0", "\t0/1", "\t1/1", "\t./."};
    tools::BlockWriter file(prefix + ".vcf.gz");
    file.write(vcf_header(cohort, cohort.study_ids));
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!cohort.loci[row].in_study) continue;
        std::string line = vcf_record(cohort, cohort.loci[row]);
        for (const Genotype genotype : observed_genotypes(cohort, row))
            line += genotypes[static_cast<std::size_t>(genotype)];
        file.write(line + '\n');
    }
    file.close();
}

void write_map(const Cohort& cohort, const std::string& prefix, bool compressed) {
    tools::TextWriter map(compressed_name(prefix + ".map", compressed));
    map.write("position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n");
    for (const MapPoint& point : cohort.map.points()) {
        map.write(std::to_string(point.position) + ' ' + fixed(point.rate, 6) + ' ' +
                  fixed(point.centimorgans, 9) + '\n');
    }
    map.close();
}

void write_truth(const Cohort& cohort, const std::string& prefix, bool compressed) {
    tools::TextWriter haps(compressed_name(prefix + ".truth.haps", compressed));
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!cohort.loci[row].in_study) continue;
        haps.write(line_head(cohort.loci[row]) + ' ' +
                   allele_digits(cohort, row, 0, cohort.study_ids.size()) + '\n');
    }
    haps.close();
    write_sample(prefix + ".truth.sample", cohort.study_ids);
}

void write_panel(const Cohort& cohort, const std::string& prefix) {
    const std::size_t first = cohort.study_ids.size();
    const std::size_t end = first + cohort.panel_ids.size();
    tools::TextWriter haps(prefix + ".panel.haps.gz");
    tools::TextWriter legend(prefix + ".panel.legend.gz");
    legend.write("id position a0 a1\n");
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        const Locus& locus = cohort.loci[row];
        if (!locus.in_panel) continue;
        haps.write(allele_digits(cohort, row, first, end) + '\n');
        legend.write(locus.id + ' ' + std::to_string(locus.position) + ' ' + locus.allele0 + ' ' +
                     locus.allele1 + '\n');
    }
    haps.close();
    legend.close();
    tools::TextWriter sample(prefix + ".panel.sample");
    sample.write("sample population group sex\n");
    for (const std::string& id : cohort.panel_ids) sample.write(id + " SIM SIM 1\n");
    sample.close();
}

void write_panel_vcf(const Cohort& cohort, const std::string& prefix) {
    const std::size_t first = cohort.study_ids.size();
    tools::BlockWriter file(prefix + ".panel.vcf.gz");
    file.write(vcf_header(cohort, cohort.panel_ids));
    for (std::size_t row = 0; row < cohort.loci.size(); ++row) {
        if (!cohort.loci[row].in_panel) continue;
        std::string line = vcf_record(cohort, cohort.loci[row]);
        for (std::size_t i = first; i < first + cohort.panel_ids.size(); ++i) {
            line += cohort.alleles(row, 2 * i) ? "\t1|" : "\t0|";
            line += cohort.alleles(row, 2 * i + 1) ? '1' : '0';
        }
        file.write(line + '\n');
    }
    file.close();
}

}  // namespace simulation
