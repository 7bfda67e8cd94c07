#include <cmath>
#include <limits>

#include "modes/phaser/phaser.h"
#include "utils/assertion.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

namespace po = boost::program_options;

namespace {

using names = std::vector<std::string>;

const names BED_ENDINGS = {".bed", ".bim", ".fam"};
const names GEN_ENDINGS = {".gen", ".sample"};
const names OUTPUT_ENDINGS = {".haps", ".sample"};
constexpr std::size_t N_PANEL_FILES = 3;
constexpr double FAST_CLUSTER_SIZE = 4000.0;
constexpr double BASES_PER_MB = 1e6;

}  // namespace

void phaser::declare_options() {
    tolvane::declare_options();
    po::options_description mcmc("\033[33mMCMC options\033[0m");
    auto add_mcmc = mcmc.add_options();
    add_mcmc("burn", po::value<int>()->default_value(7), "Number of burn-in MCMC iterations.");
    add_mcmc("prune", po::value<int>()->default_value(8), "Number of pruning MCMC iterations.");
    add_mcmc("main", po::value<int>()->default_value(20), "Number of main MCMC iterations.");
    po::options_description input("\033[33mInput files options\033[0m");
    auto add_input = input.add_options();
    add_input("input-bed,B", po::value<names>()->multitoken(),
              "Unphased genotypes in Plink BED/BIM/FAM format.");
    add_input("input-map,M", po::value<std::string>(), "Genetic map in HapMap format.");
    add_input("input-gen,G", po::value<names>()->multitoken(),
              "Unphased genotypes in Impute2 GEN/SAMPLE format.");
    add_input("input-thr", po::value<double>()->default_value(0.9, "0.9"),
              "Probability threshold used to call a genotype in GEN file.");
    add_input("input-ref,R", po::value<names>()->multitoken(),
              "Reference set of haplotypes in HAPS/SAMPLE format.");
    po::options_description model("\033[33mModel options\033[0m");
    auto add_model = model.add_options();
    add_model("cluster_burn,cb", po::value<int>()->default_value(1),
              "Frequency of clustering in burnin iterations.");
    add_model("cluster_prune,cp", po::value<int>()->default_value(1),
              "Frequency of clustering in pruning iterations.");
    add_model("cluster_main,cm", po::value<int>()->default_value(1),
              "Frequency of clustering in main iterations.");
    add_model("states,S", po::value<int>()->default_value(100), "Number of hidden states used for phasing.");
    add_model("effective-size", po::value<int>()->default_value(15000), "Effective size of the population.");
    add_model("rho", po::value<double>()->default_value(0.0004, "0.0004"), "Constant recombination rate.");
    add_model("fast",
              "Turn on fast mode. Greater speed with a small decrease in accuracy. (suitable for N>10,000)");
    add_model("cluster-size", po::value<double>(), "cluster size for fast conditioning haplotype search");
    add_model("early-stopping",
              "do not perform HMM calculations when perfect matches are found with conditioning haplotypes");
    add_model("window,W", po::value<double>()->default_value(2.0),
              "Mean size of the windows in which conditioning haplotypes are defined.");
    po::options_description output("\033[33mOutput file options\033[0m");
    auto add_output = output.add_options();
    add_output("output-max,O", po::value<names>()->multitoken(), "Phased haplotypes in Impute2 format.");
    descriptions.add(mcmc).add(input).add(model).add(output);
}

/// The files of an option that takes a prefix or one name for each ending; empty at another count.
names phaser::files(const std::string& option, const names& endings) const {
    if (!given(option)) return {};
    const auto& values = value<names>(option);
    if (values.size() == endings.size()) return values;
    names expanded;
    if (values.size() == 1)
        for (const std::string& ending : endings) expanded.push_back(values[0] + ending);
    return expanded;
}

names phaser::input_files() const {
    names all = tolvane::input_files();
    const auto add = [&all](const names& more) { all.insert(all.end(), more.begin(), more.end()); };
    add(files("input-bed", BED_ENDINGS));
    add(files("input-gen", GEN_ENDINGS));
    if (given("input-ref")) add(value<names>("input-ref"));
    if (given("input-map")) add({value<std::string>("input-map")});
    return all;
}

names phaser::output_files(const std::string& log) const {
    names all = tolvane::output_files(log);
    const std::string prefix = lfile::getPrefix(log);
    names side_files = {".ind.mm", ".snp.mm"};
    if (given("input-ref")) side_files.insert(side_files.end(), {".snp.strand", ".snp.strand.exclude"});
    for (const std::string& ending : side_files) all.push_back(prefix + ending);
    const names haplotype_files = files("output-max", OUTPUT_ENDINGS);
    all.insert(all.end(), haplotype_files.begin(), haplotype_files.end());
    return all;
}

double phaser::number(const std::string& option) const {
    const double x = value<double>(option);
    if (std::isnan(x)) LOG.error("You must specify a number for --" + option);
    return x;
}

void phaser::check_options() {
    tolvane::check_options();
    if (!given("input-map")) LOG.error("You did not specify a genetic map!");
    check_clustering();
    check_step("burn", cluster_burn_step);
    check_step("prune", cluster_prune_step);
    check_step("main", cluster_main_step);
    check_iterations("burn", "burn-in", 0, 100);
    check_iterations("prune", "pruning", 1, 100);
    check_iterations("main", "main", 1, 500);
    check_model();
}

