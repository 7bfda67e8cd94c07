#include "objects/haplotypeCluster.h"

#include <algorithm>
#include <iostream>

#include "containers/genhap_set.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/putils.h"

haplotypeCluster::haplotypeCluster(const genhap_set* set) : GH(set) {}

void haplotypeCluster::build(int a, int b, float size1, float size2, int K) {
    c1 = size1;
    c2 = size2;
    min_size = K;
    thin_offset = static_cast<int>(c2);
    ncond = cond_size = std::max(K, static_cast<int>(c1));
    start = a;
    stop = b;
    start8 = (a / 8) * 8;
    stop8 = (b / 8) * 8;
    span = stop8 - start8;
    nhap = static_cast<int>(GH->vecH.size());
    assign.assign(nhap, 0);
    TOLVANE_ASSERT(a < b, "a<b");
    if (cond_size >= nhap)
        LOG.error(
            "2*nsamples < cluster_size (c1).\n"
            "Note we suggest only using --fast when sample size > 10,000");
    bifurc_kmeans();
    for (const auto& [number, members] : clusters)
        if (static_cast<int>(members.size()) < cond_size) topupClusters_random(cond_size);
}

int haplotypeCluster::mask(int curr_ind, haplotype_mask& out) const {
    const int t0 = 2 * curr_ind, t1 = t0 + 1;
    TOLVANE_ASSERT(curr_ind < nhap / 2, "curr_ind<nhap/2");
    if (nhap <= cond_size) {
        out.assign(nhap, 1);
        out[t0] = out[t1] = 0;
        return 0;
    }
    out.assign(nhap, 0);
    int count = 0;
    const auto members_of = [this](int h) -> const std::vector<int>& {
        static const std::vector<int> none;
        const auto found = clusters.find(assign[h]);
        return found == clusters.end() ? none : found->second;
    };
    for (const int target : {t0, t1})
        for (const int h : members_of(target)) {
            count += 1 - out[h];
            out[h] = 1;
        }
    // Random haplotypes come on top of the clusters, whatever their sizes, as long as any is left.
    for (int added = 0; added < min_size && count + added < nhap; ++added) {
        int h = putils::getRandom(nhap);
        while (out[h] != 0) h = putils::getRandom(nhap);
        out[h] = 1;
    }
    // The two own haplotypes are taken off the count even where a closed branch doesn't list them.
    out[t0] = out[t1] = 0;
    if (count - 2 < min_size) {
        std::cout << "COUNT = " << count - 2 << "\n"
                  << members_of(t0).size() << "\n"
                  << members_of(t1).size() << std::endl;
        TOLVANE_ASSERT(count >= ncond, "count>=ncond");
    }
    return 0;
}

int haplotypeCluster::topupClusters_random(int n) {
    for (auto& [number, members] : clusters) {
        TOLVANE_ASSERT(!members.empty(), "it->second.size()>0");
        while (static_cast<int>(members.size()) < n) {
            const int h = putils::getRandom(nhap);
            if (assign[h] != number) members.push_back(h);
        }
    }
    return 0;
}

int haplotypeCluster::topupClusters_closestN(int n) {
    for (auto& [number, members] : clusters) {
        TOLVANE_ASSERT(!members.empty(), "it->second.size()>0");
        const int lacking = n - static_cast<int>(members.size());
        if (lacking <= 0) continue;
        branch.clear();
        for (int h = 0; h < nhap; ++h)
            if (assign[h] != number) branch.push_back(h);
        updateMean(number);
        wipedlook();
        closestN(lacking, 0, closest);
        for (const auto& [h, distance] : closest) members.push_back(h);
    }
    return 0;
}

int haplotypeCluster::setAF() {
    af.assign(span, 0.0F);
    for (int h = 0; h < nhap; ++h)
        for (int l = 0; l < span; ++l) af[l] += static_cast<float>(GH->vecH[h].get(start8 + l));
    for (float& frequency : af) frequency /= static_cast<float>(nhap);
    return 0;
}

std::set<int> sampleIndex(int n, int max) {
    std::set<int> drawn;
    for (int i = 0; i < n; ++i) drawn.insert(putils::getRandom(max));
    return drawn;
}

std::vector<int> set2vec(const std::set<int>& s) {
    return {s.begin(), s.end()};
}
