#include "spare/graph_queries.h"

namespace spare {

namespace {

bool same_pair(int a0, int a1, int b0, int b1) {
    return (a0 == b0 && a1 == b1) || (a0 == b1 && a1 == b0);
}

}  // namespace

bool equalP(const genotype_graph& graph, unsigned a, unsigned b) {
    const auto& nodes = graph.trans_nodes;
    return same_pair(nodes[a] & 15, nodes[a + 1] & 15, nodes[b] & 15, nodes[b + 1] & 15);
}

bool equalN(const genotype_graph& graph, unsigned a, unsigned b) {
    const auto& nodes = graph.trans_nodes;
    return same_pair(nodes[a] >> 4, nodes[a + 1] >> 4, nodes[b] >> 4, nodes[b + 1] >> 4);
}

int getB(const genotype_graph& graph, int l) {
    int end = 0;
    for (int s = 0; s < graph.n_segments(); ++s) {
        end += static_cast<int>(graph.seg_length[s]);
        if (l < end) return s;
    }
    return -1;
}

}  // namespace spare
