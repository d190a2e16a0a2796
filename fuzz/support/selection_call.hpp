// The points of a selection, and what a selection has to satisfy.
#pragma once

#include <cmath>
#include <string_view>
#include <vector>

#include "support/export_call.hpp"

namespace fuzz {

// Points of an input; behind them, where it asks for more, those of a seed, near the first ones.
struct point_lists {
    int32_t count;
    std::vector<double> given_x, given_y;
    guarded<double> x, y;

    point_lists(input_bytes& input, real_kind kind)
        : point_lists(input, kind, taken(input, kind)) {}

private:
    struct lists {
        int32_t count;
        std::vector<double> x, y;
    };
    point_lists(input_bytes&, real_kind, lists made)
        : count(made.count), given_x(std::move(made.x)), given_y(std::move(made.y)), x(given_x),
          y(given_y) {}

    static lists taken(input_bytes& input, real_kind kind) {
        lists made{};
        const std::uint8_t size = input.byte();
        made.count = size < 224 ? size % 32 : 0;
        if (size >= 250) made.count = std::min(input.whole(), 0);
        for (int32_t i = 0; i < made.count; ++i) {
            made.x.push_back(input.real_or_odd(kind, 64));
            made.y.push_back(input.real_or_odd(kind, 64));
        }
        if (size < 224 || size >= 250) return made;
        seeded random(input.bits<std::uint32_t>()); // more than one block of the search
        made.count = 1 + random.below(size == 240 ? 1500 : 60);
        const int across = 1 + random.below(60);
        const int way = random.below(4);
        for (int32_t i = 0; i < made.count; ++i) {
            const double a = way == 0 ? i % across : 80 * random.share();
            const double b = way == 0 ? i / across : way == 1 ? std::floor(a) : 80 * random.share();
            made.x.push_back(0.3 * (way == 2 ? std::floor(a) : a) - 12);
            made.y.push_back(0.3 * (way == 2 ? std::floor(b) : b) - 12);
        }
        for (int odd = size % 4; odd > 0; --odd)
            made.x[static_cast<std::size_t>(random.below(made.count))] = input.real(real_kind::odd);
        return made;
    }
};

template <class Inside, class Call>
void check_selection(std::string_view routine, point_lists& points, std::uint8_t another,
                     Inside is_inside, Call call) {
    const std::size_t size = points.given_x.size();
    guarded<int32_t> indices(size), indices_again(size), found(1), found_again(1);
    call_event<false> event, event_again;
    const int32_t status = call(found.data(), indices.data(), event.record());
    event.settle(status, routine);
    require_guards(points.x, points.y, indices, found);
    require<"inputs are left alone">(points.x.is_same_as(points.given_x) &&
                                     points.y.is_same_as(points.given_y));

    std::vector<int32_t> plain;
    for (std::size_t i = 0; i < size; ++i)
        if (is_inside(points.given_x[i], points.given_y[i]))
            plain.push_back(static_cast<int32_t>(i));
    require<"as many points are selected as satisfy the plain predicate">(
        found[0] == static_cast<int32_t>(plain.size()));
    plain.resize(size, 0); // entries past them are 0
    require<"the selection is that of the plain predicate, ascending">(indices.is_same_as(plain));

    if (!is_repeated(another)) return;
    call_another(another);
    const int32_t status_again =
        call(found_again.data(), indices_again.data(), event_again.record());
    require<"two calls agree bit for bit">(status == status_again && found[0] == found_again[0] &&
                                           indices.is_same_as(indices_again));
}

} // namespace fuzz
