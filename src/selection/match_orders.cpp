#include "selection/match_orders.h"

#include <algorithm>

void match_orders::fill(const allele_rows& rows, locus_path path, prefix_order& order,
                        std::span<const int> sites, int n_study) {
    way = path;
    n_entries = order.entries().size() + 1;
    n_ranked = static_cast<std::uint32_t>(n_study);
    entries.resize(n_entries * sites.size());
    ranks.resize(static_cast<std::size_t>(n_study) * sites.size());
    n_steps.resize(sites.size());
    int locus = path.first + direction() * static_cast<int>(order.steps());
    for (std::size_t i = 0; i < sites.size(); ++i) {
        const std::size_t s = direction() > 0 ? i : sites.size() - 1 - i;
        for (const int behind = sites[s] + direction(); locus != behind; locus += direction())
            order.step(rows.row(locus));
        keep(s, order);
    }
}

void match_orders::keep(std::size_t s, const prefix_order& order) {
    const std::span<const prefix_order::entry> now = order.entries();
    prefix_order::entry* kept = entries.data() + s * n_entries;
    *std::ranges::copy(now, kept).out = {0, order.steps()};
    for (std::uint32_t i = 0; i < now.size(); ++i)
        if (now[i].haplotype < n_ranked) ranks[now[i].haplotype * n_steps.size() + s] = i;
    n_steps[s] = order.steps();
}
