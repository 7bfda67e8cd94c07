#include "modes/study.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "containers/genotype_counts.h"
#include "modes/run_files.h"
#include "readers/bed_source.h"
#include "readers/filter_reader.h"
#include "readers/gen_source.h"
#include "readers/genotype_checks.h"
#include "readers/gmap_reader.h"
#include "readers/panel_source.h"
#include "utils/lfile.h"
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

genotype_store read_genotypes(const run_options& o, filter_reader& filter) {
    std::unique_ptr<genotype_source> source;
    if (o.input_bed.is_given) {
        const file_names bed = bed_files(o);
        source = std::make_unique<bed_source>(bed[0], bed[1], bed[2], filter);
    } else {
        const file_names gen = gen_files(o);
        source = std::make_unique<gen_source>(gen[0], gen[1], o.input_thr.value, filter);
    }
    return read_study(*source);
}

/// Ends the run when the panel lacks variants of the study.
void check_panel_covers(const snp_set& study, const std::string& prefix) {
    LOG.println("\nChecking that all SNPs in main panel are also within the reference panel");
    const std::vector<const snp*> absent = absent_variants(study);
    if (absent.empty()) {
        LOG.println("  * All variants have been found in the reference panel");
        return;
    }
    write_absent_variants(absent, prefix);
    LOG.println("  * " + std::to_string(absent.size()) +
                " variants could not be found in the reference panel, please exclude them!");
    LOG.error("Reference and Main panels are not well aligned!");
}

std::vector<chaplotype> read_panel(const run_options& o, filter_reader& filter, genotype_store& study,
                                   const std::string& prefix) {
    if (!o.input_ref.is_given) return {};
    const file_names& files = o.input_ref.value;
    panel_source panel(files[1], files[2], filter, study.ind_ids, study.snps);
    check_panel_covers(study.snps, prefix);
    panel.open(files[0]);
    return read_haplotypes(panel);
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

void place_on_map(const std::string& file, snp_set& variants) {
    gmap_reader map;
    map.readGeneticMapFile(file);
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
    genotype_store study = read_genotypes(o, filter);
    std::vector<chaplotype> panel = read_panel(o, filter, study, prefix);
    report_lists(o, filter);
    place_on_map(o.input_map.value, study.snps);
    check_and_repair(study, outputs, prefix);
    return {std::move(study), std::move(panel)};
}
