// find_points_in_polygon: any outline and points, against the rule for one edge after the other.
#include "support/selection_call.hpp"

using namespace fuzz;

namespace {

// A rough circle, so that many vertices have points inside.
void add_star(seeded& random, int vertices, std::vector<double>& x, std::vector<double>& y) {
    const bool on_lattice = random.below(2) == 0;
    for (int i = 0; i < vertices; ++i) {
        const double angle = 6.283185307179586 * i / vertices;
        const double radius = 20 + 15 * random.share();
        const double east = radius * std::cos(angle), north = radius * std::sin(angle);
        x.push_back(on_lattice ? 0.3 * std::floor(east) : east);
        y.push_back(on_lattice ? 0.3 * std::floor(north) : north);
    }
}

bool is_inside(const std::vector<double>& vx, const std::vector<double>& vy, double x, double y) {
    bool inside = false;
    for (std::size_t i = 0; i < vx.size(); ++i) {
        const std::size_t j = i + 1 < vx.size() ? i + 1 : 0;
        if (!((vy[i] < y && y <= vy[j]) || (vy[j] < y && y <= vy[i]))) continue;
        if ((x - vx[i]) - ((y - vy[i]) * (vx[j] - vx[i])) / (vy[j] - vy[i]) < 0) inside = !inside;
    }
    return inside;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const real_kind kind = input.kind();
    const std::uint8_t shape = input.byte();
    std::vector<double> x, y;
    int32_t vertices = shape % 40;
    if (shape >= 240) {
        seeded random(input.bits<std::uint32_t>());
        add_star(random, vertices = 3 + random.below(shape >= 252 ? 400 : 40), x, y);
    } else if (shape >= 236) {
        vertices = std::min(input.whole(), 0);
    } else {
        for (int32_t i = 0; i < vertices; ++i) {
            x.push_back(input.real_or_odd(kind, 64));
            y.push_back(input.real_or_odd(kind, 64));
        }
    }
    guarded<double> outline_x(x), outline_y(y);
    point_lists points(input, kind);
    check_selection(
        "find_points_in_polygon", points, another,
        [&](double px, double py) { return is_inside(x, y, px, py); },
        [&](int32_t* found, int32_t* indices, t_event* event) {
            return find_points_in_polygon(vertices, points.count, outline_x.data(),
                                          outline_y.data(), points.x.data(), points.y.data(), found,
                                          indices, event);
        });
    require_guards(outline_x, outline_y);
    require<"inputs are left alone">(outline_x.is_same_as(x) && outline_y.is_same_as(y));
    return 0;
}
