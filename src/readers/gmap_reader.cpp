#include "readers/gmap_reader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

#include "utils/chromosome.h"
#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

std::string point(int position, double cm) {
    return sutils::int2str(position) + "bp / " + sutils::double2str(cm, 5) + "cM";
}

constexpr int N_FIELDS = 3;
constexpr int FIRST_LINE = 2;  // behind the header

/// A layout that names the chromosome in its first column.
struct columns {
    bool has_header;
    int position, cm;
    const char* names;
};
constexpr int N_COLUMNS = 4;
constexpr columns PLINK_COLUMNS = {false, 3, 2,
                                   "chromosome, identifier, genetic position (cM) and position (bp)"};
constexpr columns TABLE_COLUMNS = {true, 1, 3, "chromosome, position (bp), rate and genetic position (cM)"};

constexpr const char* NAMES = "position (bp), rate (ignored) and genetic position (cM)";

/// Skips the header. Refuses a point in its place.
void skip_header(ifile& stream) {
    std::string line;
    std::vector<std::string_view> fields;
    stream.getLine(line);
    if (sutils::tokenize(line, fields) == N_FIELDS && sutils::is_number(fields[0]) &&
        sutils::is_number(fields[2]))
        LOG.refuse("map-header", stream.name(), 1, "a point of the map", "a header");
}

double read_cm(std::string_view field, const std::string& file, long number) {
    const double cm = sutils::str2double(field);
    const std::string text = "[" + std::string(field) + "]";
    if (!std::isfinite(cm))
        LOG.error(file + " line " + std::to_string(number) + ": " + text + " is no genetic position in cM");
    if (!sutils::is_number(field)) LOG.refuse("number", file, number, text, "a genetic position in cM");
    return cm;
}

}  // namespace

void gmap_reader::readGeneticMapFile(const std::string& file) {
    LOG.println("\nReading genetic map in [" + file + "]");
    first_of_file = map_pos.size();
    ifile stream(file);
    std::string line;
    std::vector<std::string_view> fields;
    int count = 0;
    skip_header(stream);
    for (; stream.getLine(line); ++count) {
        const long number = count + FIRST_LINE;
        const int n_fields = sutils::tokenize(line, fields);
        if (n_fields != N_FIELDS)
            LOG.error("Parsing line " + sutils::int2str(count) +
                      " : incorrect number of columns, observed: " + sutils::int2str(n_fields) +
                      " expected: 3");
        take_point(sutils::str2int(fields[0], file, number), read_cm(fields[2], file, number), file, number);
    }
    stream.close();
    LOG.println("  * " + sutils::int2str(count) + " genetic positions found");
    check_rates(file, count + FIRST_LINE - 1, NAMES);
}

void gmap_reader::read(const std::string& file, map_layout layout, const std::string& chromosome) {
    if (layout == map_layout::hapmap) {
        readGeneticMapFile(file);
        return;
    }
    const columns at = layout == map_layout::plink ? PLINK_COLUMNS : TABLE_COLUMNS;
    LOG.println("\nReading genetic map in [" + file + "]");
    first_of_file = map_pos.size();
    ifile stream(file);
    std::string line;
    std::vector<std::string_view> fields;
    std::set<std::string> found;  // chromosomes
    long number = 0;
    if (at.has_header && stream.getLine(line)) ++number;
    while (stream.getLine(line)) {
        ++number;
        if (sutils::tokenize(line, fields) != N_COLUMNS)
            LOG.error(file + " line " + std::to_string(number) + " has " + std::to_string(fields.size()) +
                      " columns, expected " + at.names);
        const std::string name(fields[0]);
        found.insert(name);
        if (!chromosome.empty() && chromosome_key(name) != chromosome_key(chromosome)) continue;
        for (const int column : {at.position, at.cm})
            if (!sutils::is_number(fields[column]))
                LOG.error(file + " line " + std::to_string(number) + ": [" + std::string(fields[column]) +
                          "] is no number, expected " + at.names);
        take_point(sutils::str2int(fields[at.position], file, number), read_cm(fields[at.cm], file, number),
                   file, number);
    }
    stream.close();
    check_chromosomes(file, chromosome, found);
    const auto other = std::ranges::find_if(found, [&chromosome](const std::string& name) {
        return name != chromosome && chromosome_key(name) == chromosome_key(chromosome);
    });
    if (other != found.end()) LOG.println("  * Chromosome " + chromosome + " is " + *other + " in this file");
    LOG.println("  * " + std::to_string(map_pos.size()) + " genetic positions found");
    check_rates(file, number, at.names);
}

/// Appends a point. Ends the run if it is before the last one.
void gmap_reader::take_point(int position, double cm, const std::string& file, long line) {
    const bool is_first = map_pos.size() == first_of_file;
    const int previous_position = is_first ? -1 : map_pos.back();
    const double previous_cm = is_first ? -1.0 : map_cm.back();
    if (previous_position > position || previous_cm > cm) {
        LOG.refuse("map-order", file, line, point(position, cm),
                   is_first ? "no negative number" : "no smaller number than in the line before");
        LOG.error("Wrong order in your genetic map file " + point(previous_position, previous_cm) + " > " +
                  point(position, cm));
    }
    map_pos.push_back(position);
    map_cm.push_back(cm);
}

/// Ends the run if a map with these chromosomes has no points, or those of several.
void gmap_reader::check_chromosomes(const std::string& file, const std::string& wanted,
                                    const std::set<std::string>& found) const {
    std::string names;
    for (const std::string& name : found) names += (names.empty() ? "" : ", ") + name;
    if (map_pos.empty())
        LOG.error(file + " has no points" +
                  (found.empty() ? "" : " of chromosome " + wanted + ", only of " + names));
    if (wanted.empty() && found.size() > 1)
        LOG.error(file + " has several chromosomes (" + names +
                  "), and the study does not tell which one is its own; choose it with --region");
}

/// Ends the run if no rate of recombination follows from the points.
void gmap_reader::check_rates(const std::string& file, long line, const std::string& names) const {
    if (map_pos.size() < 2) return;
    const std::string last_line = std::to_string(line);
    if (map_pos.front() == map_pos.back())
        LOG.error(file + " line " + last_line + ": all points have the position " +
                  sutils::int2str(map_pos.back()) + "; a map has " + names + ", in this order");
    // The largest position a variant can have: its genetic position is extrapolated from the whole map.
    constexpr double furthest = std::numeric_limits<int>::max();
    if (!std::isfinite((map_cm.back() - map_cm.front()) * furthest))
        LOG.error(file + " line " + last_line + ": " + sutils::double2str(map_cm.back()) +
                  " is too large for a genetic position in cM" + "; a map has " + names + ", in this order");
    if (map_cm.front() == map_cm.back())
        LOG.refuse("map-rates", file, 0, "a map without any recombination",
                   "genetic positions in cM that grow");
}
