#include "selection/haplotypeCluster.h"

#include <iostream>

#include "utils/assertion.h"

const std::vector<int>& haplotypeCluster::members_of_cluster_with(int haplotype) const {
    static const std::vector<int> none;
    const auto found = tree.clusters.find(tree.assign[haplotype]);
    return found == tree.clusters.end() ? none : found->second;
}

int haplotypeCluster::mark_clusters(int individual, haplotype_mask& out) const {
    const int nhap = static_cast<int>(tree.assign.size());
    TOLVANE_ASSERT(individual < nhap / 2, "curr_ind<nhap/2");
    const bool is_small = nhap <= tree.cond_size;
    out.assign(nhap, is_small ? 1 : 0);
    if (is_small) return nhap;
    int count = 0;
    for (const int target : {2 * individual, 2 * individual + 1})
        for (const int h : members_of_cluster_with(target)) {
            count += 1 - out[h];
            out[h] = 1;
        }
    return count;
}

void haplotypeCluster::mark_random(int individual, int n_marked, random_source& random, haplotype_mask& out,
                                   std::vector<int>& drawn) const {
    const int nhap = static_cast<int>(tree.assign.size());
    drawn.clear();
    // Whatever the sizes of the clusters, until there are enough or none is left.
    for (int added = 0; added < tree.n_random && n_marked + added < nhap; ++added) {
        int h = random.draw_below(nhap);
        while (out[h] != 0) h = random.draw_below(nhap);
        out[h] = 1;
        drawn.push_back(h);
    }
    // The individual's own two haplotypes are subtracted even if a closed branch does not list them.
    if (nhap > tree.cond_size && n_marked - 2 < tree.n_random) {
        std::cout << "COUNT = " << n_marked - 2 << "\n"
                  << members_of_cluster_with(2 * individual).size() << "\n"
                  << members_of_cluster_with(2 * individual + 1).size() << std::endl;
        TOLVANE_REQUIRE(
            n_marked >= tree.cond_size, "count>=ncond",
            "A cluster has too few haplotypes: use a --cluster-size of at least twice --states, or "
            "none.");
    }
}
