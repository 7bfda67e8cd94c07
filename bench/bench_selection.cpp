// The selection of conditioning haplotypes for one individual in one window: from all haplotypes, and from
// the marked ones. The reference implementation computes each distance when it is needed, byte by byte, and
// stops at the limit. An item is one haplotype compared.
#include <algorithm>
#include <list>
#include <optional>

#include "cohort.h"
#include "comparison.h"
#include "objects/bit_kernels_plain.h"
#include "selection/hamming_selection.h"

namespace {

constexpr int K = 100;

class plain_selection {
  public:
    plain_selection(const genhap_set& set, int individual, int first_locus, int last_locus,
                    random_source& source)
        : H(set.vecH), ind(individual), first(first_locus), last(last_locus), random(source) {}

    std::vector<int> among(const haplotype_mask& mask) {
        for (int h = 0; h < static_cast<int>(H.size()); h += 2)
            if (h / 2 != ind && mask[h]) offer_pair(h);
        std::vector<int> found;
        for (; !heap.empty(); pop()) found.push_back(heap.front().idx);
        return found;
    }

  private:
    int distance(int h, int target, int limit) const {
        const int start = first >> 3;
        return bit_kernels::plain::bounded_distance(H[h].data.data() + start,
                                                    H[2 * ind + target].data.data() + start,
                                                    (last >> 3) - start + 1, limit);
    }
    void offer_pair(int h) {
        const int limit = static_cast<int>(heap.size()) >= K ? heap.front().dist : DISTANCE_BEYOND_LIMIT;
        int to[2][2], nearest[2];
        for (int c = 0; c < 2; ++c) {
            for (int t = 0; t < 2; ++t) to[c][t] = distance(h + c, t, limit);
            nearest[c] = std::min(to[c][0], to[c][1]);
        }
        bool take[2] = {nearest[0] < limit, nearest[1] < limit};
        if (take[0] && take[1] && (to[0][1] < to[0][0]) != (to[1][1] < to[1][0])) {
            const auto chance = chances_of_pair(H[h], H[h + 1], H[2 * ind], H[2 * ind + 1], first, last);
            for (int c = 0; c < 2; ++c) take[c] = chance[c] > random.draw();
        }
        for (int c = 0; c < 2; ++c)
            if (take[c]) {
                heap.push_back({h + c, nearest[c]});
                std::push_heap(heap.begin(), heap.end());
            }
        while (static_cast<int>(heap.size()) > K) pop();
    }
    void pop() {
        std::pop_heap(heap.begin(), heap.end());
        heap.pop_back();
    }

    const std::vector<chaplotype>& H;
    int ind, first, last;
    random_source& random;
    std::vector<haplotype_distance> heap;
};

/// Selects for one individual after another, as a run does.
struct subject {
    subject(int individuals, double density)
        : data(individuals, 2.2, density),
          range{data.first_locus(), data.last_locus(), 0, 0},
          selection(data.haplotypes.vecH, tiles, individuals, K) {
        tiles.copy(data.haplotypes.vecH);
        // The clusters of a tree contain near relatives; marking every fourth individual gives a similar
        // list.
        mask.resize(data.haplotypes.vecH.size());
        for (std::size_t h = 0; h < mask.size(); ++h) mask[h] = h / 2 % 4 == 3;
    }
    int next() { return ind = (ind + 4) % static_cast<int>(data.haplotypes.vecG.size()); }

    bench::cohort data;
    segment_range range;
    haplotype_tiles tiles;
    hamming_selection selection;
    std::optional<random_source> random{1};
    haplotype_mask mask;
    haplotype_mask all = haplotype_mask(data.haplotypes.vecH.size(), 1);
    candidate_list list;
    std::vector<int> idx;
    int ind = 0;
};

std::list<subject> subjects;

void compare(int individuals, double density) {
    subject& s = subjects.emplace_back(individuals, density);
    const std::string size =
        std::to_string(individuals) + " individuals/" + std::to_string(static_cast<int>(density)) + " a Mb";
    for (const bool masked : {false, true}) {
        const haplotype_mask& mask = masked ? s.mask : s.all;
        const auto plainly = [&s, &mask] {
            return plain_selection(s.data.haplotypes, s.next(), s.range.first_locus, s.range.last_locus,
                                   *s.random)
                .among(mask);
        };
        const auto program = [&s, masked] {
            if (masked)
                s.selection.measure(s.next(), s.range, s.mask, 0, s.list);
            else
                s.selection.measure(s.next(), s.range, s.list);
            s.selection.draw(*s.random, s.list);
            s.selection.choose(s.list, s.idx);
        };
        for (int trial = 0; trial < 20; ++trial) {
            const int before = s.ind;
            s.random.emplace(trial);
            const std::vector<int> expected = plainly();
            s.ind = before;
            s.random.emplace(trial);
            program();
            bench::expect(s.idx == expected, "selection");
        }
        const double items = 2.0 * individuals / (masked ? 4 : 1);
        bench::comparison((masked ? "masked scan/" : "quadratic scan/") + size, items, [plainly] {
            benchmark::DoNotOptimize(plainly().data());
        }).way("program", program);
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const int individuals : {200, 1000, 5000}) compare(individuals, 250);
    for (const int individuals : {200, 1000}) compare(individuals, 2000);
    return bench::run(argc, argv);
}
