#include "support/files.h"

#include <boost/iostreams/copy.hpp>
#include <boost/iostreams/device/array.hpp>
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace support {

namespace {

namespace io = boost::iostreams;

template <class Filter>
std::string filtered(const std::string& bytes, const Filter& filter) {
    std::string result;
    io::filtering_istream chain;
    chain.push(filter);
    chain.push(io::array_source(bytes.data(), bytes.size()));
    io::copy(chain, io::back_inserter(result));
    return result;
}

}  // namespace

void write_file(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << bytes << std::flush;
    if (!file) throw std::runtime_error(path + " could not be written");
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + " could not be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string gzip(const std::string& bytes) {
    return filtered(bytes, io::gzip_compressor());
}
std::string bzip2(const std::string& bytes) {
    return filtered(bytes, io::bzip2_compressor());
}
std::string gunzip(const std::string& bytes) {
    return filtered(bytes, io::gzip_decompressor());
}
std::string bunzip2(const std::string& bytes) {
    return filtered(bytes, io::bzip2_decompressor());
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace support
