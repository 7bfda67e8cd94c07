#include "utils/genome_region.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "utils/lfile.h"

namespace {

/// The number that a text with or without commas is, if it is one.
std::optional<std::int64_t> number_of(std::string text) {
    std::erase(text, ',');
    std::int64_t value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || failure != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

/// Takes "FROM-" or "FROM-TO" into a region. False if the text is neither.
bool take_range(const std::string& text, genome_region& region) {
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos) return false;
    const std::optional<std::int64_t> from = number_of(text.substr(0, dash));
    const std::optional<std::int64_t> to =
        dash + 1 == text.size() ? genome_region::NO_END : number_of(text.substr(dash + 1));
    region.from = from.value_or(0);
    region.to = to.value_or(0);
    return from && to;
}

}  // namespace

genome_region parse_region(const std::string& text) {
    genome_region region;
    region.chromosome = text;
    const std::size_t colon = text.rfind(':');
    if (colon != std::string::npos) {
        genome_region part;
        if (take_range(text.substr(colon + 1), part)) {
            region = part;
            region.chromosome = text.substr(0, colon);
        }
    }
    if (region.chromosome.empty() || region.from < 1 || region.from > region.to)
        LOG.error("[" + text + "] is no region: use CHROMOSOME or CHROMOSOME:FROM-TO, positions from 1 on");
    return region;
}
