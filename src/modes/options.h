#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/// The value of an option, and whether it was given on the command line.
template <class Value>
struct setting {
    Value value{};
    bool is_given = false;
};

using file_names = std::vector<std::string>;

/// All options of a run, with their defaults. options.cpp has the table that declares them.
struct run_options {
    // Basic options
    setting<bool> help;
    setting<int> seed;
    setting<int> thread{1};
    setting<std::string> output_log;
    setting<bool> strict;  // end at probably wrong input
    setting<bool> check;   // read and check the input, and end

    // Subsetting options
    setting<std::string> exclude_snp, include_snp, exclude_ind, include_ind;
    setting<int> input_from{0};            // first position kept, in bp
    setting<int> input_to{1'000'000'000};  // first position no longer kept, in bp

    // MCMC options: iterations
    setting<int> burn{7}, prune{8}, main{20};

    // Input files options
    setting<file_names> input_bed;
    setting<std::string> input_map;
    setting<file_names> input_gen;
    setting<double> input_thr{0.9};
    setting<file_names> input_ref;
    setting<std::string> input_vcf;
    setting<std::string> region;
    setting<std::string> haploid;  // file with the identifiers of individuals
    setting<std::string> map_format{"hapmap"};
    setting<std::string> panel_missing{"stop"};  // what variants do that the panel lacks

    // Model options
    setting<int> cluster_burn{1}, cluster_prune{1}, cluster_main{1};  // iterations from one tree to the next
    setting<int> states{100};
    setting<int> effective_size{15000};
    setting<double> rho{0.0004};
    setting<bool> fast;
    setting<double> cluster_size;
    setting<bool> early_stopping;
    setting<double> window{2.0};  // Mb
    setting<bool> match;          // select by the longest shared stretches, in place of distances
    setting<int> match_depth{8};
    setting<double> match_step{0.02};  // cM
    setting<bool> learn_rates;         // without match
    setting<double> mismatch;          // follows the data if it is not given

    // Output file options
    setting<file_names> output_max;
    setting<std::string> output_vcf;
    setting<std::string> output_index{"csi"};
    setting<bool> output_unphased;
    setting<bool> keep_missing;
    setting<std::string> reference;  // FASTA file
    setting<bool> no_version;

    /// Whether the number of burn-in iterations follows that of individuals, and how many there are.
    bool chooses_burn() const { return match.is_given && !burn.is_given; }
    int n_burn(int n_individuals) const;
    /// The same for the number of conditioning haplotypes of a job, and the haplotypes of study and panel.
    bool chooses_states() const { return match.is_given && !states.is_given; }
    int n_states(int n_haplotypes) const;
    /// Whether the rates of the copying model follow the data.
    bool learns_rates() const { return match.is_given || learn_rates.is_given; }
    /// Whether cluster trees select the conditioning haplotypes, and the number of haplotypes in a cluster.
    bool uses_trees() const { return fast.is_given || cluster_size.is_given; }
    double tree_size() const;
    /// Whether jobs skip the model on a perfect match.
    bool stops_early() const { return fast.is_given || early_stopping.is_given; }
};

/// Whether a command line, which need not be correct, asks for strictness.
bool is_strict(const std::vector<std::string>& args);

/// Reads a command line (without the name of the program) into `options`; `start` is the default of the seed,
/// in seconds since 1970. Returns a message on a syntax error, else an empty string. If the line asks for
/// strictness, a word that belongs to no option is an error too, and the message suggests an option.
std::string parse_options(const std::vector<std::string>& args, long start, run_options& options);

/// The options that the result depends on, as on a command line, but no files. The seed is always among them.
std::string result_options(const run_options& options);

/// Prints all options with their defaults.
void print_help(long start, std::ostream& out);

/// Ends the run at the first value that is out of range.
void check_options(const run_options& options);

/// Print the mode, and the values that affect the run.
void echo_mode(const run_options& options);
void echo_options(const run_options& options);
