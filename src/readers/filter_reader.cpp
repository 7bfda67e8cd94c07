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
        positions[sutils::str2int(line, file, number)] = false;
    });
}

/// Marks an entry of a list as matched. Returns whether there is such an entry.
template <class Key>
bool mark(std::map<Key, bool>& list, const Key& key) {
    const auto entry = list.find(key);
    if (entry == list.end()) return false;
    entry->second = true;
    return true;
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

bool filter_reader::checkInd(const std::string& id) {
    const bool is_excluded = mark(ind_exclude, id), is_included = mark(ind_include, id);
    return !is_excluded && (ind_include.empty() || is_included);
}

bool filter_reader::checkSnp(int pos) {
    const bool is_excluded = mark(snp_exclude, pos), is_included = mark(snp_include, pos);
    if (is_excluded || (!snp_include.empty() && !is_included)) return false;
    return pos >= pos_from && pos < pos_to;
}
