#pragma once

#include <string>
#include <vector>

/// The points of a genetic map in HapMap format: a header, then position (bp), rate (ignored) and genetic
/// position (cM) on each line.
class gmap_reader {
  public:
    /// Reads `file`, appending to the lists. Ends the run at a line without 3 fields, with a smaller position
    /// in bp or cM than the line before, or with an infinite one, and if no rate of recombination follows
    /// from the points: if all have one position in bp.
    void readGeneticMapFile(const std::string& file);

    std::vector<int> map_pos;    // bp, non-decreasing
    std::vector<double> map_cm;  // cM, non-decreasing, one for each position

  private:
    void check_rates(const std::string& file) const;
};
