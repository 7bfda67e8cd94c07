#pragma once

#include <map>
#include <string>
#include <vector>

#include "containers/snp.h"

/// The variants of a run in non-decreasing order of position, which the readers see to. Owns its variants.
/// Several may share one position; they keep the order in which they were put.
class snp_set {
  public:
    snp_set() = default;
    ~snp_set();
    snp_set(const snp_set&) = delete;
    snp_set& operator=(const snp_set&) = delete;

    int size() const { return static_cast<int>(snp_list.size()); }
    /// Variant `i`, without a range check.
    snp* getByIndex(int i) const { return snp_list[i]; }
    /// All variants at exactly `pos` bp, in order of insertion.
    std::vector<snp*> getByPos(int pos) const;
    /// Appends `s` and takes ownership of it.
    void put(snp* s);
    /// Numbers the variants in list order and gives those with one known allele that allele twice.
    void indexing();
    std::vector<int> getIndexes() const;

    /// Places the variants that stand on a point of the genetic map (pos in bp, cm in cM, equally long).
    /// The later of two points at one position wins. Returns how many variants were set, point by point.
    int setCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm);
    /// Gives each variant still without a genetic position one between the map's points, or beyond its ends
    /// at the map's mean rate, and then moves all so that the first variant does not lie below 0 cM.
    /// Returns how many variants were treated. A map of fewer than two points ends the run if it is needed.
    int interpolateCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm);
    /// Cuts the variants into windows of about `size` bp by equal counts of variants, each inner border
    /// moved at random by up to 5 % of a window. `output` receives the w + 1 borders as indices, from 0 to
    /// size(); returns w, at least 1.
    int rpartition(double size, std::vector<int>& output) const;

    std::vector<snp*> snp_list;
    std::multimap<int, snp*> snp_by_pos;
};
