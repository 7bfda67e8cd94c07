// The prefix order of haplotypes against sorting reversed prefixes, and the longest matches against a search
// over all haplotypes. An item is one haplotype at one locus, or one haplotype at one site.
#include <algorithm>
#include <memory>
#include <numeric>
#include <random>

#include "comparison.h"
#include "containers/allele_rows.h"
#include "objects/chaplotype.h"
#include "selection/match_orders.h"
#include "selection/prefix_order.h"

namespace {

constexpr int N_LOCI = 512, SITES_APART = 8, DEPTH = 8, N_FOUNDERS = 40;

/// Haplotypes that copy founders for some 100 loci at a time.
struct cohort {
    explicit cohort(int n) : haplotypes(n, chaplotype(N_LOCI)) {
        std::mt19937 random(5);
        std::vector<chaplotype> founders(N_FOUNDERS, chaplotype(N_LOCI));
        for (chaplotype& f : founders)
            for (int l = 0; l < N_LOCI; ++l) f.set(l, random() % 4 == 0);
        for (chaplotype& h : haplotypes)
            for (int l = 0, f = 0; l < N_LOCI; ++l) {
                if (l == 0 || random() % 100 == 0) f = static_cast<int>(random() % N_FOUNDERS);
                h.set(l, founders[f].get(l) != 0);
            }
        rows.copy(haplotypes, 0, N_LOCI - 1);
        for (int l = 0; l < N_LOCI; l += SITES_APART) sites.push_back(l);
    }
    int size() const { return static_cast<int>(haplotypes.size()); }
    int match_length(int h, int other, int site) const {
        int l = site;
        while (l >= 0 && haplotypes[h].get(l) == haplotypes[other].get(l)) --l;
        return site - l;
    }

    std::vector<chaplotype> haplotypes;
    allele_rows rows;
    std::vector<int> sites;
};

void move_order(const cohort& c) {
    prefix_order order(c.size());
    for (int l = 0; l < N_LOCI; ++l) order.step(c.rows.row(l));
    benchmark::DoNotOptimize(order.entries().data());
}

/// The haplotypes in the order of their alleles up to `locus`, read from there to the left.
std::vector<int> sorted(const cohort& c, int locus) {
    std::vector<int> order(c.size());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::stable_sort(order, [&](int a, int b) {
        for (int l = locus; l >= 0; --l)
            if (c.haplotypes[a].get(l) != c.haplotypes[b].get(l))
                return c.haplotypes[a].get(l) < c.haplotypes[b].get(l);
        return false;
    });
    return order;
}

void compare_orders(const cohort& c) {
    prefix_order order(c.size());
    for (int l = 0; l < N_LOCI; ++l) order.step(c.rows.row(l));
    const std::vector<int> expected = sorted(c, N_LOCI - 1);
    for (int i = 0; i < c.size(); ++i)
        bench::expect(static_cast<int>(order.entries()[i].haplotype) == expected[i], "prefix_order");
    // The reference sorts at the sites only, the order has to pass all loci.
    bench::comparison("order/" + std::to_string(c.size()), static_cast<double>(c.size()) * N_LOCI, [&c] {
        for (const int site : c.sites) benchmark::DoNotOptimize(sorted(c, site).data());
    }).way("moved", [&c] { move_order(c); });
}

/// Sums up the lengths of the longest matches of some haplotypes.
long search_all(const cohort& c, int n_searched) {
    long sum = 0;
    std::vector<int> lengths(c.size());
    for (int h = 0; h < n_searched; ++h)
        for (const int site : c.sites) {
            for (int other = 0; other < c.size(); ++other)
                lengths[other] = other / 2 == h / 2 ? 0 : c.match_length(h, other, site);
            std::ranges::nth_element(lengths, lengths.begin() + DEPTH, std::greater());
            sum += std::accumulate(lengths.begin(), lengths.begin() + DEPTH, 0L);
        }
    return sum;
}

long look_up(const cohort& c, const match_orders& orders, int n_searched) {
    long sum = 0;
    for (int h = 0; h < n_searched; ++h)
        for (int s = 0; s < static_cast<int>(c.sites.size()); ++s)
            orders.nearest(s, h, DEPTH, [&](int /*other*/, int start) { sum += c.sites[s] - start + 1; });
    return sum;
}

void compare_matches(const cohort& c, const match_orders& orders) {
    constexpr int N_SEARCHED = 20;
    bench::expect(search_all(c, N_SEARCHED) == look_up(c, orders, N_SEARCHED), "match_orders");
    bench::comparison("longest matches/" + std::to_string(c.size()),
                      static_cast<double>(N_SEARCHED) * static_cast<double>(c.sites.size()),
                      [&c] { benchmark::DoNotOptimize(search_all(c, N_SEARCHED)); })
        .way("in the orders", [&c, &orders] { benchmark::DoNotOptimize(look_up(c, orders, N_SEARCHED)); });
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::unique_ptr<cohort>> cohorts;
    std::vector<std::unique_ptr<match_orders>> orders;
    for (const int n : {400, 2000, 10'000, 40'000}) {
        const cohort& c = *cohorts.emplace_back(std::make_unique<cohort>(n));
        match_orders& kept = *orders.emplace_back(std::make_unique<match_orders>());
        prefix_order order(n);
        kept.fill(c.rows, {0, N_LOCI - 1}, order, c.sites, n);
        if (n <= 10'000) {
            compare_orders(c);
            compare_matches(c, kept);
        } else {
            bench::alone("order/" + std::to_string(n) + "/moved", static_cast<double>(n) * N_LOCI,
                         [&c] { move_order(c); });
        }
    }
    return bench::run(argc, argv);
}
