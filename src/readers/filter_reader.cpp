#include "readers/filter_reader.h"

#include "utils/lfile.h"
#include "utils/streams.h"
#include "utils/sutils.h"

namespace {

/// Reads a list: calls `enter(line, number)` for each line, numbered from 1.
template <class Enter>
void readList(const std::string& file, const std::string& things, const std::string& list, Enter enter) {
    LOG.println("\nReading " + things + " to " + list + " from input file in [" + file + "]");
    ifile stream(file);
    std::string line;
    int count = 0;
    while (stream.getLine(line)) enter(line, ++count);
    stream.close();
    const std::string counted = things == "SNPs" ? "snps" : things;
    if (count > 0)
        LOG.println("  * " + sutils::int2str(count) + " " + counted + " found in the " + list + " list");
}

void readIndList(const std::string& file, const std::string& list, std::map<std::string, bool>& ids) {
    readList(file, "individuals", list, [&](const std::string& line, long) { ids[line] = false; });
}

void readSnpList(const std::string& file, const std::string& list, std::map<int, bool>& positions) {
    readList(file, "SNPs", list, [&](const std::string& line, long number) {
        positions[sutils::str2int(line, file, number)] = true;
    });
}

}  // namespace

void filter_reader::initialise(int from, int to) {
    pos_from = from;
    pos_to = to;
}

void filter_reader::readIndExcludeList(const std::string& file) {
    readIndList(file, "exclude", ind_exclude);
}
void filter_reader::readIndIncludeList(const std::string& file) {
    readIndList(file, "include", ind_include);
}
void filter_reader::readSnpExcludeList(const std::string& file) {
    readSnpList(file, "exclude", snp_exclude);
}
void filter_reader::readSnpIncludeList(const std::string& file) {
    readSnpList(file, "include", snp_include);
}

bool filter_reader::checkInd(const std::string& id) const {
    if (ind_exclude.contains(id)) return false;
    return ind_include.empty() || ind_include.contains(id);
}

bool filter_reader::checkSnp(int pos) const {
    if (snp_exclude.contains(pos)) return false;
    if (!snp_include.empty() && !snp_include.contains(pos)) return false;
    return pos >= pos_from && pos < pos_to;
}
