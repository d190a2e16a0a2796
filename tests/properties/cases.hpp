// Generated cases for properties across calls: points of several kinds, orders, and comparisons bit by bit.
//
// QMX_IC_PROPERTIES=40 in the environment runs forty times as many cases.
#pragma once

#include "qmx_ic.h"
#include "support/made_lots.hpp"
#include "support/test.hpp"

#include <numeric>

namespace properties {

inline int cases(int short_form) {
    const char* const times = std::getenv("QMX_IC_PROPERTIES");
    return short_form * (times != nullptr ? std::max(std::atoi(times), 1) : 1);
}

// Where points lie. Those of a lattice are whole numbers below 2^11: sums, products and shifts of them
// are exact.
enum class kind { scattered, lattice, few_places, line, huge, tiny };
inline constexpr int kinds = 6;

class maker : public number_maker {
public:
    using number_maker::number_maker;
    double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
    double between(double least, double greatest) { return least + (greatest - least) * unit(); }
    template <class Values> void shuffle(Values& values) {
        for (std::size_t i = values.size(); i > 1; --i)
            std::swap(values[i - 1], values[static_cast<std::size_t>(bits() % i)]);
    }
    std::vector<std::size_t> order(std::size_t count) {
        std::vector<std::size_t> positions(count);
        std::iota(positions.begin(), positions.end(), std::size_t{0});
        shuffle(positions);
        return positions;
    }
};

struct place {
    double x, y;
};
using places = std::vector<place>;

inline place made_place(maker& make, kind of) {
    const double u = make.unit(), v = make.unit();
    switch (of) {
    case kind::lattice: return {std::floor(64 * u), std::floor(64 * v)};
    case kind::few_places: return {std::floor(4 * u), std::floor(4 * v) / 3};
    case kind::line: return {std::floor(100 * u), 2 * std::floor(100 * u) + (v < 0.2 ? v : 0)};
    case kind::huge: return {1e140 * (u - 0.5), 1e140 * (v - 0.5)};
    case kind::tiny: return {1e-120 * (u - 0.5), 1e-120 * (v - 0.5)};
    default: return {100 * u, 100 * v};
    }
}
inline double extent_of(kind of) {
    constexpr double extents[kinds] = {100, 64, 4, 200, 1e140, 1e-120};
    return extents[static_cast<int>(of)];
}
inline places made_places(maker& make, kind of, std::int32_t count) {
    places made;
    for (std::int32_t i = 0; i < count; ++i) made.push_back(made_place(make, of));
    return made;
}

template <class Element>
std::vector<Element> in_order(const std::vector<Element>& elements,
                              const std::vector<std::size_t>& order) {
    std::vector<Element> moved;
    for (const std::size_t position : order) moved.push_back(elements[position]);
    return moved;
}

// The outputs of a call as numbers, with a name for each stretch.
class outputs {
public:
    void add(const char* name, double value) {
        names_.push_back(name);
        values_.push_back(value);
    }
    template <std::ranges::range Values> void add(const char* name, const Values& values) {
        for (const auto value : values) add(name, static_cast<double>(value));
    }
    const std::vector<double>& values() const { return values_; }
    // The first that differs, all NaN being alike; empty where none does.
    std::string difference(const outputs& other) const {
        for (std::size_t i = 0; i < values_.size(); ++i)
            if (fnv_hash::bits(values_[i]) != fnv_hash::bits(other.values_[i]))
                return std::string(names_[i]) + " at " + std::to_string(i) + ": " +
                       shown(values_[i]) + " and " + shown(other.values_[i]);
        return {};
    }

private:
    static std::string shown(double value) {
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", value);
        return text;
    }
    std::vector<const char*> names_;
    std::vector<double> values_;
};

} // namespace properties
