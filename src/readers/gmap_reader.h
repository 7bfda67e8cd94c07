#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

/// How a genetic map is laid out. Positions are in bp and cM in all of them.
enum class map_layout {
    hapmap,  // a header; position, rate (ignored), genetic position
    plink,   // no header; chromosome, identifier (ignored), genetic position, position
    table    // a header; chromosome, position, rate (ignored), genetic position
};

/// The points of a genetic map on one chromosome.
class gmap_reader {
  public:
    /// Reads `file` in HapMap layout, appending to the lists. Ends the run at a line without 3 fields, with a
    /// smaller position in bp or cM than the line before, or with an infinite one, and if no rate of
    /// recombination follows from the points: if all have one position in bp.
    void readGeneticMapFile(const std::string& file);
    /// The same in another layout, with the points of one chromosome only, whose name may be with or without
    /// "chr". Without a name (empty), the file must have one chromosome. Ends the run if there is no point.
    void read(const std::string& file, map_layout layout, const std::string& chromosome);

    std::vector<int> map_pos;    // bp, non-decreasing
    std::vector<double> map_cm;  // cM, non-decreasing, one for each position

  private:
    void take_point(int position, double cm, const std::string& file, long line);
    void check_chromosomes(const std::string& file, const std::string& wanted,
                           const std::set<std::string>& found) const;
    void check_rates(const std::string& file, long last_line, const std::string& names) const;

    std::size_t first_of_file = 0;  // number of points read before the file
};
