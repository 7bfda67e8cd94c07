#pragma once

#include <vector>

#include "tools/random_source.h"

namespace simulation {

/// One point of a genetic map.
struct MapPoint {
    int position;         ///< bp, first base is 1
    double rate;          ///< cM per Mb from here to the next point; 0 at the last point
    double centimorgans;  ///< cM from the start of the chromosome
};

/// Genetic distance along a chromosome, linear between points of ascending position.
class RecombinationMap {
  public:
    /// At least one point, in ascending order of position.
    explicit RecombinationMap(std::vector<MapPoint> points) : points_(std::move(points)) {}

    /// cM at a position in bp; constant beyond the ends.
    double centimorgans(int position) const;

    const std::vector<MapPoint>& points() const { return points_; }

  private:
    std::vector<MapPoint> points_;
};

/// Draws a map of the bases first .. last (inclusive) with a slowly changing background rate and a hot spot
/// of about 2 kb every 50 kb or so; hot spots account for 80 % of all recombination. The mean rate over a
/// long region is 1.2 cM per Mb.
RecombinationMap draw_recombination_map(int first, int last, RandomSource& random);

}  // namespace simulation
