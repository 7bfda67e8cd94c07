#pragma once

#include <string>
#include <vector>

/// The points of a genetic map in HapMap format: a header, then position (bp), rate (ignored) and genetic
/// position (cM) on each line.
class gmap_reader {
  public:
    /// Reads `file`, appending to the lists. A line without 3 fields, or one that lies below the line before
    /// it in either column, ends the run.
    void readGeneticMapFile(const std::string& file);

    std::vector<int> map_pos;    // bp, non-decreasing
    std::vector<double> map_cm;  // cM, non-decreasing, one for each position
};
