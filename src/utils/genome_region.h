#pragma once

#include <cstdint>
#include <string>

/// A chromosome, or a part of it. A record belongs to it by its position alone, whatever its length.
struct genome_region {
    static constexpr std::int64_t NO_END = INT64_MAX;

    std::string chromosome;
    std::int64_t from = 1;     // bp, inclusive
    std::int64_t to = NO_END;  // bp, inclusive

    bool is_whole() const { return from <= 1 && to == NO_END; }
    bool contains(std::int64_t position) const { return from <= position && position <= to; }
    bool operator==(const genome_region&) const = default;
};

/// Parses "20", "20:1000-2000" or "20:1000-". Numbers may have commas. A colon that nothing of this form
/// follows belongs to the name. Ends the run if the text is empty or the region is.
genome_region parse_region(const std::string& text);
