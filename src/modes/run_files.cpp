#include "modes/run_files.h"

#include <unistd.h>

#include <array>
#include <filesystem>
#include <span>
#include <utility>

#include "utils/futils.h"
#include "utils/lfile.h"

namespace {

constexpr std::array BED_ENDINGS = {".bed", ".bim", ".fam"};
constexpr std::array GEN_ENDINGS = {".gen", ".sample"};
constexpr std::array OUTPUT_ENDINGS = {".haps", ".sample"};
constexpr std::size_t N_PANEL_FILES = 3;

file_names expanded(const setting<file_names>& given, std::span<const char* const> endings) {
    if (!given.is_given) return {};
    if (given.value.size() == endings.size()) return given.value;
    file_names names;
    if (given.value.size() == 1)
        for (const char* ending : endings) names.push_back(given.value[0] + ending);
    return names;
}

void append(file_names& names, const file_names& more) {
    names.insert(names.end(), more.begin(), more.end());
}

std::vector<const setting<std::string>*> filter_lists(const run_options& o) {
    return {&o.exclude_snp, &o.include_snp, &o.exclude_ind, &o.include_ind};
}

/// Files that the run writes if its log is called `log`.
file_names written_files(const run_options& o, const std::string& log) {
    const std::string prefix = lfile::getPrefix(log);
    file_names names = {log, prefix + ".ind.mm", prefix + ".snp.mm"};
    if (o.input_ref.is_given) append(names, {prefix + ".snp.strand", prefix + ".snp.strand.exclude"});
    append(names, haplotype_files(o));
    append(names, vcf_files(o));
    if (o.reference.is_given || (o.output_vcf.is_given && !o.input_vcf.is_given))
        append(names, {prefix + ".vcf.exclude"});
    return names;
}

std::string wrong_count(const std::string& option, std::size_t n) {
    return "Incorrect number of arguments given to --" + option + " (it must be " + std::to_string(n) +
           " files)";
}

/// Ends the run if it reads or writes the file that has what it prints.
void refuse_console(const std::string& file) {
    for (const auto& [descriptor, stream] :
         {std::pair(STDOUT_FILENO, "standard output"), std::pair(STDERR_FILENO, "standard error")})
        if (futils::isSameFile(descriptor, file))
            LOG.error(file + " is also the file that " + stream +
                      " of this run goes to; give another name to one of them");
}

/// Refuses a name that has nothing before its extension, as of an empty prefix.
void check_name(const std::string& option, const std::string& name) {
    const std::string file = std::filesystem::path(name).filename();
    if (file.starts_with('.') && file.find('.', 1) == std::string::npos)
        LOG.refuse("output-name", option, 0, "[" + name + "]", "a name with a letter before the extension");
}

/// Ends the run if an output can't be written. Creates nothing.
void check_creatable(const std::string& name) {
    const std::string folder = std::filesystem::path(futils::destination(name)).parent_path();
    const bool exists = std::filesystem::exists(name);
    const bool can_be_written =
        exists ? !std::filesystem::is_directory(name) : std::filesystem::is_directory(folder);
    if (!can_be_written || ::access(exists ? name.c_str() : folder.c_str(), W_OK) != 0)
        LOG.error(futils::cannotCreate(name));
}

void check_readable(const std::string& file) {
    if (!futils::isFile(file)) LOG.error(futils::cannotOpen(file));
}

/// Checks the names of the outputs, and takes them for this run unless it only checks its input.
void take_outputs(const run_options& o, output_files& outputs) {
    file_names names = haplotype_files(o);
    if (o.output_max.is_given && names.empty())
        LOG.error("Incorrect number of arguments given to --output-max");
    for (const std::string& name : names) check_name("--output-max", name);
    if (o.output_vcf.is_given) {
        if (!is_vcf_name(o.output_vcf.value))
            LOG.error("The name given to --output-vcf must end in .vcf, .vcf.gz or .bcf");
        check_name("--output-vcf", o.output_vcf.value);
        append(names, vcf_files(o));
    }
    check_name("--output-log", LOG.name());
    for (const std::string& name : names)
        if (o.check.is_given)
            check_creatable(name);
        else
            outputs.prepare(name);
}

/// Ends the run unless it has one study, and an output if it writes one.
void check_kinds(const run_options& o) {
    const bool bed = o.input_bed.is_given, gen = o.input_gen.is_given, vcf = o.input_vcf.is_given;
    if (!bed && !gen && !vcf)
        LOG.error("You must specify at least one unphased input file with --input-bed or --input-gen");
    if (bed && gen)
        LOG.error("You must specify no more than one unphased input file with --input-bed or --input-gen");
    if (vcf && (bed || gen))
        LOG.error("You must specify no more than one of --input-vcf, --input-bed and --input-gen");
    if (!o.output_max.is_given && !o.output_vcf.is_given && !o.check.is_given)
        LOG.error("You must specify at least one phased output file with --output-max or --output-graph");
}

/// Ends the run if a VCF is not a file that can be read twice.
void check_regular(const std::string& file) {
    if (file.find("://") != std::string::npos)
        LOG.error(file + " is not on this machine: download it and give the name of the copy");
    check_readable(file);
    if (!std::filesystem::is_regular_file(file))
        LOG.error(file + " must be a regular file, since it is read again when the result is written");
}

void check_genotypes(const file_names& names, const std::string& option, std::size_t n) {
    if (names.empty()) LOG.error(wrong_count(option, n));
    for (const std::string& name : names) check_readable(name);
}

}  // namespace

