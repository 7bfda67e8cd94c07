#include "support/vcf_text.h"

#include <htslib/bgzf.h>

#include <sstream>
#include <stdexcept>

#include "support/files.h"
#include "vcf/hts_handles.h"

namespace support {

namespace {

void require(bool is_good, const std::string& what) {
    if (!is_good) throw std::runtime_error(what);
}

std::vector<std::string> words_of(const std::string& text, char separator) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, separator);) words.push_back(word);
    return words;
}

/// The text form of a file, header and records.
std::vector<std::string> text_of(const std::string& file) {
    const hts::file_handle stream(::hts_open(file.c_str(), "r"));
    require(stream != nullptr, file);
    const hts::header_handle header(::bcf_hdr_read(stream.get()));
    require(header != nullptr, file);
    const hts::record_handle record(::bcf_init());
    hts::text_buffer text;
    ::bcf_hdr_format(header.get(), 0, text.get());
    while (::bcf_read(stream.get(), header.get(), record.get()) == 0)
        require(::vcf_format(header.get(), record.get(), text.get()) == 0, file);
    return lines_of(text.c_str());
}

}  // namespace

std::string vcf_text(const std::vector<std::string>& individuals, const std::vector<std::string>& records,
                     const std::string& header) {
    std::string text = "##fileformat=VCFv4.2\n##contig=<ID=20>\n##contig=<ID=21>\n##contig=<ID=X>\n" +
                       header +
                       "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Genotype\">\n"
                       "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
    for (const std::string& name : individuals) text += "\t" + name;
    text += "\n";
    for (const std::string& record : records) {
        const std::vector<std::string> words = words_of(record, ' ');
        for (std::size_t w = 0; w < words.size(); ++w)
            text += (w == 0 ? "" : w == 5 ? "\t.\t.\t.\tGT\t" : "\t") + words[w];
        text += "\n";
    }
    return text;
}

std::string put_vcf(const temporary_folder& folder, const std::string& name, const std::string& text) {
    std::string path = folder.at(name);
    if (name.ends_with(".bcf")) {
        const std::string plain = folder.put(name + ".vcf", text);
        const hts::file_handle in(::hts_open(plain.c_str(), "r")), out(::hts_open(path.c_str(), "wb"));
        const hts::header_handle header(::bcf_hdr_read(in.get()));
        require(header != nullptr && ::bcf_hdr_write(out.get(), header.get()) == 0, name);
        const hts::record_handle record(::bcf_init());
        while (::bcf_read(in.get(), header.get(), record.get()) == 0)
            require(::bcf_write(out.get(), header.get(), record.get()) == 0, name);
    } else if (name.ends_with(".gz")) {
        BGZF* out = ::bgzf_open(path.c_str(), "w");
        require(out != nullptr && ::bgzf_write(out, text.data(), text.size()) >= 0 && ::bgzf_close(out) == 0,
                name);
    } else {
        return folder.put(name, text);
    }
    return path;
}

void index_vcf(const std::string& file, bool tbi) {
    require(::bcf_index_build(file.c_str(), tbi ? 0 : 14) == 0, file);
}

std::vector<std::string> records_of(const std::string& file) {
    std::vector<std::string> records;
    for (const std::string& line : text_of(file))
        if (!line.starts_with('#')) records.push_back(line);
    return records;
}

std::vector<std::string> header_of(const std::string& file) {
    std::vector<std::string> header;
    for (const std::string& line : text_of(file))
        if (line.starts_with('#')) header.push_back(line);
    return header;
}

std::vector<std::string> calls_of(const std::string& file) {
    constexpr std::size_t FIRST_INDIVIDUAL = 9;
    std::vector<std::string> calls;
    for (const std::string& record : records_of(file)) {
        const std::vector<std::string> fields = words_of(record, '\t');
        std::string text;
        for (std::size_t f = FIRST_INDIVIDUAL; f < fields.size(); ++f)
            text += (text.empty() ? "" : " ") + fields[f].substr(0, fields[f].find(':'));
        calls.push_back(text);
    }
    return calls;
}

}  // namespace support
