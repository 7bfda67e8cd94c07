#include "objects/genotype_graph.h"

#include <ostream>

#include "utils/assertion.h"

genotype_graph::genotype_graph(const std::string& individual) : name(individual) {}

segment_range genotype_graph::getClosestBoundaries(int from, int to) const {
    segment_range range{-1, n_loci() - 1, -1, n_segments() - 1};
    int start = 0;
    bool is_last_known = false;
    for (int s = 0; s < n_segments() && (range.first_segment < 0 || !is_last_known); ++s) {
        const int end = start + static_cast<int>(seg_length[s]);
        if (from >= start && from < end) {
            range.first_locus = start;
            range.first_segment = s;
        }
        if (to >= start && to < end) {
            range.last_locus = end - 1;
            range.last_segment = s;
            is_last_known = true;
        }
        start = end;
    }
    TOLVANE_ASSERT(range.first_segment >= 0 && range.last_segment >= 0, "fb >= 0 && tb >= 0");
    return range;
}

std::vector<segment_range> genotype_graph::ranges(const std::vector<int>& borders) const {
    std::vector<segment_range> windows;
    segment_range range{};
    int segment = 0, start = 0;
    for (std::size_t i = 0; i < borders.size(); ++i) {
        for (; borders[i] >= start + static_cast<int>(seg_length[segment]); ++segment)
            start += static_cast<int>(seg_length[segment]);
        range.last_segment = segment;
        range.last_locus = start + static_cast<int>(seg_length[segment]) - 1;
        if (i > 0) windows.push_back(range);
        range.first_segment = segment;
        range.first_locus = start;
    }
    return windows;
}

template <class Linked>
int genotype_graph::best_linked(int g, Linked is_linked) const {
    int best = -1;
    double best_store = -1.0;
    for (unsigned u = trans_offset[g]; u < trans_offset[g] + trans_count[g]; ++u)
        if (is_linked(u) && trans_store[u] > best_store) {
            best_store = trans_store[u];
            best = static_cast<int>(u);
        }
    return best;
}

int genotype_graph::maxN(int g, int t) const {
    return best_linked(g, [&](unsigned u) { return linked(t, 2 * u); });
}

int genotype_graph::maxP(int g, int t) const {
    return best_linked(g, [&](unsigned u) { return linked(2 * u, t); });
}

void genotype_graph::store() {
    for (int g = 0; g < n_groups(); ++g) {
        const unsigned first = trans_offset[g], end = first + trans_count[g];
        double sum = 0.0;
        for (unsigned t = first; t < end; ++t) sum += trans_prob[t];
        for (unsigned t = first; t < end; ++t)
            trans_store[t] = static_cast<float>(trans_store[t] + trans_prob[t] / sum);
    }
}

void genotype_graph::normalize() {
    for (int g = 0; g < n_groups(); ++g) {
        const unsigned first = trans_offset[g], end = first + trans_count[g];
        double sum = 0.0;
        for (unsigned t = first; t < end; ++t) sum += trans_store[t];
        for (unsigned t = first; t < end; ++t) trans_store[t] = static_cast<float>(trans_store[t] / sum);
    }
}

void genotype_graph::print_state(std::ostream& out) const {
    out << name << ": " << n_segments() << " segments, " << n_loci() << " loci\n";
    for (int g = 0; g < n_groups(); ++g) {
        for (unsigned t = trans_offset[g]; t < trans_offset[g] + trans_count[g]; ++t)
            out << "group " << g << ": " << (trans_nodes[2 * t] & 15) << ">" << (trans_nodes[2 * t] >> 4)
                << " " << (trans_nodes[2 * t + 1] & 15) << ">" << (trans_nodes[2 * t + 1] >> 4) << " prob "
                << trans_prob[t] << " store " << trans_store[t] << "\n";
        if (g == n_segments()) break;
        for (unsigned c = 0; c < seg_count[g]; ++c) {
            out << "segment " << g << ", candidate " << c << ": ";
            for (unsigned i = 0; i < seg_length[g]; ++i)
                out << getA(g, static_cast<int>(c), static_cast<int>(i));
            out << "\n";
        }
    }
}
