#include "selection/match_orders.h"

void match_orders::fill(const allele_rows& rows, locus_path path, std::span<const int> sites,
                        int n_haplotypes, int n_study) {
    way = path;
    n_entries = n_haplotypes;
    n_ranked = n_study;
    entries.resize(n_entries * sites.size());
    ranks.resize(n_ranked * sites.size());
    n_steps.resize(sites.size());
    prefix_order order(n_haplotypes);
    int locus = path.first;
    for (std::size_t i = 0; i < sites.size(); ++i) {
        const std::size_t s = direction() > 0 ? i : sites.size() - 1 - i;
        for (const int behind = sites[s] + direction(); locus != behind; locus += direction())
            order.step(rows.row(locus));
        keep(s, order);
    }
}

void match_orders::keep(std::size_t s, const prefix_order& order) {
    const std::span<const prefix_order::entry> now = order.entries();
    std::ranges::copy(now, entries.begin() + static_cast<std::ptrdiff_t>(s * n_entries));
    std::uint32_t* rank_of = ranks.data() + s * n_ranked;
    for (std::uint32_t i = 0; i < n_entries; ++i)
        if (now[i].haplotype < n_ranked) rank_of[now[i].haplotype] = i;
    n_steps[s] = order.steps();
}
