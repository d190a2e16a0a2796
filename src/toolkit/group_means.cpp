#include "toolkit/group_means.hpp"

namespace qmx {

namespace {

i32 unit_bits_for(i64 values) {
    const auto width =
        static_cast<i32>(std::bit_width(static_cast<numeric::u64>(std::max<i64>(values, 0))));
    return std::min(62 - width, 50);
}

numeric::fixed_point_scale scale_for(f32 usual_magnitude, i32 unit_bits) {
    i32 above = 0; // four times the magnitude is below 2^above
    std::frexp(4.0 * f64{usual_magnitude}, &above);
    return numeric::fixed_point_scale(
        std::max(above - unit_bits, numeric::long_number::least_exponent));
}

} // namespace

group_sums::group_sums(i64 groups, i64 most_values, f32 usual_magnitude)
    : unit_bits_(unit_bits_for(most_values)), scale_(scale_for(usual_magnitude, unit_bits_)),
      least_bits_(scale_.pattern - (numeric::u64{1} << unit_bits_)),
      most_units_(numeric::u64{2} << unit_bits_), partial_sums_(groups * i64{turns}, partial_sum{}),
      slow_sums_(groups, slow_sum{}) {}

void group_sums::add_slowly(numeric::u64 group, f32 value) {
    slow_sum& each = slow_sums_[static_cast<i64>(group)];
    ++each.values;
    if (value != value)
        ++each.missing;
    else if (std::isinf(value))
        each.holds_infinity[value > 0.0F ? 1 : 0] = true;
    else
        each.sum.add(value);
}

group_sums::partial_sum group_sums::total(i64 group) const {
    partial_sum sum{};
    const partial_sum* const first = partial_sums_.data() + group * i64{turns};
    for (const partial_sum* each = first; each != first + turns; ++each) {
        sum.units += each->units;
        sum.values += each->values;
    }
    return sum;
}

i64 group_sums::values(i64 group) const {
    return static_cast<i64>(total(group).values) + slow_sums_[group].values;
}

f32 group_sums::mean(i64 group) const {
    const slow_sum& rest = slow_sums_[group];
    const i64 numbers = values(group) - rest.missing;
    if (numbers == 0) return 0.0F;
    constexpr f32 infinity = std::numeric_limits<f32>::infinity();
    const f32 lowest = rest.holds_infinity[0] ? -infinity : 0.0F;
    const f32 highest = rest.holds_infinity[1] ? infinity : 0.0F;
    if (lowest != highest) return lowest + highest; // NaN for both infinities

    const partial_sum common = total(group);
    const auto raised = static_cast<i64>(common.units - (common.values << unit_bits_));
    numeric::long_number sum = rest.sum;
    sum.add(raised, scale_.exponent - numeric::long_number::least_exponent);
    return static_cast<f32>(sum.over(numbers).to_odd);
}

} // namespace qmx
