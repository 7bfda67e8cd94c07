#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

#include "utils/assertion.h"

/// A list of at most `N` items, stored in the object itself and not on the heap.
template <class Item, std::size_t N>
class fixed_list {
  public:
    fixed_list() = default;
    fixed_list(std::initializer_list<Item> list) {
        for (const Item& item : list) push_back(item);
    }

    void push_back(const Item& item) {
        TOLVANE_ASSERT(n < N, "n < N");
        items[n++] = item;
    }
    std::size_t size() const { return n; }
    const Item& operator[](std::size_t i) const { return items[i]; }
    const Item* begin() const { return items.data(); }
    const Item* end() const { return items.data() + n; }

  private:
    std::array<Item, N> items{};
    std::size_t n = 0;
};
