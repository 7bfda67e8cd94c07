#include "spare/packed_files.h"

#include <algorithm>
#include <cstdint>
#include <istream>
#include <ostream>

#include "utils/lfile.h"
#include "utils/streams.h"

namespace spare {

namespace {

constexpr std::size_t PIECE = 1 << 16;  // bytes

/// Appends `n` bytes of the file; false if it ends before. Reads in pieces, so that a damaged count cannot
/// allocate much more memory than the file has bytes.
template <class Bytes>
bool append_bytes(Bytes& bytes, std::size_t n, ifile& file) {
    for (std::size_t rest = n; rest > 0;) {
        const std::size_t start = bytes.size(), count = std::min(PIECE, rest);
        bytes.resize(start + count);
        if (!file.readBytes(reinterpret_cast<char*>(bytes.data() + start),
                            static_cast<std::streamsize>(count)))
            return false;
        rest -= count;
    }
    return true;
}

}  // namespace

void bool2binary(const std::vector<bool>& bits, std::ostream& stream) {
    const auto count = static_cast<std::int32_t>(bits.size());
    stream.write(reinterpret_cast<const char*>(&count), sizeof count);
    for (std::size_t first = 0; first < bits.size(); first += 8) {
        unsigned byte = 0;
        for (std::size_t bit = 0; bit < 8 && first + bit < bits.size(); ++bit)
            byte |= static_cast<unsigned>(bits[first + bit]) << bit;
        stream.put(static_cast<char>(byte));
    }
}

bool binary2bool(std::vector<bool>& bits, std::istream& stream) {
    bits.clear();
    std::int32_t count = 0;
    if (!stream.read(reinterpret_cast<char*>(&count), sizeof count) || count < 0) return false;
    for (std::int32_t first = 0; first < count; first += 8) {
        char byte = 0;
        if (!stream.get(byte)) return false;
        for (int bit = 0; bit < 8 && first + bit < count; ++bit) bits.push_back((byte >> bit) & 1);
    }
    return true;
}

void write_string(const std::string& text, ofile& file) {
    const auto length = static_cast<std::int32_t>(text.size());
    file.writeBytes(reinterpret_cast<const char*>(&length), sizeof length);
    file.writeText(text);
}

bool read_string(std::string& text, ifile& file) {
    std::int32_t length = 0;
    text.clear();
    if (!file.readBytes(reinterpret_cast<char*>(&length), sizeof length)) return false;
    if (length < 0) LOG.error(file.name() + " declares a text of " + std::to_string(length) + " bytes");
    if (!append_bytes(text, static_cast<std::size_t>(length), file)) return false;
    text.resize(std::min(text.find('\0'), text.size()));
    return true;
}

void write_haplotype(const chaplotype& haplotype, ofile& file) {
    const auto n_bytes = static_cast<std::uint32_t>(haplotype.data.size());
    file.writeBytes(reinterpret_cast<const char*>(&haplotype.n), sizeof haplotype.n);
    file.writeBytes(reinterpret_cast<const char*>(&n_bytes), sizeof n_bytes);
    file.writeBytes(reinterpret_cast<const char*>(haplotype.data.data()),
                    static_cast<std::streamsize>(haplotype.data.size()));
}

bool read_haplotype(chaplotype& haplotype, ifile& file) {
    haplotype.clear();
    std::uint32_t n_loci = 0, n_bytes = 0;
    if (!file.readBytes(reinterpret_cast<char*>(&n_loci), sizeof n_loci)) return false;
    if (!file.readBytes(reinterpret_cast<char*>(&n_bytes), sizeof n_bytes)) return false;
    if (n_bytes != (std::size_t{n_loci} + 7) / 8)
        LOG.error(file.name() + " declares a haplotype of " + std::to_string(n_loci) + " loci in " +
                  std::to_string(n_bytes) + " bytes");
    haplotype.n = n_loci;
    return append_bytes(haplotype.data, n_bytes, file);
}

}  // namespace spare
