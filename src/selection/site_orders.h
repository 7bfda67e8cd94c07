#pragma once

#include <functional>
#include <span>
#include <vector>

#include "containers/allele_rows.h"
#include "containers/genhap_set.h"
#include "modules/worker_team.h"
#include "selection/match_orders.h"

/// The prefix orders of all current haplotypes at chosen sites, in both directions, in memory for one stretch
/// of the chromosome at a time.
class site_orders {
  public:
    /// `set` and `team` are held by reference.
    site_orders(const genhap_set& set, worker_team& team);

    /// Moves the orders over the chromosome from its right end, stretch by stretch, and calls visit(k) when
    /// to_right() is ready for stretch k. Stretch k has the sites `starts[k]` to `starts[k + 1]` - 1 of
    /// `sites`, at least one; the last entry of `starts` is the number of sites. Sites are loci in ascending
    /// order. In the end stretch 0 is open.
    void survey(std::span<const int> sites, std::span<const int> starts,
                const std::function<void(int k)>& visit);
    /// Opens the stretch behind the one that is open.
    void open_next();

    /// The open stretch, and the number of its first site.
    int stretch() const { return opened; }
    int first_site() const { return borders[opened]; }
    /// Matches on the left and on the right of the sites of the open stretch; its first site has number 0.
    const match_orders& to_left() const { return left; }
    const match_orders& to_right() const { return right; }

  private:
    std::span<const int> sites_of(int k) const {
        return std::span(all_sites).subspan(borders[k], borders[k + 1] - borders[k]);
    }
    void open(int k);
    void fill_left() { left.fill(rows, {0, last_locus()}, from_left, sites_of(opened), n_study()); }
    void fill_right(prefix_order& order) {
        right.fill(rows, {last_locus(), 0}, order, sites_of(opened), n_study());
    }
    int last_locus() const { return GH.snps.size() - 1; }
    int n_study() const { return 2 * GH.n_individuals(); }

    const genhap_set& GH;
    worker_team& team;
    std::vector<int> all_sites;
    std::vector<int> borders;  // of the stretches
    int opened = 0;
    allele_rows rows;  // of the open stretch
    prefix_order from_left{0};
    std::vector<prefix_order> from_right;  // for each stretch, the order before its last site
    match_orders left, right;
};
