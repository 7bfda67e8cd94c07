#include "vcf/vcf_file.h"

#include <htslib/hfile.h>
#include <htslib/hts_log.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

#include "utils/chromosome.h"
#include "utils/futils.h"
#include "utils/lfile.h"

namespace {

/// How htslib's functions that read report the end of a file. Smaller results mean damage.
constexpr int AT_END = -1;

/// Whether htslib would take a name for something else than a local file.
bool is_remote(const std::string& name) {
    const std::size_t colon = name.find(':');
    return ::hisremote(name.c_str()) != 0 || name.find("://") != std::string::npos ||
           (colon != std::string::npos && name.substr(0, colon) == "data");
}

/// The first name that the header line of a VCF has twice; empty if there is none.
std::string first_duplicate(std::string_view header_line) {
    constexpr int FIRST_INDIVIDUAL = 9;
    std::set<std::string_view> seen;
    for (int column = 0; !header_line.empty(); ++column) {
        const std::string_view name = header_line.substr(0, header_line.find('\t'));
        header_line.remove_prefix(std::min(name.size() + 1, header_line.size()));
        if (column >= FIRST_INDIVIDUAL && !seen.insert(name).second) return std::string(name);
    }
    return {};
}

/// Why htslib could not make sense of a record.
std::string reason_of(int error_code) {
    if ((error_code & BCF_ERR_NCOLS) != 0) return "the number of columns differs from that of the header";
    if ((error_code & BCF_ERR_LIMITS) != 0) return "a number or a field is too large";
    if ((error_code & BCF_ERR_CTG_INVALID) != 0) return "the name of the chromosome is not valid";
    if ((error_code & BCF_ERR_TAG_INVALID) != 0) return "the name of a field is not valid";
    if ((error_code & BCF_ERR_CHAR) != 0) return "a character is not allowed there";
    return {};
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

vcf_file::vcf_file(const std::string& name, std::optional<genome_region> wanted, int n_threads)
    : file(name), region(std::move(wanted)), threads(n_threads), line(hts::new_record()) {
    ::hts_set_log_level(HTS_LOG_OFF);  // the messages here say the same, with file and record
    open();
    head = read_header();
    // htslib takes the rest of the line for a name that is empty.
    const auto is_wrong = [](const std::string& id) {
        return id.empty() || id.find_first_of("\t\n") != std::string::npos;
    };
    if (std::ranges::any_of(individuals(), is_wrong)) LOG.error(file + ": an individual has no name");
    if (region) open_region();
}

void vcf_file::open() {
    if (is_remote(file))
        LOG.error(file + " is not on this machine: download it and give the name of the copy");
    if (!futils::isFile(file)) LOG.error(futils::cannotOpen(file));
    struct stat status {};
    ::stat(file.c_str(), &status);
    state = {static_cast<std::int64_t>(status.st_ino), status.st_size, status.st_mtim.tv_sec,
             status.st_mtim.tv_nsec};
    stream.reset(hts::watched([this] { return ::hts_open(file.c_str(), "r"); }));
    if (stream == nullptr) LOG.error(file + " is neither VCF nor BCF 2");
    const htsFormat* format = ::hts_get_format(stream.get());
    if (format->format != vcf && format->format != bcf) LOG.error(file + " is neither VCF nor BCF 2");
    if (format->compression == bgzf && hts::watched([this] { return ::hts_check_EOF(stream.get()); }) == 0)
        LOG.error(file + " has no end block: it is cut short");
    if (format->compression == no_compression && format->format == vcf) check_end();
    if (threads > 1) hts::watched([this] { return ::hts_set_threads(stream.get(), threads); });
}

/// Ends the run if a text does not end with a line end: a genotype cut short may look like another one.
void vcf_file::check_end() const {
    std::ifstream bytes(file, std::ios::binary);
    bytes.seekg(-1, std::ios::end);
    if (bytes.get() != '\n') LOG.error(file + " does not end with a line end: it is cut short");
}

/// Reads the header. That of a text is read here line by line: htslib's function for the whole also looks for
/// an index, which hides that there was no memory.
hts::header_handle vcf_file::read_header() {
    const bool is_text = ::hts_get_format(stream.get())->format == vcf;
    hts::header_handle header;
    if (is_text) {
        read_header_lines();
        std::string all;
        for (const std::string& one : header_lines) all += one + "\n";
        header.reset(hts::watched([] { return ::bcf_hdr_init("r"); }));
        if (hts::watched([&] { return ::bcf_hdr_parse(header.get(), all.data()); }) != 0) header.reset();
    } else {
        header.reset(hts::watched([this] { return ::bcf_hdr_read(stream.get()); }));
    }
    if (header == nullptr) stop_without_header();
    return header;
}

void vcf_file::stop_without_header() const {
    const std::string twice = header_lines.empty() ? "" : first_duplicate(header_lines.back());
    if (!twice.empty()) LOG.error(file + ": the individual " + twice + " is twice in the header");
    LOG.error(file + ": the header is damaged, or of another version of the format than VCF 4 or BCF 2");
}

void vcf_file::read_header_lines() {
    header_lines.clear();
    while (hts::watched([this] { return ::hts_getline(stream.get(), '\n', text.get()); }) >= 0) {
        header_lines.emplace_back(text.c_str());
        if (!header_lines.back().starts_with("##")) break;
    }
}

std::vector<std::string> vcf_file::lost_header_lines() {
    hts::text_buffer formatted;
    hts::watched([&] { return ::bcf_hdr_format(head.get(), 0, formatted.get()); });
    std::multiset<std::string> kept;
    std::istringstream lines(formatted.c_str());
    for (std::string one; std::getline(lines, one);) kept.insert(one);
    std::vector<std::string> lost;
    for (const std::string& one : header_lines) {
        const auto found = kept.find(one);
        if (found != kept.end())
            kept.erase(found);
        else
            lost.push_back(one);
    }
    return lost;
}

std::vector<std::string> vcf_file::individuals() const {
    const int n = bcf_hdr_nsamples(head.get());
    return {head->samples, head->samples + n};
}

// ---- region

void vcf_file::open_region() {
    std::vector<std::string> names;
    for (int id = 0; id < head->n[BCF_DT_CTG]; ++id)
        if (const char* name = ::bcf_hdr_id2name(head.get(), id)) names.emplace_back(name);
    resolve_chromosome(names);
    open_index(region->chromosome);
}

/// Finds the chromosome of the region among those of the header.
void vcf_file::resolve_chromosome(const std::vector<std::string>& names) {
    const std::string wanted = region->chromosome;
    auto found = std::ranges::find(names, wanted);
    if (found == names.end()) found = std::ranges::find(names, chromosome_key(wanted), chromosome_key);
    if (found == names.end())
        LOG.error(file + " has no chromosome " + wanted +
                  (names.empty() ? ": its header names none" : "; its header names " + joined(names)) +
                  (wanted.find(':') == std::string::npos ? "" : ". A region is CHROMOSOME:FROM-TO"));
    if (*found != wanted) LOG.println("  * Chromosome " + wanted + " is " + *found + " in this file");
    region->chromosome = *found;
    chromosome_id = ::bcf_hdr_name2id(head.get(), found->c_str());
}

/// Opens the index, if there is one and it can be used.
void vcf_file::open_index(const std::string& chromosome) {
    const htsFormat* format = ::hts_get_format(stream.get());
    if (format->compression != bgzf) return;
    struct stat data {
    }, found{};
    std::string name = file + ".csi";
    if (::stat(name.c_str(), &found) != 0) name = file + ".tbi";
    if (::stat(name.c_str(), &found) != 0) return;
    ::stat(file.c_str(), &data);
    if (std::pair(found.st_mtim.tv_sec, found.st_mtim.tv_nsec) <
        std::pair(data.st_mtim.tv_sec, data.st_mtim.tv_nsec))
        LOG.error(name + " is older than " + file + ": make it anew, as with bcftools index");
    const hts_pos_t from = region->from - 1, to = std::min<std::int64_t>(region->to, HTS_POS_MAX);
    hts::watched([&] {
        if (format->format == bcf) {
            index.reset(::bcf_index_load3(file.c_str(), name.c_str(), 0));
            if (index != nullptr) part.reset(bcf_itr_queryi(index.get(), chromosome_id, from, to));
        } else {
            tabix.reset(::tbx_index_load3(file.c_str(), name.c_str(), 0));
            const int id = tabix == nullptr ? -1 : ::tbx_name2id(tabix.get(), chromosome.c_str());
            if (id >= 0) part.reset(tbx_itr_queryi(tabix.get(), id, from, to));
        }
    });
    if (index == nullptr && tabix == nullptr)
        LOG.error(name + " is damaged: make it anew, as with bcftools index");
}

// ---- records

bool vcf_file::next() {
    while (read_record()) {
        check_record();
        if (chromosome_id < 0) chromosome_id = line->rid;
        if (line->rid != chromosome_id) {
            if (!region) stop_at_second_chromosome();
            continue;
        }
        if (region && !region->contains(position())) continue;
        ++count;
        if (position() < last_position)
            stop("records are not sorted: the one before it is at " + std::to_string(last_position));
        last_position = position();
        if (hts::watched([this] { return ::bcf_unpack(line.get(), BCF_UN_ALL); }) != 0) stop("it is damaged");
        check_alleles();
        return true;
    }
    return false;
}

bool vcf_file::read_record() {
    const bool is_text = ::hts_get_format(stream.get())->format == vcf;
    const bool is_indexed = tabix != nullptr || index != nullptr;
    int result = hts::watched([&] {
        if (!is_indexed)
            return is_text ? ::hts_getline(stream.get(), '\n', text.get())
                           : ::bcf_read(stream.get(), head.get(), line.get());
        if (part == nullptr) return AT_END;  // the index lacks the chromosome: no record has it
        return is_text ? tbx_itr_next(stream.get(), tabix.get(), part.get(), text.get())
                       : bcf_itr_next(stream.get(), part.get(), line.get());
    });
    if (is_text && result >= 0) result = parse_text();
    if (result < AT_END) stop_behind_last();
    return result != AT_END;
}

/// Ends the run at a record that cannot be read.
void vcf_file::stop_behind_last() const {
    const std::string reason = reason_of(line->errcode);
    LOG.error(file + ": the record behind number " + std::to_string(count) +
              (count > 0 ? " (" + chromosome() + ":" + std::to_string(last_position) + ")" : "") +
              " cannot be read: " + (reason.empty() ? "the file is damaged or cut short" : reason));
}

/// Parses a line of text. Returns a number below AT_END if it is damaged.
int vcf_file::parse_text() {
    // htslib ignores columns behind those of the last individual.
    constexpr std::ptrdiff_t FIXED_COLUMNS = 9;
    const std::string_view record = text.c_str();
    const int n_individuals = bcf_hdr_nsamples(head.get());
    const auto n_columns = std::count(record.begin(), record.end(), '\t') + 1;
    const bool has_all = n_individuals == 0 || n_columns == FIXED_COLUMNS + n_individuals;
    // What does not begin with a digit is position 0 to htslib.
    const std::string_view place = record.substr(std::min(record.find('\t'), record.size() - 1) + 1);
    const bool has_position = !place.empty() &&
                              std::isdigit(static_cast<unsigned char>(place.front())) != 0 &&
                              place.find_first_not_of("0123456789") == place.find('\t');
    const bool is_parsed =
        hts::watched([this] { return ::vcf_parse(text.get(), head.get(), line.get()); }) == 0;
    if (is_parsed && has_all && has_position) return 0;
    if (!has_all) line->errcode |= BCF_ERR_NCOLS;
    if (!has_position) line->errcode |= BCF_ERR_CHAR;
    return AT_END - 1;
}

void vcf_file::check_record() {
    if (line->rid < 0 || line->rid >= head->n[BCF_DT_CTG] || (line->errcode & BCF_ERR_CTG_UNDEF) != 0)
        LOG.error(file + ": the record behind number " + std::to_string(count) + " is of chromosome " +
                  chromosome() +
                  ", for which the header has no ##contig line; bcftools reheader --fai can add it");
    std::string reason = reason_of(line->errcode);
    if (line->n_sample != static_cast<unsigned>(bcf_hdr_nsamples(head.get())))
        reason = reason_of(BCF_ERR_NCOLS);
    if (!reason.empty()) stop(reason);
    if (position() > std::numeric_limits<int>::max()) stop("the position is too large");
    const auto length = static_cast<std::int64_t>(head->id[BCF_DT_CTG][line->rid].val->info[0]);
    if (length > 0 && position() > length)
        stop("chromosome " + chromosome() + " ends at " + std::to_string(length) +
             " in the header: is it of another assembly?");
}

void vcf_file::check_alleles() {
    std::vector<std::string_view> alleles(line->d.allele, line->d.allele + line->n_allele);
    for (const std::string_view allele : alleles)
        if (allele.empty() || allele == ".") stop("an allele is empty");
    std::ranges::sort(alleles);
    if (std::ranges::adjacent_find(alleles) != alleles.end()) stop("an allele is there twice");
}

void vcf_file::stop_at_second_chromosome() {
    std::vector<std::string> names = {::bcf_hdr_id2name(head.get(), chromosome_id)};
    do {
        if (std::ranges::find(names, chromosome()) == names.end()) names.push_back(chromosome());
    } while (read_record());
    LOG.error(file + " has several chromosomes: " + joined(names) + "; choose one with --region");
}

std::string vcf_file::chromosome() const {
    const char* name = line->rid < 0 ? nullptr : ::bcf_hdr_id2name(head.get(), line->rid);
    return name == nullptr ? "?" : name;
}

std::string vcf_file::place() const {
    return file + ": record " + std::to_string(count) + " (" + chromosome() + ":" +
           std::to_string(position()) + ")";
}

void vcf_file::stop(const std::string& reason) const {
    LOG.error(place() + ": " + reason);
}

void vcf_file::rewind() {
    const file_state before = state;
    open();
    if (state != before) LOG.error(file + " has changed while this run was working");
    // The records are read with the header there is, which may have more tags than the file's own.
    read_header();
    part.reset();
    tabix.reset();
    index.reset();
    if (region)
        open_index(region->chromosome);
    else
        chromosome_id = -1;
    count = 0;
    last_position = 0;
}
