#include "modules/clusterer.h"

#include <chrono>

#include "utils/lfile.h"
#include "utils/sutils.h"

namespace {

constexpr const char* PROGRESS = "Clustering in window";

}  // namespace

clusterer::clusterer() : stage(1, PROGRESS) {}

clusterer::clusterer(const genhap_set* set, float size1, float size2, int states, double bp, int n_thread)
    : stage(n_thread, PROGRESS), GH(set), c1(size1), c2(size2), n_states(states), window_size(bp) {}

void clusterer::cluster() {
    if (GH == nullptr) LOG.error("clusterer module improperly initialised ptr == NULL!");
    LOG.println("Partition of the map into windows");
    const int n_windows = GH->snps->rpartition(window_size, boundaries);
    LOG.println("Building " + std::to_string(boundaries.size()) + " haplotypeCluster objects");
    if (n_windows > static_cast<int>(clusters.size())) clusters.resize(n_windows, haplotypeCluster(GH));
    run_pass(
        "Clustering in window ... ", n_windows, [this](int w) { cluster(w); }, clusterer_callback, this);
}

void clusterer::cluster(int w) {
    const auto start = std::chrono::steady_clock::now();
    clusters[w].build(boundaries[w], boundaries[w + 1], c1, c2, n_states);
    const auto spent = std::chrono::steady_clock::now() - start;
    time_total.fetch_add(std::chrono::duration_cast<std::chrono::seconds>(spent).count(),
                         std::memory_order_relaxed);
}

void* clusterer_callback(void* pass) {
    static_cast<clusterer*>(pass)->take_items();
    return nullptr;
}
