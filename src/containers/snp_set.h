#pragma once

#include <span>
#include <utility>
#include <vector>

#include "containers/snp.h"
#include "utils/random_source.h"

/// The variants of a run in non-decreasing order of position, which the readers ensure. Variants at one
/// position stay in the order of insertion.
class snp_set {
  public:
    int size() const { return static_cast<int>(snp_list.size()); }
    /// Variant `i`, without a range check. The pointer is valid until the next put.
    snp* getByIndex(int i) { return &snp_list[i]; }
    const snp* getByIndex(int i) const { return &snp_list[i]; }
    /// All variants at exactly `pos` bp, in order of insertion.
    std::span<snp> getByPos(int pos);
    /// Appends a variant. Its position must not be below that of the last one.
    void put(snp variant) { snp_list.push_back(std::move(variant)); }
    /// Sets idx of each variant to its place in the list, and copies a0 to an empty a1.
    void indexing();

    /// Sets the genetic position of each variant that is exactly at a point of the genetic map (pos in bp, cm
    /// in cM, of equal length). If two points have the same position, the later one wins. Returns the number
    /// of variants set, summed over the points.
    int setCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm);
    /// Sets the genetic position of all other variants: interpolated between the map's points, or
    /// extrapolated beyond its ends at the map's mean rate. Then shifts all positions so that the first
    /// variant is not below 0 cM. Returns the number of variants interpolated or extrapolated. Ends the run
    /// if the map is needed and has fewer than two points.
    int interpolateCentiMorgan(const std::vector<int>& pos, const std::vector<double>& cm);
    /// Cuts the variants into windows of about `size` bp. Windows have equal numbers of variants, and each
    /// inner border is moved at random by up to 5 % of a window. Returns the borders as variant indices, from
    /// 0 to size(): at least two.
    std::vector<int> rpartition(double size, random_source& random) const;

    std::vector<snp> snp_list;
};
