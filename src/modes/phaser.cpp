#include "modes/phaser.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "chain/markov_chain.h"
#include "modes/command_line.h"
#include "modes/run_files.h"
#include "modes/study.h"
#include "modules/stages.h"
#include "selection/learning_selector.h"
#include "selection/match_selector.h"
#include "selection/scan_selector.h"
#include "selection/tree_selector.h"
#include "utils/lfile.h"
#include "utils/sutils.h"
#include "utils/units.h"
#include "writers/haplotype_writer.h"
#include "writers/vcf_rewriter.h"
#include "writers/vcf_sink.h"

namespace {

// docs/performance.md has the measurements.
constexpr double BYTES_PER_GENOTYPE = 50.0;  // until the first pruning
constexpr double PROGRAM_BYTES = 1e7;

/// Refuses options and data with which the run would end later, by an assertion or a signal.
void refuse_failing(const run_options& o, const run_input& input) {
    constexpr int LEAST_STATES = 5, LEAST_HAPLOTYPES = 12;
    const auto expect_at_least = [](int least, int found, const std::string& what, const std::string& unit) {
        if (found < least)
            LOG.refuse("run-fails", what, 0, std::to_string(found) + unit,
                       "at least " + std::to_string(least));
    };
    const int n_haplotypes =
        2 * static_cast<int>(input.study.ind_ids.size()) + static_cast<int>(input.panel.size());
    expect_at_least(o.match.is_given ? 1 : LEAST_STATES, o.n_states(n_haplotypes), "--states", "");
    expect_at_least(o.match.is_given ? match_selector::LEAST_HAPLOTYPES : LEAST_HAPLOTYPES, n_haplotypes,
                    "study and panel", " haplotypes");
    if (o.burn.value > 0) expect_at_least(1, o.cluster_burn.value, "--cluster_burn", "");
    expect_at_least(1, o.cluster_prune.value, "--cluster_prune", "");
    expect_at_least(1, o.cluster_main.value, "--cluster_main", "");
    if (o.uses_trees())
        expect_at_least(std::max(o.states.value, static_cast<int>(o.tree_size())) + 1, n_haplotypes,
                        "study and panel", " haplotypes for trees, whose clusters have at least --states");
}

/// Memory that a run with these options and data needs at most, about.
double bytes_needed(const run_options& o, const run_input& input) {
    const int n = input.study.n_individuals(), n_variants = input.study.snps.size();
    double bytes = PROGRAM_BYTES + BYTES_PER_GENOTYPE * n * n_variants;
    if (o.learns_rates() && n_variants > 0) {
        const std::vector<snp>& variants = input.study.snps.snp_list;
        const double n_steps = (variants.back().cm - variants.front().cm) / o.match_step.value + 1.0;
        bytes +=
            std::min(std::min(n_steps, static_cast<double>(n_variants)) * 2.0 *
                         match_orders::bytes_per_site(2 * n + static_cast<int>(input.panel.size()), 2 * n),
                     learning_settings{}.most_order_bytes);
    }
    return bytes;
}

/// The graphs represent the genotypes, which are freed on return.
genhap_set build_graphs(genotype_store study, std::vector<chaplotype> panel, worker_team& team) {
    std::vector<genotype_graph> graphs = build_graphs(study, team);
    genhap_set set(std::move(study.snps), std::move(graphs), std::move(panel));
    set.haploid = std::move(study.haploid);
    return set;
}

learning_settings learning_settings_of(const run_options& o, const genhap_set& set) {
    return {.step = o.match_step.value,
            .jumps_per_cm = o.effective_size.is_given
                                ? hmm_parameters::PER_CM * o.effective_size.value / set.n_haplotypes()
                                : 0.0,
            .mismatch = o.mismatch.is_given ? o.mismatch.value : 0.0,
            .seed = o.seed.value};
}

match_settings match_settings_of(const run_options& o, const genhap_set& set) {
    return {.n_states = o.n_states(set.n_haplotypes()),
            .depth = o.match_depth.value,
            .window_bp = o.window.is_given ? BASES_PER_MB * o.window.value : 0.0,
            .learning = learning_settings_of(o, set)};
}

/// Creates the selector that compares whole windows.
std::unique_ptr<conditioning_selector> make_distance_selector(const run_options& o, const genhap_set& set,
                                                              worker_team& team) {
    const double window = BASES_PER_MB * o.window.value;
    if (o.uses_trees()) {
        // The size is rounded to single precision (24 bits) before it is truncated.
        const int cluster_size = static_cast<int>(static_cast<float>(o.tree_size()));
        return std::make_unique<tree_selector>(set, o.states.value, cluster_size, window, team);
    }
    return std::make_unique<scan_selector>(set, o.states.value, static_cast<int>(std::floor(window)));
}

/// Creates the selector that the options ask for.
std::unique_ptr<conditioning_selector> make_selector(const run_options& o, const genhap_set& set,
                                                     worker_team& team) {
    if (o.match.is_given) return std::make_unique<match_selector>(set, match_settings_of(o, set), team);
    std::unique_ptr<conditioning_selector> by_distance = make_distance_selector(o, set, team);
    if (!o.learn_rates.is_given) return by_distance;
    return std::make_unique<learning_selector>(std::move(by_distance), set, learning_settings_of(o, set),
                                               team);
}

chain_schedule schedule_of(const run_options& o, int n_individuals) {
    return {{o.n_burn(n_individuals), o.cluster_burn.value},
            {o.prune.value, o.cluster_prune.value},
            {o.main.value, o.cluster_main.value},
            o.stops_early()};
}

}  // namespace

