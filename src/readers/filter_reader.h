#pragma once

#include <map>
#include <string>

/// Decides which individuals and variants of the input a run uses: four optional lists and a half-open
/// interval of positions. Exclusion wins over inclusion. Variants are identified by position alone.
class filter_reader {
  public:
    /// Sets the interval of positions kept, [from, to) in bp. Must be called first.
    void initialise(int from, int to);

    /// Each adds the lines of a file to its list. In a list of individuals, the whole line is the identifier,
    /// not trimmed. In a list of variants, the number at the start of the line is the position.
    void readIndExcludeList(const std::string& file);
    void readIndIncludeList(const std::string& file);
    void readSnpExcludeList(const std::string& file);
    void readSnpIncludeList(const std::string& file);

    /// Whether an individual, or a variant at `pos` bp, is used. An empty inclusion list accepts all. Marks
    /// the entries of the lists that match.
    bool checkInd(const std::string& id);
    bool checkSnp(int pos);

    // Entries, and whether they have matched.
    std::map<std::string, bool> ind_exclude;
    std::map<std::string, bool> ind_include;
    std::map<int, bool> snp_exclude;
    std::map<int, bool> snp_include;
    int pos_from = 0;  // lowest position kept
    int pos_to = 0;    // first position no longer kept
};
