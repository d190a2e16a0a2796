// Every wrapper gives the same for views with gaps, forwards and backwards, as for packed ones, and
// leaves the gaps alone.
#include "numeric/errors/error_stack.hpp"
#include "numeric/polynomial/polynomial_fit.hpp"
#include "support/expect_event.hpp"
#include "toolkit/correlation_wrappers.hpp"
#include "toolkit/sort_wrappers.hpp"
#include "toolkit/statistics_wrappers.hpp"

using namespace qmx;
using support::view;

namespace {

constexpr i64 gap = 3; // elements from one to the next

// The elements of a vector, with others between them.
template <class T> struct spaced {
    std::vector<T> held;
    i64 count;
    bool backwards;

    spaced(const std::vector<T>& from, bool is_backwards)
        : held(from.size() * gap, T(-77)), count(std::ssize(from)), backwards(is_backwards) {
        for (i64 i = 0; i < count; ++i) out()(i + 1) = from[static_cast<std::size_t>(i)];
    }
    array_view<T> out() {
        const auto step = static_cast<std::ptrdiff_t>(gap * sizeof(T));
        return backwards ? array_view<T>(held.data() + (count - 1) * gap, count, -step)
                         : array_view<T>(held.data(), count, step);
    }
    array_view<const T> in() { return out(); }
    std::vector<T> packed() {
        std::vector<T> result;
        for (i64 i = 1; i <= count; ++i) result.push_back(out()(i));
        for (i64 i = 0; i < count * gap; ++i)
            EXPECT_TRUE(i % gap == 0 || held[static_cast<std::size_t>(i)] == T(-77)) << "gap";
        return result;
    }
};

template <class T> using in_view = array_view<const T>;
template <class T> using out_view = array_view<T>;

// call(first, second, result, second result) with packed views and with spaced ones.
template <class T, class Call>
void expect_same(const char* name, const std::vector<T>& a, const std::vector<T>& b, Call call) {
    std::vector<T> packed(7, T(-1));
    std::vector<i32> places(7, -1);
    EXPECT_EQ(call(view(a), view(b), view(packed), view(places)), 1) << name;
    for (const bool backwards : {false, true}) {
        spaced<T> x(a, backwards), y(b, backwards), out(std::vector<T>(7, T(-1)), backwards);
        spaced<i32> places_out(std::vector<i32>(7, -1), backwards);
        EXPECT_EQ(call(x.in(), y.in(), out.out(), places_out.out()), 1) << name;
        EXPECT_EQ(out.packed(), packed) << name;
        EXPECT_EQ(places_out.packed(), places) << name;
    }
}

TEST(StridedViews, GiveWhatPackedOnesGive) {
    clear_event();
    using in = in_view<f32>;
    using out = out_view<f32>;
    using places = out_view<i32>;
    const std::vector<f32> x = {3, 0, 1.5F, 7, 2, 9, 4}, y = {1, 2, 4, 4.5F, 6, 8, 11};
    const std::vector<f32> shares = {0, 0.125F, 0.25F, 0.375F, 0.5F, 0.75F, 1};
    expect_same("correlation", x, y,
                [](in a, in b, out r, places) { return imsl_ccf(a, b, 3, r); });
    expect_same("quantiles", y, shares,
                [](in a, in b, out r, places) { return imsl_GCIN(b, a, b, r); });
    expect_same("statistics", x, y, [](in a, in, out r, places) { return imsl_uvsta(a, r); });
    expect_same("frequencies", x, y,
                [](in a, in b, out r, places) { return imsl_owfrq(7, a, 5, b, r); });
    expect_same("sort", x, y, [](in a, in, out r, places p) { return imsl_SVRGP(a, r, p); });
    expect_same("reversal", x, y, [](in a, in, out r, places) {
        for (i64 i = 1; i <= 7; ++i) r(i) = a(i);
        return reverse_arr_s(r);
    });
    const std::vector<i32> keys = {10, 20, 30, 25, 5, 7, 7}, sorted = {10, 20, 30, 40, 50, 60, 70};
    expect_same("whole numbers", keys, sorted,
                [](in_view<i32> a, in_view<i32> b, out_view<i32> r, places p) {
                    i32 at = 0;
                    EXPECT_EQ(imsl_isrch(55, b, at), 1);
                    EXPECT_EQ(at, -6);
                    return imsl_svigp(a, r, p);
                });
    numeric::ERSET(0, 0, 0);
    const std::vector<f64> at = {1, 2, 3, 5, 8, 9, 11}, value = {4, 1, 7, 2, 8, 8, 3};
    expect_same("polynomial fit without sums", at, value,
                [](in_view<f64> a, in_view<f64> b, out_view<f64> r, places) {
                    numeric::DRCURV(a, b, r, {}, {});
                    EXPECT_NE(r(1), -1.0);
                    return 1;
                });
    numeric::ERSET(0, 2, 2);
    EXPECT_FALSE(has_failed());
}

} // namespace
