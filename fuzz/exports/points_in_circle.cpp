// find_points_in_circle: any points, centre and radius, against the plain predicate.
#include "support/selection_call.hpp"

using namespace fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const real_kind kind = input.kind();
    const double radius = input.real(input.one_in(4) ? real_kind::odd : kind);
    const guarded<double> center({input.real_or_odd(kind, 16), input.real_or_odd(kind, 16)});
    point_lists points(input, kind);
    const auto is_inside = [&](double x, double y) {
        const double dx = x - center[0], dy = y - center[1];
        return dx * dx + dy * dy <= radius * radius;
    };
    check_selection("find_points_in_circle", points, another, is_inside,
                    [&](int32_t* found, int32_t* indices, t_event* event) {
                        return find_points_in_circle(points.count, radius, center.data(),
                                                     points.x.data(), points.y.data(), found,
                                                     indices, event);
                    });
    return 0;
}
