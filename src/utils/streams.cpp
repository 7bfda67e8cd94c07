#include "utils/streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "utils/futils.h"
#include "utils/lfile.h"

namespace io = boost::iostreams;

namespace {

constexpr std::streamsize BUFFER_BYTES = 1 << 16;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// End of an output chain. The filtering stream swallows failures that happen while it closes, so the first
/// one is kept where the ofile finds it.
class checked_sink {
  public:
    using char_type = char;
    struct category : io::sink_tag, io::closable_tag {};

    checked_sink(int file_descriptor, std::shared_ptr<int> kept_failure)
        : descriptor(file_descriptor), failure(std::move(kept_failure)) {}

    std::streamsize write(const char* bytes, std::streamsize n) {
        std::streamsize done = 0;
        while (done < n && *failure == 0) {
            const ssize_t written = ::write(descriptor, bytes + done, static_cast<std::size_t>(n - done));
            if (written >= 0)
                done += written;
            else if (errno != EINTR)
                *failure = errno;
        }
        if (*failure != 0) throw std::ios_base::failure("write");
        return n;
    }

    void close() {
        if (::close(descriptor) != 0 && *failure == 0) *failure = errno;
    }

  private:
    int descriptor;
    std::shared_ptr<int> failure;
};

std::string damage(const std::exception& reason) {
    if (dynamic_cast<const io::gzip_error*>(&reason)) return "the gzip data is damaged or cut short";
    if (dynamic_cast<const io::bzip2_error*>(&reason)) return "the bzip2 data is damaged or cut short";
    return reason.what();
}

}  // namespace

ifile::ifile(const std::string& name, bool binary_mode) {
    if (!open(name, binary_mode)) LOG.error(futils::cannotOpen(name));
}

bool ifile::open(const std::string& name, bool binary_mode) {
    close();
    file = name;
    at_start = true;
    if (!futils::isFile(name)) return false;
    const std::string extension = futils::extensionFile(name);
    try {
        io::file_descriptor_source device(name, binary_mode ? std::ios::in | std::ios::binary : std::ios::in);
        if (extension == "gz")
            push(io::gzip_decompressor(io::zlib::default_window_bits, BUFFER_BYTES), BUFFER_BYTES);
        if (extension == "bz2") push(io::bzip2_decompressor(false, BUFFER_BYTES), BUFFER_BYTES);
        push(device, BUFFER_BYTES);
    } catch (const std::ios_base::failure&) {
        reset();
        return false;
    }
    clear();
    exceptions(std::ios::badbit);  // lets the reason of a failure through to getLine and readBytes
    return true;
}

void ifile::close() {
    exceptions(std::ios::goodbit);
    if (!empty()) reset();
}

bool ifile::getLine(std::string& line) {
    try {
        const bool found = static_cast<bool>(std::getline(*this, line));
        if (at_start && line.starts_with(BYTE_ORDER_MARK)) line.erase(0, BYTE_ORDER_MARK.size());
        at_start = false;
        return found;
    } catch (const std::exception& reason) {
        stopOnDamage(reason);
    }
}

bool ifile::readBytes(char* bytes, std::streamsize n) {
    try {
        return static_cast<bool>(read(bytes, n));
    } catch (const std::exception& reason) {
        stopOnDamage(reason);
    }
}

bool ifile::readString(std::string& text) {
    std::int32_t length = 0;
    text.clear();
    if (!readBytes(reinterpret_cast<char*>(&length), sizeof length)) return false;
    if (length < 0) LOG.error(file + " declares a text of " + std::to_string(length) + " bytes");
    // Taken in pieces, so a damaged length can't claim more memory than the file holds bytes.
    std::string piece;
    for (std::int32_t rest = length; rest > 0; rest -= static_cast<std::int32_t>(piece.size())) {
        piece.resize(static_cast<std::size_t>(std::min<std::int32_t>(rest, BUFFER_BYTES)));
        if (!readBytes(piece.data(), static_cast<std::streamsize>(piece.size()))) return false;
        text += piece;
    }
    text.resize(std::min(text.find('\0'), text.size()));
    return true;
}

void ifile::stopOnDamage(const std::exception& reason) const {
    LOG.error(file + " could not be read: " + damage(reason));
}

ofile::ofile(const std::string& name, bool binary_mode) {
    if (!open(name, binary_mode)) LOG.error(futils::cannotCreate(name));
}

ofile::~ofile() {
    try {
        if (!empty()) reset();
    } catch (const std::ios_base::failure&) {
        // Nobody has asked whether the file is whole.
    }
}

bool ofile::open(const std::string& name, bool /* POSIX files are all binary */) {
    file = name;
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) return false;
    first_failure = std::make_shared<int>(0);
    const std::string extension = futils::extensionFile(name);
    if (extension == "gz") push(io::gzip_compressor(io::gzip_params(), BUFFER_BYTES), BUFFER_BYTES);
    if (extension == "bz2") push(io::bzip2_compressor(io::bzip2_params(), BUFFER_BYTES), BUFFER_BYTES);
    push(checked_sink(descriptor, first_failure), BUFFER_BYTES);
    clear();
    return true;
}

void ofile::close() {
    if (empty()) return;
    try {
        flush();
        reset();  // ends the chain: compressors write their last bytes, the device closes
    } catch (const std::ios_base::failure&) {
        // A compressor throws when its last bytes find no place; the sink knows the reason.
        stopOnFailure();
        throw;
    }
    stopOnFailure();
}

void ofile::writeBytes(const char* bytes, std::streamsize n) {
    write(bytes, n);
    if (!good()) stopOnFailure();
}

void ofile::writeString(const std::string& text) {
    const auto length = static_cast<std::int32_t>(text.size());
    writeBytes(reinterpret_cast<const char*>(&length), sizeof length);
    writeText(text);
}

void ofile::stopOnFailure() const {
    if (*first_failure != 0) LOG.error(file + " could not be written: " + std::strerror(*first_failure));
}
