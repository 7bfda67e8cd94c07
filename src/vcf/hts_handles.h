#pragma once

#include <htslib/hts.h>
#include <htslib/tbx.h>
#include <htslib/vcf.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <type_traits>

#include "utils/lfile.h"

/// Owners of the objects of htslib.
namespace hts {

template <auto release>
struct releaser {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

using file_handle = std::unique_ptr<htsFile, releaser<hts_close>>;
using header_handle = std::unique_ptr<bcf_hdr_t, releaser<bcf_hdr_destroy>>;
using record_handle = std::unique_ptr<bcf1_t, releaser<bcf_destroy>>;
using index_handle = std::unique_ptr<hts_idx_t, releaser<hts_idx_destroy>>;
using tabix_handle = std::unique_ptr<tbx_t, releaser<tbx_destroy>>;
using iterator_handle = std::unique_ptr<hts_itr_t, releaser<hts_itr_destroy>>;

/// Makes calls of htslib. In many places it goes on when there is no memory, with data that are not complete;
/// then this ends the run.
template <class Calls>
auto watched(const Calls& calls) {
    const auto check = [] {
        if (errno == ENOMEM) LOG.outOfMemory();
    };
    errno = 0;
    if constexpr (std::is_void_v<decltype(calls())>) {
        calls();
        check();
    } else {
        auto result = calls();
        check();
        return result;
    }
}

inline record_handle new_record() {
    return record_handle(watched([] { return ::bcf_init(); }));
}

/// A text buffer that htslib appends to.
class text_buffer {
  public:
    text_buffer() = default;
    ~text_buffer() { ks_free(&buffer); }
    text_buffer(const text_buffer&) = delete;
    text_buffer& operator=(const text_buffer&) = delete;

    kstring_t* get() { return &buffer; }
    const char* c_str() const { return buffer.s == nullptr ? "" : buffer.s; }

  private:
    kstring_t buffer = KS_INITIALIZE;
};

/// The values of GT in a record, as many for each individual.
class gt_values {
  public:
    gt_values() = default;
    ~gt_values() { std::free(values); }
    gt_values(const gt_values&) = delete;
    gt_values& operator=(const gt_values&) = delete;

    /// Reads those of a record. Empty if it has no genotypes. Valid until the next call.
    std::span<std::int32_t> read(bcf_hdr_t* header, bcf1_t* record) {
        // htslib ends the process at another type.
        const bcf_fmt_t* format = ::bcf_get_fmt(header, record, "GT");
        if (format == nullptr || format->type < BCF_BT_INT8 || format->type > BCF_BT_INT32) return {};
        const int n = watched([&] { return bcf_get_genotypes(header, record, &values, &capacity); });
        return {values, static_cast<std::size_t>(n > 0 ? n : 0)};
    }

  private:
    std::int32_t* values = nullptr;
    int capacity = 0;
};

}  // namespace hts
