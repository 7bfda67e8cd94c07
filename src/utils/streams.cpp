#include "utils/streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "utils/assertion.h"
#include "utils/futils.h"
#include "utils/lfile.h"

namespace io = boost::iostreams;

namespace {

constexpr std::streamsize BUFFER_BYTES = 1 << 16;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr std::string_view GZIP_MARK = "\x1F\x8B";
constexpr std::string_view BZIP2_MARK = "BZh", BZIP2_BLOCK = "1AY&SY";  // a digit is between them

/// The last part of an output chain, which writes to the file. The filtering stream swallows failures that
/// happen while it closes, so the first one is kept for the ofile.
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

struct ifile::chain : io::filtering_istream {};

ifile::ifile() = default;

ifile::ifile(const std::string& name, bool binary_mode) {
    if (!open(name, binary_mode)) LOG.error(futils::cannotOpen(name));
}

ifile::~ifile() = default;

bool ifile::open(const std::string& name, bool binary_mode) {
    close();
    file = name;
    at_start = true;
    if (!futils::isFile(name)) return false;
    const std::string extension = futils::extensionFile(name);
    auto opened = std::make_unique<chain>();
    try {
        io::file_descriptor_source device(name, binary_mode ? std::ios::in | std::ios::binary : std::ios::in);
        if (extension == "gz")
            opened->push(io::gzip_decompressor(io::zlib::default_window_bits, BUFFER_BYTES), BUFFER_BYTES);
        if (extension == "bz2") opened->push(io::bzip2_decompressor(false, BUFFER_BYTES), BUFFER_BYTES);
        opened->push(device, BUFFER_BYTES);
    } catch (const std::ios_base::failure&) {
        return false;
    }
    opened->exceptions(std::ios::badbit);  // lets exceptions through to getLine and readBytes
    stream = std::move(opened);
    return true;
}

void ifile::close() {
    if (stream != nullptr) stream->exceptions(std::ios::goodbit);
    stream.reset();
}

bool ifile::getLine(std::string& line) {
    if (stream == nullptr) return false;
    try {
        const bool found = static_cast<bool>(std::getline(*stream, line));
        if (at_start) stopAtCompression(line, false);
        if (at_start && line.starts_with(BYTE_ORDER_MARK)) line.erase(0, BYTE_ORDER_MARK.size());
        at_start = false;
        return found;
    } catch (const std::exception& reason) {
        stopOnDamage(reason);
    }
}

bool ifile::readBytes(char* bytes, std::streamsize n) {
    if (stream == nullptr) return false;
    try {
        const bool is_whole = static_cast<bool>(stream->read(bytes, n));
        if (std::exchange(at_start, false))
            stopAtCompression({bytes, static_cast<std::size_t>(stream->gcount())}, true);
        return is_whole;
    } catch (const std::exception& reason) {
        stopOnDamage(reason);
    }
}

std::streamsize ifile::gcount() const {
    return stream == nullptr ? 0 : stream->gcount();
}

void ifile::stopAtCompression(std::string_view start, bool is_binary) const {
    const std::string extension = futils::extensionFile(file);
    const bool is_gzip = start.starts_with(GZIP_MARK);
    // A text may begin with the same letters, so more of it is looked at.
    const bool is_bzip2 = start.starts_with(BZIP2_MARK) &&
                          (is_binary || (start.size() > 4 && start.substr(4).starts_with(BZIP2_BLOCK)));
    if (extension == "gz" || extension == "bz2" || (!is_gzip && !is_bzip2)) return;
    LOG.error(file + " is compressed, but its name does not end in " + (is_gzip ? ".gz" : ".bz2") +
              ": rename it and give that name, or decompress it");
}

void ifile::stopOnDamage(const std::exception& reason) const {
    if (dynamic_cast<const std::bad_alloc*>(&reason)) LOG.outOfMemory();
    LOG.error(file + " could not be read: " + damage(reason));
}

struct ofile::chain : io::filtering_ostream {
    std::shared_ptr<int> first_failure = std::make_shared<int>(0);  // errno of a write or close
};

ofile::ofile() = default;

ofile::ofile(const std::string& name, bool binary_mode) {
    if (!open(name, binary_mode)) LOG.error(futils::cannotCreate(name));
}

ofile::~ofile() {
    try {
        if (stream != nullptr) stream->reset();
    } catch (const std::ios_base::failure&) {
        // The destructor does not report failures; close() does.
    }
}

bool ofile::open(const std::string& name, bool /* POSIX files are all binary */) {
    auto created = std::make_unique<pending_file>(name);
    if (created->descriptor() < 0) return false;
    file = name;
    pending = std::move(created);
    start(pending->descriptor());
    return true;
}

void ofile::open(const std::string& name, int descriptor) {
    file = name;
    pending.reset();
    start(descriptor);
}

void ofile::start(int descriptor) {
    stream = std::make_unique<chain>();
    const std::string extension = futils::extensionFile(file);
    if (extension == "gz") stream->push(io::gzip_compressor(io::gzip_params(), BUFFER_BYTES), BUFFER_BYTES);
    if (extension == "bz2")
        stream->push(io::bzip2_compressor(io::bzip2_params(), BUFFER_BYTES), BUFFER_BYTES);
    stream->push(checked_sink(descriptor, stream->first_failure), BUFFER_BYTES);
}

void ofile::finish() {
    if (stream == nullptr) return;
    const std::shared_ptr<int> failure = stream->first_failure;
    try {
        stream->flush();
        stream->reset();  // ends the chain: compressors write their last bytes, the device closes
    } catch (const std::ios_base::failure&) {
        // A compressor throws if its last bytes can't be written; the sink has the reason.
        stopOnFailure(*failure);
        throw;
    }
    stream.reset();
    stopOnFailure(*failure);
}

int ofile::tryPublish() {
    if (pending == nullptr) return 0;
    if (!pending->publish()) return errno;
    pending.reset();
    return 0;
}

void ofile::publish() {
    const int reason = tryPublish();
    if (reason != 0)
        LOG.error(keep() + " is complete but could not be renamed to " + file + ": " + std::strerror(reason));
}

void ofile::close() {
    finish();
    publish();
}

std::string ofile::keep() {
    return pending != nullptr ? pending->keep() : file;
}

void ofile::writeBytes(const char* bytes, std::streamsize n) {
    TOLVANE_ASSERT(stream != nullptr, "stream != nullptr");
    stream->write(bytes, n);
    if (!stream->good()) stopOnFailure(*stream->first_failure);
}

void ofile::stopOnFailure(int reason) const {
    if (reason != 0) LOG.error(file + " could not be written: " + std::strerror(reason));
}
