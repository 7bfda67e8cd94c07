#include "readers/gmap_reader.h"

#include <cmath>
#include <limits>
#include <string_view>

#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

std::string point(int position, double cm) {
    return sutils::int2str(position) + "bp / " + sutils::double2str(cm, 5) + "cM";
}

constexpr int N_FIELDS = 3;
constexpr int FIRST_LINE = 2;  // behind the header
constexpr const char* LAYOUT =
    "; a map has position (bp), rate (ignored) and genetic position (cM), in this order";

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
    ifile stream(file);
    std::string line;
    std::vector<std::string_view> fields;
    int previous_position = -1;
    double previous_cm = -1.0;
    int count = 0;
    skip_header(stream);
    for (; stream.getLine(line); ++count) {
        const long number = count + FIRST_LINE;
        const int n_fields = sutils::tokenize(line, fields);
        if (n_fields != N_FIELDS)
            LOG.error("Parsing line " + sutils::int2str(count) +
                      " : incorrect number of columns, observed: " + sutils::int2str(n_fields) +
                      " expected: 3");
        const int position = sutils::str2int(fields[0], file, number);
        const double cm = read_cm(fields[2], file, number);
        if (previous_position > position || previous_cm > cm) {
            LOG.refuse("map-order", file, number, point(position, cm),
                       count == 0 ? "no negative number" : "no smaller number than in the line before");
            LOG.error("Wrong order in your genetic map file " + point(previous_position, previous_cm) +
                      " > " + point(position, cm));
        }
        map_pos.push_back(position);
        map_cm.push_back(cm);
        previous_position = position;
        previous_cm = cm;
    }
    stream.close();
    LOG.println("  * " + sutils::int2str(count) + " genetic positions found");
    check_rates(file);
}

/// Ends the run if no rate of recombination follows from the points.
void gmap_reader::check_rates(const std::string& file) const {
    if (map_pos.size() < 2) return;
    const std::string last_line = std::to_string(map_pos.size() + FIRST_LINE - 1);
    if (map_pos.front() == map_pos.back())
        LOG.error(file + " line " + last_line + ": all points have the position " +
                  sutils::int2str(map_pos.back()) + LAYOUT);
    // The largest position a variant can have: its genetic position is extrapolated from the whole map.
    constexpr double furthest = std::numeric_limits<int>::max();
    if (!std::isfinite((map_cm.back() - map_cm.front()) * furthest))
        LOG.error(file + " line " + last_line + ": " + sutils::double2str(map_cm.back()) +
                  " is too large for a genetic position in cM" + LAYOUT);
    if (map_cm.front() == map_cm.back())
        LOG.refuse("map-rates", file, 0, "a map without any recombination",
                   "genetic positions in cM that grow");
}
