#pragma once

#include <bit>
#include <cstddef>
#include <span>
#include <utility>

/// Sorting in which the order of equal entries is part of the rules. The standard leaves it to each library,
/// and the result of a run depends on it.
///
/// The rules are those of introspective sorting (Musser 1997, Software: Practice and Experience 27:983), with
/// the choices that the GNU C++ library makes: the pivot is the median of the second, the middle and the last
/// entry, ranges of up to 16 entries are left to one insertion sort at the end, and a range that is halved
/// too often is sorted as a heap. On any library the result is that of std::sort there.
namespace fixed_sort {

constexpr std::size_t SHORT_RANGE = 16;

/// Moves the median of three entries to the front; of equal ones, the order of the tests decides.
template <class Entry, class Less>
void move_median_to_front(std::span<Entry> all, std::size_t a, std::size_t b, std::size_t c,
                          const Less& less) {
    const auto median = [&] {
        if (less(all[a], all[b])) return less(all[b], all[c]) ? b : less(all[a], all[c]) ? c : a;
        return less(all[a], all[c]) ? a : less(all[b], all[c]) ? c : b;
    }();
    std::swap(all[0], all[median]);
}

/// Parts the entries behind the first one, the pivot. Returns where the second part begins.
template <class Entry, class Less>
std::size_t part(std::span<Entry> all, const Less& less) {
    std::size_t low = 1, high = all.size();
    for (;;) {
        while (less(all[low], all[0])) ++low;
        --high;
        while (less(all[0], all[high])) --high;
        if (low >= high) return low;
        std::swap(all[low], all[high]);
        ++low;
    }
}

/// Places an entry in the first `n` entries, which are a heap but for the place `hole` and those below it.
template <class Entry, class Less>
void sift(std::span<Entry> all, std::size_t hole, std::size_t n, Entry entry, const Less& less) {
    const std::size_t top = hole;
    // Down to a leaf along the larger children, the right one of two equal ones.
    for (std::size_t child = 2 * hole + 2; child <= n; child = 2 * hole + 2) {
        if (child == n || less(all[child], all[child - 1])) --child;
        all[hole] = std::move(all[child]);
        hole = child;
    }
    // Then up again to where it belongs.
    while (hole > top && less(all[(hole - 1) / 2], entry)) {
        all[hole] = std::move(all[(hole - 1) / 2]);
        hole = (hole - 1) / 2;
    }
    all[hole] = std::move(entry);
}

template <class Entry, class Less>
void sort_as_heap(std::span<Entry> all, const Less& less) {
    for (std::size_t parent = all.size() / 2; parent-- > 0;)
        sift(all, parent, all.size(), Entry(all[parent]), less);
    for (std::size_t last = all.size() - 1; last > 0; --last) {
        Entry entry = std::move(all[last]);
        all[last] = std::move(all[0]);
        sift(all, 0, last, std::move(entry), less);
    }
}

/// Sorts so far that each entry is at most SHORT_RANGE places from its own. At most `n_halvings` in a row.
template <class Entry, class Less>
void sort_roughly(std::span<Entry> all, int n_halvings, const Less& less) {
    for (; all.size() > SHORT_RANGE; --n_halvings) {
        if (n_halvings == 0) {
            sort_as_heap(all, less);
            return;
        }
        move_median_to_front(all, 1, all.size() / 2, all.size() - 1, less);
        const std::size_t second = part(all, less);
        sort_roughly(all.subspan(second), n_halvings - 1, less);
        all = all.first(second);
    }
}

template <class Entry, class Less>
void sort_by_insertion(std::span<Entry> all, const Less& less) {
    for (std::size_t i = 1; i < all.size(); ++i) {
        Entry entry = std::move(all[i]);
        std::size_t place = i;
        for (; place > 0 && less(entry, all[place - 1]); --place) all[place] = std::move(all[place - 1]);
        all[place] = std::move(entry);
    }
}

/// Sorts ascending by `less`, a strict weak order.
template <class Entry, class Less>
void sort(std::span<Entry> all, const Less& less) {
    if (all.empty()) return;
    sort_roughly(all, 2 * static_cast<int>(std::bit_width(all.size())) - 2, less);
    sort_by_insertion(all, less);
}

}  // namespace fixed_sort
