#include "vcf/vcf_output_file.h"

#include <htslib/hfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "utils/futils.h"
#include "utils/lfile.h"

namespace {

constexpr int CSI_MIN_SHIFT = 14, TBI_MIN_SHIFT = 0;
constexpr hts_pos_t LAST_OF_TBI = (hts_pos_t{1} << 29) - 1;  // position from 0

/// How htslib is to write a file, by the ending of its name.
const char* mode_of(const std::string& name) {
    return name.ends_with(".bcf") ? "wb" : name.ends_with(".gz") ? "wz" : "w";
}

bool is_special(const std::string& name) {
    struct stat status {};
    return ::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

bool is_vcf_name(const std::string& name) {
    return name.ends_with(".vcf") || name.ends_with(".vcf.gz") || name.ends_with(".bcf");
}

std::string index_name(const vcf_output_settings& s) {
    if (s.index == vcf_index::none || s.name.ends_with(".vcf") || is_special(s.name)) return {};
    return s.name + (s.index == vcf_index::tbi ? ".tbi" : ".csi");
}

vcf_output_file::vcf_output_file(vcf_output_settings chosen, hts::header_handle output_header)
    : settings(std::move(chosen)),
      index_file(index_name(settings)),
      head(std::move(output_header)),
      pending(settings.name) {
    if (pending.descriptor() < 0) LOG.error(futils::cannotCreate(settings.name));
    const bool is_good = hts::watched([this] {
        hFILE* bytes = ::hdopen(pending.descriptor(), "w");
        if (bytes != nullptr) stream.reset(::hts_hopen(bytes, settings.name.c_str(), mode_of(settings.name)));
        if (stream == nullptr) return false;
        if (settings.n_threads > 1) ::hts_set_threads(stream.get(), settings.n_threads);
        return ::bcf_hdr_write(stream.get(), head.get()) == 0;
    });
    if (!is_good) stop();
}

void vcf_output_file::write(bcf1_t* record) {
    if (settings.index == vcf_index::tbi && !index_file.empty() && record->pos > LAST_OF_TBI)
        LOG.error(index_file + " cannot hold position " + std::to_string(record->pos + 1) +
                  ": use --output-index csi");
    if (hts::watched([&] { return ::bcf_write(stream.get(), head.get(), record); }) != 0) stop();
}

void vcf_output_file::close() {
    if (hts::watched([this] { return ::hts_close(stream.release()); }) != 0) stop();
    if (!index_file.empty()) make_index();
}

/// Makes the index from the finished file: htslib 1.16 makes a wrong one while several threads write.
void vcf_output_file::make_index() {
    pending_index = std::make_unique<pending_file>(index_file);
    if (pending_index->descriptor() < 0) LOG.error(futils::cannotCreate(index_file));
    ::close(pending_index->descriptor());  // htslib opens it by its name
    const int min_shift = settings.index == vcf_index::tbi ? TBI_MIN_SHIFT : CSI_MIN_SHIFT;
    const int result = hts::watched([&] {
        return ::bcf_index_build3(pending.current_name().c_str(), pending_index->current_name().c_str(),
                                  min_shift, settings.n_threads);
    });
    if (result != 0) LOG.error(index_file + " could not be made: the disk or the memory may be full");
}

std::string vcf_output_file::publish() {
    const auto failure_of = [](pending_file& complete, const std::string& file) -> std::string {
        if (complete.publish()) return {};
        return file + " could not be replaced by the result of this run: " + std::strerror(errno);
    };
    std::string failure = failure_of(pending, settings.name);
    if (failure.empty() && !index_file.empty()) failure = failure_of(*pending_index, index_file);
    if (failure.empty()) remove_other_indexes();
    return failure;
}

/// Removes indexes of an earlier file of this name, which would not fit.
void vcf_output_file::remove_other_indexes() const {
    for (const char* ending : {".csi", ".tbi"}) {
        const std::string other = settings.name + ending;
        if (other == index_file || ::unlink(other.c_str()) != 0) continue;
        LOG.println("  * Removed [" + other + "], the index of an earlier file");
    }
}

void vcf_output_file::stop() const {
    LOG.error(settings.name +
              " could not be written: " + (errno != 0 ? std::strerror(errno) : "a record is not valid"));
}
