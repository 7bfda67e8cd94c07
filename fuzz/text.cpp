// A line: its fields, their number, and the numbers in them, against reference implementations.
#include <bit>
#include <cstdlib>

#include "support.h"
#include "utils/sutils.h"

namespace {

std::vector<std::string> plain_fields(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::vector<std::string> fields;
    bool in_field = false;
    for (const char c : line) {
        const bool gap = c == ' ' || c == '\t';
        if (!gap && !in_field) fields.emplace_back();
        if (!gap) fields.back() += c;
        in_field = !gap;
    }
    return fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string line(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> fields;
    std::vector<std::string_view> views;
    const std::vector<std::string> expected = plain_fields(line);
    FUZZ_LAW(sutils::tokenize(line, fields) == static_cast<int>(expected.size()) && fields == expected);
    FUZZ_LAW(sutils::tokenize(line, views) == static_cast<int>(expected.size()));
    FUZZ_LAW(sutils::count_fields(line) == static_cast<int>(expected.size()));
    for (std::size_t f = 0; f < views.size(); ++f) {
        FUZZ_LAW(views[f] == expected[f]);
        const double value = std::strtod(expected[f].c_str(), nullptr);
        FUZZ_LAW(std::bit_cast<std::uint64_t>(sutils::str2double(views[f])) ==
                 std::bit_cast<std::uint64_t>(value));
        fuzz::completes([&] {
            FUZZ_LAW(sutils::str2int(views[f], "file", 1) == std::strtol(expected[f].c_str(), nullptr, 10));
        });
    }
    return 0;
}
