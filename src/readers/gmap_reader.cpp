#include "readers/gmap_reader.h"

#include <string_view>

#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

std::string point(int position, double cm) {
    return sutils::int2str(position) + "bp / " + sutils::double2str(cm, 5) + "cM";
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
    stream.getLine(line);  // header
    for (; stream.getLine(line); ++count) {
        const int n_fields = sutils::tokenize(line, fields);
        if (n_fields != 3)
            LOG.error("Parsing line " + sutils::int2str(count) +
                      " : incorrect number of columns, observed: " + sutils::int2str(n_fields) +
                      " expected: 3");
        const int position = sutils::str2int(fields[0], file, count);
        const double cm = sutils::str2double(fields[2]);
        if (previous_position > position || previous_cm > cm)
            LOG.error("Wrong order in your genetic map file " + point(previous_position, previous_cm) +
                      " > " + point(position, cm));
        map_pos.push_back(position);
        map_cm.push_back(cm);
        previous_position = position;
        previous_cm = cm;
    }
    stream.close();
    LOG.println("  * " + sutils::int2str(count) + " genetic positions found");
}
