// Four f32 and as many f64 in plain arrays, for compilers without vector types. lanes.hpp includes this
// within its own namespace and says what the operations mean.

constexpr i64 width = 4;
template <class Number> struct array_of_lanes {
    Number lane[4];
    Number operator[](i64 t) const { return lane[t]; }
};
using reals = array_of_lanes<f32>;
using flags = array_of_lanes<std::int32_t>; // all ones or all zeros in each lane
struct wide_reals {
    f64 lane[4];
};

template <class Operation>
inline reals of_each(const reals& a, const reals& b, Operation operation) {
    return {{operation(a[0], b[0]), operation(a[1], b[1]), operation(a[2], b[2]),
             operation(a[3], b[3])}};
}
template <class Test> inline flags where(const reals& a, const reals& b, Test test) {
    return {{-std::int32_t{test(a[0], b[0])}, -std::int32_t{test(a[1], b[1])},
             -std::int32_t{test(a[2], b[2])}, -std::int32_t{test(a[3], b[3])}}};
}
inline reals operator+(const reals& a, const reals& b) {
    return of_each(a, b, [](f32 x, f32 y) { return x + y; });
}
inline reals operator-(const reals& a, const reals& b) {
    return of_each(a, b, [](f32 x, f32 y) { return x - y; });
}
inline reals operator*(const reals& a, const reals& b) {
    return of_each(a, b, [](f32 x, f32 y) { return x * y; });
}
inline reals operator/(const reals& a, const reals& b) {
    return of_each(a, b, [](f32 x, f32 y) { return x / y; });
}
inline reals all(f32 value) {
    return {{value, value, value, value}};
}
inline reals load(const f32* from) {
    return {{from[0], from[1], from[2], from[3]}};
}
inline void store(f32* to, const reals& a) {
    std::memcpy(to, a.lane, sizeof a.lane);
}
inline reals backwards(const reals& a) {
    return {{a[3], a[2], a[1], a[0]}};
}
inline reals root(const reals& a) {
    return {{std::sqrt(a[0]), std::sqrt(a[1]), std::sqrt(a[2]), std::sqrt(a[3])}};
}
inline flags below(const reals& a, const reals& b) {
    return where(a, b, [](f32 x, f32 y) { return x < y; });
}
inline flags at_most(const reals& a, const reals& b) {
    return where(a, b, [](f32 x, f32 y) { return x <= y; });
}
inline flags equal(const reals& a, const reals& b) {
    return where(a, b, [](f32 x, f32 y) { return x == y; });
}
inline flags greater(const i32* a, const i32* b) {
    const auto flag = [&](i64 t) { return -std::int32_t{a[t] > b[t]}; };
    return {{flag(0), flag(1), flag(2), flag(3)}};
}
inline flags is_number(const reals& a) {
    return equal(a, a);
}
inline flags both(const flags& a, const flags& b) {
    return {{a[0] & b[0], a[1] & b[1], a[2] & b[2], a[3] & b[3]}};
}
inline flags either(const flags& a, const flags& b) {
    return {{a[0] | b[0], a[1] | b[1], a[2] | b[2], a[3] | b[3]}};
}
inline flags without(const flags& a, const flags& b) {
    return {{a[0] & ~b[0], a[1] & ~b[1], a[2] & ~b[2], a[3] & ~b[3]}};
}
inline reals choose(const flags& a, const reals& yes, const reals& no) {
    return {{a[0] ? yes[0] : no[0], a[1] ? yes[1] : no[1], a[2] ? yes[2] : no[2],
             a[3] ? yes[3] : no[3]}};
}
inline reals magnitude(const reals& a) {
    return {{std::fabs(a[0]), std::fabs(a[1]), std::fabs(a[2]), std::fabs(a[3])}};
}
inline unsigned bits_of(const flags& a) {
    return static_cast<unsigned>((a[0] & 1) | (a[1] & 2) | (a[2] & 4) | (a[3] & 8));
}
inline flags flags_of(unsigned bits) {
    const auto flag = [&](unsigned bit) { return -static_cast<std::int32_t>(bits >> bit & 1U); };
    return {{flag(0), flag(1), flag(2), flag(3)}};
}
inline void store_packed(f32* to, unsigned bits, const reals& lanes) {
    for (i64 t = 0; t < width; ++t) {
        *to = lanes[t];
        to += bits >> t & 1U;
    }
}
inline wide_reals widen(const flags& a, const f32* from) {
    const reals flagged = choose(a, load(from), all(0));
    return {{flagged[0], flagged[1], flagged[2], flagged[3]}};
}
inline wide_reals load_wide(const f64* from) {
    return {{from[0], from[1], from[2], from[3]}};
}
inline void store_wide(f64* to, const wide_reals& a) {
    std::memcpy(to, a.lane, sizeof a.lane);
}
inline wide_reals operator+(const wide_reals& a, const wide_reals& b) {
    return {{a.lane[0] + b.lane[0], a.lane[1] + b.lane[1], a.lane[2] + b.lane[2],
             a.lane[3] + b.lane[3]}};
}
inline void add_halves(f64* sums, const wide_reals& a) {
    sums[0] += a.lane[0] + a.lane[2];
    sums[1] += a.lane[1] + a.lane[3];
}
inline void add_rounded(f64* sums, f64 power, const wide_reals& a) {
    const auto rounded = [&](i64 t) { return (a.lane[t] + power) - power; };
    sums[0] += rounded(0) + rounded(2);
    sums[1] += rounded(1) + rounded(3);
}
inline void store_pairs(f64* to, const reals& a, const reals& b) {
    for (i64 t = 0; t < width; ++t) {
        to[2 * t] = a[t];
        to[2 * t + 1] = b[t];
    }
}
