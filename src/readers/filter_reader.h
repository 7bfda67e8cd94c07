#pragma once

#include <map>
#include <string>

/// Decides which individuals and variants of the input take part in a run: four optional lists and a
/// half-open interval of positions. Exclusion wins over inclusion. Variants are told by position alone.
class filter_reader {
  public:
    /// Sets the interval of positions kept, [from, to) in bp. Must come first.
    void initialise(int from, int to);

    /// Each adds the lines of a file to its list. An individual list takes the whole line as identifier,
    /// untrimmed; a variant list the number at the line's head.
    void readIndExcludeList(const std::string& file);
    void readIndIncludeList(const std::string& file);
    void readSnpExcludeList(const std::string& file);
    void readSnpIncludeList(const std::string& file);

    /// Whether an individual, or a variant at `pos` bp, takes part. Empty lists of inclusion filter nothing.
    bool checkInd(const std::string& id) const;
    bool checkSnp(int pos) const;

    // Only the presence of a key counts.
    std::map<std::string, bool> ind_exclude;
    std::map<std::string, bool> ind_include;
    std::map<int, bool> snp_exclude;
    std::map<int, bool> snp_include;
    int pos_from = 0;  // lowest position kept
    int pos_to = 0;    // first position no longer kept
};
