// The Hamming distance against the reference implementation, which counts byte by byte, and the scan of all
// haplotypes in a window for one individual against a plain read of the same memory. An item is one byte.
#include <list>
#include <random>

#include "comparison.h"
#include "objects/bit_kernels.h"
#include "objects/bit_kernels_plain.h"
#include "objects/chaplotype.h"
#include "selection/haplotype_tiles.h"

namespace {

std::vector<chaplotype> random_haplotypes(int n, int n_bytes) {
    std::mt19937 random(7);
    std::vector<chaplotype> H(n, chaplotype(8U * n_bytes));
    for (chaplotype& h : H)
        for (unsigned char& byte : h.data) byte = static_cast<unsigned char>(random());
    return H;
}

void compare_distances(int n_bytes) {
    static std::vector<std::vector<chaplotype>> held;
    held.push_back(random_haplotypes(2, n_bytes));
    const unsigned char *a = held.back()[0].data.data(), *b = held.back()[1].data.data();
    constexpr int NO_LIMIT = DISTANCE_BEYOND_LIMIT - 1;
    const int expected = bit_kernels::plain::bounded_distance(a, b, n_bytes, NO_LIMIT);
    static int answer;
    bench::comparison distances("distance/" + std::to_string(n_bytes) + " bytes", n_bytes, [=] {
        answer = bit_kernels::plain::bounded_distance(a, b, n_bytes, NO_LIMIT);
        benchmark::DoNotOptimize(answer);
    });
    for (const bit_kernels::kernel_set* set : bit_kernels::available_kernels()) {
        bench::expect(set->distance(a, b, n_bytes) == expected, "distance");
        distances.way(set->name, [=] {
            answer = set->distance(a, b, n_bytes);
            benchmark::DoNotOptimize(answer);
        });
    }
}

/// All haplotypes of a study in one window.
void compare_scans(int n_haplotypes, int n_bytes) {
    static std::list<std::pair<std::vector<chaplotype>, haplotype_tiles>> held;
    held.emplace_back(random_haplotypes(n_haplotypes, n_bytes), haplotype_tiles());
    const chaplotype* H = held.back().first.data();
    haplotype_tiles& tiles = held.back().second;
    tiles.copy(held.back().first);
    const unsigned char *t0 = H[0].data.data(), *t1 = H[1].data.data();
    static std::vector<int> e0, e1;
    static target_distances distances;
    for (auto* e : {&e0, &e1}) e->resize(n_haplotypes);
    const auto plainly = [=] {
        for (int h = 0; h < n_haplotypes; ++h) {
            e0[h] = bit_kernels::plain::bounded_distance(H[h].data.data(), t0, n_bytes, 8 * n_bytes);
            e1[h] = bit_kernels::plain::bounded_distance(H[h].data.data(), t1, n_bytes, 8 * n_bytes);
        }
    };
    const std::string size =
        std::to_string(n_haplotypes) + " haplotypes/" + std::to_string(n_bytes) + " bytes";
    const double bytes = static_cast<double>(n_haplotypes) * n_bytes;
    bench::comparison scans("scan to two targets/" + size, bytes, plainly);
    plainly();
    for (const bit_kernels::kernel_set* set : bit_kernels::available_kernels()) {
        const auto scan = [&tiles, n_bytes, set] {
            tiles.distances(tiles.all(), 0, 1, 0, n_bytes, distances, *set);
        };
        scan();
        bench::expect(std::equal(e0.begin(), e0.begin() + n_haplotypes, distances.d0.begin()) &&
                          std::equal(e1.begin(), e1.begin() + n_haplotypes, distances.d1.begin()),
                      "scan");
        scans.way(set->name, scan);
    }
    scans.way("read alone", [=] {
        std::uint64_t sum = 0;
        for (int h = 0; h < n_haplotypes; ++h) {
            const auto* words = reinterpret_cast<const std::uint64_t*>(H[h].data.data());
            for (int i = 0; i < n_bytes / 8; ++i) sum += words[i];
        }
        benchmark::DoNotOptimize(sum);
    });
}

}  // namespace

int main(int argc, char** argv) {
    for (const int n_bytes : {8, 32, 64, 128, 512}) compare_distances(n_bytes);
    for (const int n_haplotypes : {400, 2000, 10000})
        for (const int n_bytes : {64, 512}) compare_scans(n_haplotypes, n_bytes);
    return bench::run(argc, argv);
}
