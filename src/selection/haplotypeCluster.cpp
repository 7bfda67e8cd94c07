#include "selection/haplotypeCluster.h"

#include <iostream>

#include "utils/assertion.h"

const std::vector<int>& haplotypeCluster::members_of_cluster_with(int haplotype) const {
    static const std::vector<int> none;
    const auto found = tree.clusters.find(tree.assign[haplotype]);
    return found == tree.clusters.end() ? none : found->second;
}

void haplotypeCluster::mask(int individual, random_source& random, haplotype_mask& out) const {
    const int t0 = 2 * individual, t1 = t0 + 1, nhap = static_cast<int>(tree.assign.size());
    TOLVANE_ASSERT(individual < nhap / 2, "curr_ind<nhap/2");
    if (nhap <= tree.cond_size) {
        out.assign(nhap, 1);
        out[t0] = out[t1] = 0;
        return;
    }
    out.assign(nhap, 0);
    int count = 0;
    for (const int target : {t0, t1})
        for (const int h : members_of_cluster_with(target)) {
            count += 1 - out[h];
            out[h] = 1;
        }
    // Adds random haplotypes, whatever the sizes of the clusters, until there are enough or none is left.
    for (int added = 0; added < tree.n_random && count + added < nhap; ++added) {
        int h = random.draw_below(nhap);
        while (out[h] != 0) h = random.draw_below(nhap);
        out[h] = 1;
    }
    // The individual's own two haplotypes are subtracted from the count even if a closed branch does not list
    // them.
    out[t0] = out[t1] = 0;
    if (count - 2 < tree.n_random) {
        std::cout << "COUNT = " << count - 2 << "\n"
                  << members_of_cluster_with(t0).size() << "\n"
                  << members_of_cluster_with(t1).size() << std::endl;
        TOLVANE_REQUIRE(
            count >= tree.cond_size, "count>=ncond",
            "A cluster has too few haplotypes: use a --cluster-size of at least twice --states, or "
            "none.");
    }
}