phaser::phaser(const std::vector<std::string>& args, long start)
    : options(start_run(args, start, outputs)), random(options.seed.value), team(options.thread.value) {
    check_options(options);
    check_files(options, outputs);
    print_version_and_date(start);
    echo_mode(options);
    echo_options(options);
}

void phaser::phase() {
    if (options.check.is_given) {
        check_input();
        return;
    }
    read_files_and_initialise();
    run_chain();
    write_files_and_finalise();
}

void phaser::check_input() {
    input = read_input(options, outputs);
    refuse_failing(options, input);
    LOG.println("\nChecked " + std::to_string(input.study.ind_ids.size()) + " individuals and " +
                std::to_string(input.study.snps.size()) + " variants");
    LOG.println("  * Memory needed for phasing: about " +
                sutils::double2str(bytes_needed(options, input) / 1e9, 2) + " GB");
    if (LOG.nRefused() > 0)
        LOG.error("--strict would refuse this input at " + std::to_string(LOG.nRefused()) + " places");
    LOG.println("  * Nothing that --strict would refuse");
}

void phaser::read_files_and_initialise() {
    input = read_input(options, outputs);
    refuse_failing(options, input);
    haplotypes = build_graphs(std::exchange(input.study, {}), std::exchange(input.panel, {}), team);
    haplotypes.summarise();
    sample_first_haplotypes(haplotypes, team, random);
    const int n_haplotypes = haplotypes.n_haplotypes();
    hmm.initialise(haplotypes.snps, options.effective_size.value);
    hmm.update(n_haplotypes, std::min(options.states.value, n_haplotypes));
    selector = make_selector(options, haplotypes, team);
    jobs = std::make_unique<phasing_jobs>(haplotypes, hmm, *selector, team, random);
}

void phaser::run_chain() {
    markov_chain(haplotypes, *jobs, team, random).run(schedule_of(options, haplotypes.n_individuals()));
}

void phaser::write_files_and_finalise() {
    solve_haplotypes(haplotypes, team, random);
    std::vector<std::unique_ptr<result_sink>> sinks;
    if (options.output_max.is_given) {
        const file_names output = haplotype_files(options);
        sinks.push_back(std::make_unique<haps_sink>(outputs, output[0], output[1]));
    }
    if (options.output_vcf.is_given) sinks.push_back(make_vcf_sink());
    std::vector<result_sink*> complete;
    for (const auto& sink : sinks) {
        write_haplotypes(haplotypes, *sink);
        complete.push_back(sink.get());
    }
    publish(complete, outputs);
}

std::unique_ptr<result_sink> phaser::make_vcf_sink() {
    const vcf_content content = {options.keep_missing.is_given, options.output_unphased.is_given,
                                 options.no_version.is_given ? "" : version_line(options)};
    const vcf_output_settings settings = vcf_settings(options);
    if (input.vcf != nullptr)
        return std::make_unique<vcf_rewriter>(settings, content, *input.vcf, haplotypes);
    return std::make_unique<vcf_sink>(settings, content, input.alleles, haplotypes, input.missing);
}
