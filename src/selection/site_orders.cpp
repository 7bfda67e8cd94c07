#include "selection/site_orders.h"

site_orders::site_orders(const genhap_set& set, worker_team& workers) : GH(set), team(workers) {}

void site_orders::survey(std::span<const int> sites, std::span<const int> starts,
                         const std::function<void(int k)>& visit) {
    all_sites.assign(sites.begin(), sites.end());
    borders.assign(starts.begin(), starts.end());
    const int n = static_cast<int>(starts.size()) - 1;
    from_left = prefix_order(GH.n_haplotypes());
    from_right.assign(n, prefix_order(0));
    prefix_order order(GH.n_haplotypes());
    for (int k = n - 1; k > 0; --k) {
        open(k);
        from_right[k] = order;
        fill_right(order);
        visit(k);
    }
    open(0);
    team.run(2, [&](int item, int /*worker*/) { item == 0 ? fill_left() : fill_right(order); });
    visit(0);
}

void site_orders::open_next() {
    open(opened + 1);
    team.run(2, [&](int item, int /*worker*/) { item == 0 ? fill_left() : fill_right(from_right[opened]); });
}

/// Copies the alleles of the loci that the orders of stretch `k` move over. On their way to it, they have
/// come as far as the last site of the stretch before, and the first one of the stretch behind.
void site_orders::open(int k) {
    opened = k;
    const bool is_first = k == 0, is_last = borders[k + 1] == static_cast<int>(all_sites.size());
    rows.copy(GH.vecH, is_first ? 0 : all_sites[borders[k] - 1] + 1,
              is_last ? last_locus() : all_sites[borders[k + 1]] - 1);
}
