#include "modes/study.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "containers/genotype_counts.h"
#include "modes/run_files.h"
#include "readers/bed_source.h"
#include "readers/filter_reader.h"
#include "readers/gen_source.h"
#include "readers/genotype_checks.h"
#include "readers/gmap_reader.h"
#include "readers/panel_source.h"
#include "readers/vcf_panel.h"
#include "readers/vcf_source.h"
#include "utils/genome_region.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"
#include "utils/units.h"
#include "writers/side_files.h"

namespace {

filter_reader read_filters(const run_options& o) {
    filter_reader filter;
    filter.initialise(o.input_from.value, o.input_to.value);
    if (o.exclude_snp.is_given) filter.readSnpExcludeList(o.exclude_snp.value);
    if (o.include_snp.is_given) filter.readSnpIncludeList(o.include_snp.value);
    if (o.exclude_ind.is_given) filter.readIndExcludeList(o.exclude_ind.value);
    if (o.include_ind.is_given) filter.readIndIncludeList(o.include_ind.value);
    return filter;
}

std::optional<genome_region> region_of(const run_options& o) {
    if (!o.region.is_given) return {};
    return parse_region(o.region.value);
}

/// Creates the reader of the study. That of a VCF uses `vcf`, which it opens.
std::unique_ptr<genotype_source> open_study(const run_options& o, filter_reader& filter,
                                            std::unique_ptr<vcf_file>& vcf) {
    const study_facts facts = {o.haploid.is_given, region_of(o)};
    if (o.input_vcf.is_given) {
        vcf = std::make_unique<vcf_file>(o.input_vcf.value, facts.region, o.thread.value);
        return std::make_unique<vcf_source>(*vcf, filter);
    }
    if (o.input_bed.is_given) {
        const file_names bed = bed_files(o);
        return std::make_unique<bed_source>(bed[0], bed[1], bed[2], filter, facts);
    }
    const file_names gen = gen_files(o);
    return std::make_unique<gen_source>(gen[0], gen[1], o.input_thr.value, filter, facts);
}

/// Ends the run if a name has a blank, as it can in a VCF: HAPS and SAMPLE have words separated by blanks.
void check_words(const genotype_store& study) {
    const auto check = [](const std::string& name) {
        if (name.find_first_of(" \t") != std::string::npos)
            LOG.error("[" + name + "] has a blank, which --output-max cannot hold; use --output-vcf alone");
    };
    for (const std::string& id : study.ind_ids) check(id);
    for (const snp& variant : study.snps.snp_list) check(variant.id);
}

/// Marks the individuals of a list as haploid.
void read_haploid(const setting<std::string>& list, genotype_store& study) {
    LOG.println("\nReading haploid individuals in [" + list.value + "]");
    ifile stream(list.value);
    std::set<std::string> ids;
    for (std::string line; stream.getLine(line);) ids.insert(line);
    int n_individuals = 0;
    long n_heterozygous = 0;
    for (int i = 0; i < study.n_individuals(); ++i) {
        if (!ids.contains(study.ind_ids[i])) continue;
        ++n_individuals;
        n_heterozygous += study.makeHaploid(i);
    }
    LOG.println("  * " + std::to_string(n_individuals) + " individuals of the study are haploid");
    if (n_heterozygous > 0)
        LOG.println("  * " + std::to_string(n_heterozygous) +
                    " heterozygous genotypes of them taken for missing");
    if (n_individuals == 0)
        LOG.refuse("list-matches", list.value, 0, "none of the individuals of the input", "some of them");
}

/// Tells which variants of the study the panel lacks. Ends the run if there are some, unless they are to be
/// excluded.
void check_panel_covers(const snp_set& study, const std::string& prefix, bool excludes) {
    LOG.println("\nChecking that all SNPs in main panel are also within the reference panel");
    const std::vector<const snp*> absent = absent_variants(study);
    if (absent.empty()) {
        LOG.println("  * All variants have been found in the reference panel");
        return;
    }
    write_absent_variants(absent, prefix);
    if (excludes) {
        LOG.println(
            "  * " + std::to_string(absent.size()) +
            " variants could not be found in the reference panel and are excluded; they are listed in [" +
            prefix + ".snp.strand]");
        if (static_cast<int>(absent.size()) < study.size()) return;
        LOG.error("No variant of the study is in the reference panel!");
    }
    LOG.println("  * " + std::to_string(absent.size()) +
                " variants could not be found in the reference panel, please exclude them!");
    LOG.error("Reference and Main panels are not well aligned!");
}

/// Removes the variants that the panel lacks.
void keep_variants_in_panel(genotype_store& study, std::vector<chaplotype>& panel) {
    std::vector<bool> keeps;
    for (const snp& variant : study.snps.snp_list) keeps.push_back(variant.in_ref);
    study.keepVariants(keeps);
    for (chaplotype& haplotype : panel) haplotype = selected(haplotype, keeps);
}

/// The chromosome of the study as far as its input tells, else empty.
std::string chromosome_of(const snp_set& study) {
    return study.size() == 0 ? "" : study.snp_list.front().chromosome;
}

/// Reads a panel in one VCF file: the records in the range of the study.
std::vector<chaplotype> read_vcf_panel(const run_options& o, filter_reader& filter, genotype_store& study) {
    std::optional<genome_region> range;
    const std::string chromosome = chromosome_of(study.snps);
    if (!chromosome.empty() && chromosome != "0")
        range = {chromosome, std::max(study.snps.snp_list.front().bp, 1), study.snps.snp_list.back().bp};
    vcf_file file(o.input_ref.value.front(), range, o.thread.value);
    vcf_panel panel(file, filter, study.ind_ids, study.snps);
    return read_haplotypes(panel);
}

std::vector<chaplotype> read_panel(const run_options& o, filter_reader& filter, genotype_store& study,
                                   const std::string& prefix) {
    if (!o.input_ref.is_given) return {};
    const bool excludes = o.panel_missing.value == "exclude";
    std::vector<chaplotype> haplotypes;
    if (has_vcf_panel(o)) {
        haplotypes = read_vcf_panel(o, filter, study);
        check_panel_covers(study.snps, prefix, excludes);
    } else {
        const file_names& files = o.input_ref.value;
        panel_source panel(files[1], files[2], filter, study.ind_ids, study.snps);
        check_panel_covers(study.snps, prefix, excludes);
        panel.open(files[0]);
        haplotypes = read_haplotypes(panel);
    }
    if (excludes) keep_variants_in_panel(study, haplotypes);
    return haplotypes;
}

/// Refuses a list of which no entry matches, and an empty one for inclusion, which would include everything.
/// Says how many entries match.
template <class Key>
void report_list(const setting<std::string>& list, bool excludes, const std::string& things,
                 const std::map<Key, bool>& entries) {
    if (!LOG.isStrict() || !list.is_given || (excludes && entries.empty())) return;
    const auto n =
        std::count_if(entries.begin(), entries.end(), [](const auto& entry) { return entry.second; });
    LOG.println("  * " + std::to_string(n) + " of the " + std::to_string(entries.size()) + " " + things +
                " in [" + list.value + "] are in the input");
    if (n == 0)
        LOG.refuse("list-matches", list.value, 0, "none of the " + things + " of the input", "some of them");
}

void report_lists(const run_options& o, const filter_reader& filter) {
    report_list(o.exclude_ind, true, "individuals", filter.ind_exclude);
    report_list(o.include_ind, false, "individuals", filter.ind_include);
    report_list(o.exclude_snp, true, "positions", filter.snp_exclude);
    report_list(o.include_snp, false, "positions", filter.snp_include);
}

map_layout layout_of(const std::string& name) {
    return name == "plink" ? map_layout::plink : name == "table" ? map_layout::table : map_layout::hapmap;
}

void place_on_map(const run_options& o, snp_set& variants) {
    gmap_reader map;
    map.read(o.input_map.value, layout_of(o.map_format.value), chromosome_of(variants));
    const int n_set = variants.setCentiMorgan(map.map_pos, map.map_cm);
    const int n_interpolated = variants.interpolateCentiMorgan(map.map_pos, map.map_cm);
    LOG.println("  * #set=" + sutils::int2str(n_set) + " / #interpolated=" + sutils::int2str(n_interpolated));
    if (variants.size() == 0) return;  // check_missing ends such a run
    const auto range = [](double first, double last, const std::string& unit) {
        return " map [" + sutils::double2str(first, 2) + unit + " -> " + sutils::double2str(last, 2) + unit +
               "]";
    };
    constexpr double MB = 1.0 / BASES_PER_MB;
    const snp &first = variants.snp_list.front(), &last = variants.snp_list.back();
    LOG.print("  * Physical" + range(first.bp * MB, last.bp * MB, " Mb"));
    LOG.println(" / Genetic" + range(first.cm, last.cm, " cM"));
}

void check_and_repair(genotype_store& store, output_files& outputs, const std::string& prefix) {
    LOG.println("\nChecking missingness and MAF...");
    const genotype_counts counts = count_genotypes(store);
    name_missing(store, counts);
    check_missing(counts);
    report_variants(repair_monomorphic(store, counts), counts);
    outputs.check();
    write_counts(store, counts, prefix);
}

}  // namespace

run_input read_input(const run_options& o, output_files& outputs) {
    const std::string prefix = lfile::getPrefix(LOG.name());
    filter_reader filter = read_filters(o);
    run_input input;
    genotype_store& study = input.study;
    study = read_study(*open_study(o, filter, input.vcf));
    if (o.region.is_given && study.snps.size() == 0)
        LOG.error("no variant of the study is in the region " + o.region.value);
    if (o.output_max.is_given) check_words(study);
    study.settleMissingHaploid();
    if (o.haploid.is_given) read_haploid(o.haploid, study);
    input.panel = read_panel(o, filter, study, prefix);
    report_lists(o, filter);
    place_on_map(o, study.snps);
    if (o.keep_missing.is_given && input.vcf == nullptr) input.missing = study.missing;
    check_and_repair(study, outputs, prefix);
    if (o.output_vcf.is_given && input.vcf == nullptr)
        input.alleles = find_reference_alleles(study.snps, o.reference.value, prefix);
    return input;
}