void phaser::check_clustering() {
    if (given("fast")) {
        if (given("cluster-size")) LOG.error("--cluster-size is not compatible with --fast");
        if (given("early-stopping")) LOG.error("--early-stopping is not compatible with --fast");
        use_clusters = early_stop = true;
        cluster_size = FAST_CLUSTER_SIZE;
        return;
    }
    if (given("cluster-size")) {
        cluster_size = number("cluster-size");
        TOLVANE_ASSERT(cluster_size > 1, "cluster_size>1");
        constexpr int MOST = std::numeric_limits<int>::max() / 2;
        if (cluster_size > MOST)
            LOG.error("You must specify a cluster size of at most " + sutils::int2str(MOST));
        use_clusters = true;
    }
    early_stop = given("early-stopping");
}

void phaser::check_step(const std::string& phase_name, int& step) const {
    const std::string option = "cluster_" + phase_name;
    step = value<int>(option);
    // 0 passes here and ends the run at the first iteration of its phase.
    if (step < 0) LOG.error("You must use " + option + " > 0");
    if (step > value<int>(phase_name)) LOG.warning(option + " > " + phase_name + ", check parameters");
}

void phaser::check_iterations(const std::string& phase_name, const std::string& text, int least,
                              int many) const {
    const int n = value<int>(phase_name);
    if (n < least) LOG.error("You must use at least " + sutils::int2str(least) + " " + text + " iteration");
    if (n > many) LOG.warning("High number of " + text + " iteration, check parameters");
}

void phaser::check_model() const {
    const int effective_size = value<int>("effective-size");
    if (effective_size < 100) LOG.warning("Small effective size, check parameters.");
    if (effective_size <= 0) LOG.error("You must specify a positive effective size");
    const double rho = number("rho");
    if (rho <= 0 || rho >= 1) LOG.error("You must specify a rho value comprised between 0 and 1");
    const double threshold = number("input-thr");
    if (threshold <= 0.5 || threshold > 1)
        LOG.error("You must specify a --input-thr value comprised between 0.5 and 1");
    const double window = number("window");
    if (window < 0.1) LOG.error("You must specify a window size of at least 0.1 Mb");
    if (window * BASES_PER_MB >= std::numeric_limits<int>::max())
        LOG.error("You must specify a window size of at most 2147 Mb");
    if (window > 10) LOG.warning("Long window size may decrease accuracy. No more than 10 Mb is advised.");
}

void phaser::check_inputs(const std::string& option, const names& endings,
                          const std::string& wrong_count) const {
    const names inputs = files(option, endings);
    if (inputs.empty()) LOG.error(wrong_count);
    for (const std::string& input : inputs)
        if (!futils::isFile(input)) LOG.error(futils::cannotOpen(input));
}

void phaser::check_files() {
    tolvane::check_files();
    if (!given("input-bed") && !given("input-gen"))
        LOG.error("You must specify at least one unphased input file with --input-bed or --input-gen");
    if (given("input-bed") && given("input-gen"))
        LOG.error("You must specify no more than one unphased input file with --input-bed or --input-gen");
    if (!given("output-max"))
        LOG.error("You must specify at least one phased output file with --output-max or --output-graph");
    const auto wrong_count = [](const std::string& option, std::size_t n) {
        return "Incorrect number of arguments given to --" + option + " (it must be " + std::to_string(n) +
               " files)";
    };
    if (given("input-bed"))
        check_inputs("input-bed", BED_ENDINGS, wrong_count("input-bed", BED_ENDINGS.size()));
    if (given("input-gen"))
        check_inputs("input-gen", GEN_ENDINGS, wrong_count("input-gen", GEN_ENDINGS.size()));
    if (given("input-ref")) {
        const auto& panel = value<names>("input-ref");
        if (panel.size() != N_PANEL_FILES) LOG.error(wrong_count("input-ref", N_PANEL_FILES));
        for (const std::string& file : panel)
            if (!futils::isFile(file)) LOG.error(futils::cannotOpen(file));
    }
    const auto& map = value<std::string>("input-map");
    if (!futils::isFile(map)) LOG.error(futils::cannotOpen(map));
    const names outputs = files("output-max", OUTPUT_ENDINGS);
    if (outputs.empty()) LOG.error("Incorrect number of arguments given to --output-max");
    for (const std::string& output : outputs) {
        take_output(output);
        if (!futils::createFile(output)) LOG.error(futils::cannotCreate(output));
    }
}

void phaser::verbose_mode() {
    tolvane::verbose_mode();
    LOG.printlnL("\nMODE -phase : PHASING GENOTYPE DATA");
    LOG.printlnC("\nMODE \033[33m-phase\033[0m : PHASING GENOTYPE DATA");
    LOG.println("  * Autosome (chr1 ... chr22)");
    LOG.println(use_clusters ? "  * Nlog(N) time Hamming distances calculation (TOLVANE v3)"
                             : "  * Quadratic time Hamming distances calculation (TOLVANE v2)");
    LOG.println("  * MCMC iteration");
}

void phaser::verbose_options() {
    tolvane::verbose_options();
    const int burn = value<int>("burn"), prune = value<int>("prune"), main = value<int>("main");
    LOG.println("  * MCMC: " + sutils::long2str(static_cast<long>(burn) + prune + main) + " iterations [" +
                sutils::int2str(burn) + " B + " + sutils::int2str(prune) + " P + " + sutils::int2str(main) +
                " M]");
    LOG.print("  * Model: " + sutils::int2str(value<int>("states")) + " states / Windows of ~" +
              sutils::double2str(value<double>("window"), 1) + "Mb ");
    if (given("input-map"))
        LOG.println("/ Ne = " + sutils::int2str(value<int>("effective-size")));
    else
        LOG.println("/ rho = " + sutils::double2str(value<double>("rho"), 5));
}
