/// @file
/// Inputs that an operation goes through in turn, for ever.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace bench {

template <class T>
class Cycle {
public:
    /// Every input in its order; their number is a power of two.
    explicit Cycle(std::vector<T> _items) : items(std::move(_items)), order(items.size()) {
        for (size_t i = 0; i != order.size(); ++i) {
            order[i] = static_cast<uint8_t>(i);
        }
    }

    /// In an order that is far too long for a branch predictor to learn.
    static Cycle shuffled(std::vector<T> items) {
        Cycle cycle(std::move(items));
        std::minstd_rand random;  // NOLINT(cert-msc*): every run goes through the same order
        std::uniform_int_distribution<size_t> choice(0, cycle.items.size() - 1);
        cycle.order.resize(size_t{1} << 16);
        for (uint8_t& index : cycle.order) {
            index = static_cast<uint8_t>(choice(random));
        }
        return cycle;
    }

    const T& next() { return items[order[position++ & (order.size() - 1)]]; }
    const std::vector<T>& all() const { return items; }

    /// The same order over what `convert` makes of every input.
    template <class Convert>
    auto map(Convert convert) const {
        std::vector<decltype(convert(items.front()))> converted;
        for (const T& item : items) {
            converted.push_back(convert(item));
        }
        return Cycle<typename decltype(converted)::value_type>(std::move(converted), order);
    }

    Cycle(std::vector<T> _items, std::vector<uint8_t> _order)
        : items(std::move(_items)), order(std::move(_order)) {}

private:
    std::vector<T> items;
    std::vector<uint8_t> order;
    size_t position = 0;
};

}  // namespace bench
