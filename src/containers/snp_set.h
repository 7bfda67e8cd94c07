#pragma once

#include <span>
#include <utility>
#include <vector>

#include "containers/snp.h"
#include "utils/random_source.h"

/// The variants of a run in non-decreasing order of position, which the readers see to. Several may share one
/// position; they keep the order in which they were put.
class snp_set {
  public:
    int size() const { return static_cast<int>(snp_list.size()); }
    /// Variant `i`, without a range check. Stays where it is once the last variant is put.
    snp* getByIndex(int i) { return &snp_list[i]; }
    const snp* getByIndex(int i) const { return &snp_list[i]; }
    /// All variants at exactly `pos` bp, in order of insertion.
    std::span<snp> getByPos(int pos);
    /// Appends a variant, which does not lie before the last one.
    void put(snp variant) { snp_list.push_back(std::move(variant)); }
    /// Numbers the variants in list order and gives those with one known allele that allele twice.
    void indexing();

    /// Places the variants that lie on a point of the genetic map (pos in bp, cm in cM, equally long).
    /// The later of two points at one position wins. Returns how many variants were set, point by point.
    int setCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm);
    /// Gives each variant still without a genetic position one between the map's points, or beyond its ends
    /// at the map's mean rate, and then moves all so that the first variant does not lie below 0 cM.
    /// Returns how many variants were treated. A map of fewer than two points ends the run if it is needed.
    int interpolateCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm);
    /// Cuts the variants into windows of about `size` bp by equal counts of variants, each inner border moved
    /// at random by up to 5 % of a window. Returns the borders as indices, from 0 to size(): at least two.
    std::vector<int> rpartition(double size, random_source& random) const;

    std::vector<snp> snp_list;
};
