#include "tools/local_tree.h"

#include <bit>
#include <limits>

namespace simulation {

double Demography::after(double time, double units) const {
    std::size_t epoch = 0;
    const auto end = [&] {
        return epoch + 1 < epochs_.size() ? epochs_[epoch + 1].start * one_generation
                                          : std::numeric_limits<double>::infinity();
    };
    while (end() <= time) ++epoch;
    while (true) {
        const double time_per_unit = 2 * epochs_[epoch].individuals * one_generation;
        const double reached = time + units * time_per_unit;
        if (reached <= end()) return reached;
        units -= (end() - time) / time_per_unit;
        time = end();
        ++epoch;
    }
}

Demography expanding_population() {
    return Demography({{0, 300'000},
                       {20, 150'000},
                       {50, 50'000},
                       {100, 20'000},
                       {200, 10'000},
                       {500, 4'500},
                       {1'200, 12'000}});
}

void LocalTree::BranchLengths::set(int node, Time length) {
    const Time change = length - lengths_[node];
    lengths_[node] = length;
    total_ += change;
    for (std::size_t i = node + 1; i < sums_.size(); i += i & (~i + 1)) sums_[i] += change;
}

std::pair<int, Time> LocalTree::BranchLengths::find(Time along) const {
    std::size_t before = 0;
    for (std::size_t step = std::bit_floor(sums_.size() - 1); step > 0; step /= 2) {
        if (before + step < sums_.size() && sums_[before + step] <= along) {
            before += step;
            along -= sums_[before];
        }
    }
    return {static_cast<int>(before), along};
}

LocalTree::LocalTree(int leaves, const Demography& demography, RandomSource& random)
    : demography_(demography), nodes_(2 * leaves - 1), lengths_(nodes_.size()) {
    std::vector<int> lineages(leaves);
    for (int leaf = 0; leaf < leaves; ++leaf) lineages[leaf] = leaf;
    const auto take_any = [&] {
        std::swap(lineages[random.below(lineages.size())], lineages.back());
        const int taken = lineages.back();
        lineages.pop_back();
        return taken;
    };
    double time = 0;
    for (int ancestor = leaves; ancestor < static_cast<int>(nodes_.size()); ++ancestor) {
        const double count = static_cast<double>(lineages.size());
        time = demography.after(time, random.exponential() * 2 / (count * (count - 1)));
        const int first = take_any();
        const int second = take_any();
        nodes_[ancestor] = {static_cast<Time>(time), none, {first, second}};
        nodes_[first].parent = nodes_[second].parent = ancestor;
        refresh_length(first);
        refresh_length(second);
        lineages.push_back(ancestor);
    }
    root_ = lineages.front();
}

double LocalTree::total_length() const {
    return static_cast<double>(lengths_.total()) / one_generation;
}

void LocalTree::recombine(RandomSource& random) {
    const Point cut = random_point(random);
    const Point join = random_join(cut.time, random);
    if (join.node != cut.node) move_branch(cut.node, join);
}

void LocalTree::mutate(RandomSource& random, std::vector<int>& carriers) const {
    carriers.assign(1, random_point(random).node);
    for (std::size_t i = 0; i < carriers.size();) {
        const auto [left, right] = nodes_[carriers[i]].children;
        if (left == none) {
            ++i;
        } else {
            carriers[i] = left;
            carriers.push_back(right);
        }
    }
}

LocalTree::Point LocalTree::random_point(RandomSource& random) const {
    const auto [node, height] = lengths_.find(static_cast<Time>(random.below(lengths_.total())));
    return {node, nodes_[node].time + height};
}

// A lineage that starts at time `from` coalesces with each lineage of the tree at rate 1 of coalescent time.
// Events are proposed for all branches of a superset of the lineages above `from`, and the first proposal
// whose branch exists at its time is accepted. So the number of lineages over time need not be tracked.
LocalTree::Point LocalTree::random_join(Time from, RandomSource& random) {
    const bool few = gather_lineages_above(from);
    const std::size_t count = few ? lineages_.size() : nodes_.size();
    double time = static_cast<double>(from);
    while (true) {
        time = demography_.after(time, random.exponential() / static_cast<double>(count));
        const std::size_t pick = random.below(count);
        const int node = few ? lineages_[pick] : static_cast<int>(pick);
        if (spans(node, time)) return {node, static_cast<Time>(time)};
    }
}

// Lists the branches that reach above a time, from the root down. Gives up if there are many: then a branch
// drawn from all branches is likely enough to be one of them.
bool LocalTree::gather_lineages_above(Time time) {
    lineages_.assign(1, root_);
    for (std::size_t i = 0; i < lineages_.size(); ++i) {
        const Node& node = nodes_[lineages_[i]];
        if (node.time <= time) continue;
        lineages_.insert(lineages_.end(), node.children.begin(), node.children.end());
        if (lineages_.size() * lineages_.size() > 4 * nodes_.size()) return false;
    }
    return true;
}

bool LocalTree::spans(int node, double time) const {
    const int parent = nodes_[node].parent;
    return static_cast<double>(nodes_[node].time) <= time &&
           (parent == none || time < static_cast<double>(nodes_[parent].time));
}

// Removes the ancestor above `node`, and inserts it again where the branch joins.
void LocalTree::move_branch(int node, Point join) {
    const int ancestor = nodes_[node].parent;
    const auto [left, right] = nodes_[ancestor].children;
    const int sibling = left == node ? right : left;
    replace_child(nodes_[ancestor].parent, ancestor, sibling);
    refresh_length(sibling);

    const int below = join.node == ancestor ? sibling : join.node;
    replace_child(nodes_[below].parent, below, ancestor);
    nodes_[ancestor].time = join.time;
    nodes_[ancestor].children = {node, below};
    nodes_[below].parent = ancestor;
    for (const int changed : {node, below, ancestor}) refresh_length(changed);
}

void LocalTree::replace_child(int parent, int old_child, int new_child) {
    nodes_[new_child].parent = parent;
    if (parent == none) {
        root_ = new_child;
    } else {
        auto& children = nodes_[parent].children;
        children[children[0] == old_child ? 0 : 1] = new_child;
    }
}

void LocalTree::refresh_length(int node) {
    const int parent = nodes_[node].parent;
    lengths_.set(node, parent == none ? 0 : nodes_[parent].time - nodes_[node].time);
}

}  // namespace simulation
