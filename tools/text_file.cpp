#include "tools/text_file.h"

#include <htslib/bgzf.h>

#include <boost/iostreams/device/file.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <ios>
#include <stdexcept>
#include <string_view>

namespace tools {

namespace {

bool is_compressed(std::string_view path) {
    return path.ends_with(".gz");
}

// Throws if the file cannot take all data. Otherwise, after a partial write, the compressor would retry the
// rest forever.
class StrictSink {
  public:
    using char_type = char;
    using category = boost::iostreams::sink_tag;

    explicit StrictSink(std::ofstream& file) : file_(&file) {}

    std::streamsize write(const char* text, std::streamsize length) {
        if (!file_->write(text, length)) throw std::ios_base::failure("write failed");
        return length;
    }

  private:
    std::ofstream* file_;
};

}  // namespace

TextWriter::TextWriter(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    if (!file_) throw std::runtime_error("cannot create " + path);
    if (is_compressed(path)) stream_.push(boost::iostreams::gzip_compressor());
    stream_.push(StrictSink(file_));
}

void TextWriter::close() {
    try {
        stream_.reset();
    } catch (const std::ios_base::failure&) {
        // The file has failed as well.
    }
    file_.close();
    if (!file_) throw std::runtime_error("cannot write " + path_);
}

BlockWriter::BlockWriter(const std::string& path) : path_(path), file_(bgzf_open(path.c_str(), "w")) {
    if (!file_) throw std::runtime_error("cannot create " + path);
}

void BlockWriter::write(const std::string& text) {
    if (bgzf_write(file_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("cannot write " + path_);
}

void BlockWriter::close() {
    if (bgzf_close(file_.release()) != 0) throw std::runtime_error("cannot write " + path_);
}

void BlockWriter::Closer::operator()(BGZF* file) const {
    bgzf_close(file);  // a failure does not matter here: close() was not called
}

TextReader::TextReader(const std::string& path) : path_(path) {
    boost::iostreams::file_source file(path, std::ios::binary);
    if (!file.is_open()) throw std::runtime_error("cannot open " + path);
    if (is_compressed(path)) stream_.push(boost::iostreams::gzip_decompressor());
    stream_.push(file);
}

std::string TextReader::place() const {
    std::string text = path_;
    text += ", line ";
    text += std::to_string(line_number_);
    return text;
}

bool TextReader::next(std::string& line) {
    if (!std::getline(stream_, line)) {
        if (stream_.bad()) throw std::runtime_error("cannot read after " + place());
        return false;
    }
    ++line_number_;
    if (line.ends_with('\r')) line.pop_back();
    return true;
}

}  // namespace tools