file_names bed_files(const run_options& o) {
    return expanded(o.input_bed, BED_ENDINGS);
}
file_names gen_files(const run_options& o) {
    return expanded(o.input_gen, GEN_ENDINGS);
}
file_names haplotype_files(const run_options& o) {
    return expanded(o.output_max, OUTPUT_ENDINGS);
}

file_names vcf_files(const run_options& o) {
    if (!o.output_vcf.is_given) return {};
    const vcf_output_settings settings = vcf_settings(o);
    const std::string index = index_name(settings);
    return index.empty() ? file_names{settings.name} : file_names{settings.name, index};
}

vcf_output_settings vcf_settings(const run_options& o) {
    const std::string& index = o.output_index.value;
    return {o.output_vcf.value,
            index == "tbi"   ? vcf_index::tbi
            : index == "csi" ? vcf_index::csi
                             : vcf_index::none,
            o.thread.value};
}

bool has_vcf_panel(const run_options& o) {
    if (o.input_ref.value.size() != 1) return false;
    const std::string& name = o.input_ref.value.front();
    return is_vcf_name(name) || name.ends_with(".vcf.bgz");
}

file_names input_files(const run_options& o) {
    file_names names;
    for (const auto* list : filter_lists(o))
        if (list->is_given) names.push_back(list->value);
    append(names, bed_files(o));
    append(names, gen_files(o));
    append(names, o.input_ref.value);
    for (const auto* file : {&o.input_map, &o.input_vcf, &o.haploid, &o.reference})
        if (file->is_given) names.push_back(file->value);
    return names;
}

void refuse_overwriting(const run_options& options, const std::string& log) {
    const file_names inputs = input_files(options), outputs = written_files(options, log);
    for (const std::string& input : inputs) refuse_console(input);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        refuse_console(outputs[i]);
        for (const std::string& input : inputs)
            if (futils::isSameFile(input, outputs[i]))
                LOG.error(outputs[i] + " would be overwritten by this run, which reads it as " + input +
                          "; give another name to the output or the log");
        for (std::size_t j = 0; j < i; ++j)
            if (futils::isSameFile(outputs[j], outputs[i]))
                LOG.error(outputs[j] + " and " + outputs[i] + " are one file, and this run would write both" +
                          "; give them different names");
    }
}

void check_files(const run_options& o, output_files& outputs) {
    for (const auto* list : filter_lists(o))
        if (list->is_given && !futils::isFile(list->value))
            LOG.error("[" + list->value +
                      "] is impossible to open, check file existence or reading permissions");
    check_kinds(o);
    if (o.input_bed.is_given) check_genotypes(bed_files(o), "input-bed", BED_ENDINGS.size());
    if (o.input_gen.is_given) check_genotypes(gen_files(o), "input-gen", GEN_ENDINGS.size());
    if (o.input_vcf.is_given) check_regular(o.input_vcf.value);
    if (o.haploid.is_given) check_readable(o.haploid.value);
    if (o.reference.is_given) check_readable(o.reference.value);
    if (o.input_ref.is_given) {
        if (o.input_ref.value.size() != N_PANEL_FILES && !has_vcf_panel(o))
            LOG.error(wrong_count("input-ref", N_PANEL_FILES));
        for (const std::string& file : o.input_ref.value)
            has_vcf_panel(o) ? check_regular(file) : check_readable(file);
    }
    check_readable(o.input_map.value);
    take_outputs(o, outputs);
}
