// call_polycurvefit: any points and degree; where the points are tame, against a plain least-squares fit.
#include <cmath>
#include <set>
#include <vector>

#include "support/export_call.hpp"

using namespace fuzz;

namespace {

struct request {
    int32_t count, degree;
    std::vector<float> x, y;
    bool is_tame; // whole numbers alone: then the fit is well determined
};

request made_of(input_bytes& input) {
    request made{};
    std::uint32_t mixed = 2166136261; // of all bytes: FNV-1a
    for (std::size_t i = 0; i < input.left(); ++i) mixed = (mixed ^ input.rest()[i]) * 16777619;
    mixed ^= mixed >> 16;
    const std::uint8_t way = input.byte();
    real_kind kind_x = input.kind(), kind_y = input.kind();
    made.is_tame = way >= 128 && way < 250;
    made.count = way % 40;
    // Numbers of all magnitudes at once are fitted in long arithmetic, which takes its time: one input of 64
    // has them. Which one all bytes decide, for the children of such an input must not be slow, too.
    const bool takes_time = mixed % 64 == 0;
    const auto is_wild = [](real_kind of) {
        return of == real_kind::bits64 || of == real_kind::bits32 || of == real_kind::odd ||
               of == real_kind::raised;
    };
    if (!made.is_tame && !takes_time) {
        if (is_wild(kind_x)) kind_x = real_kind::parts;
        if (is_wild(kind_y)) kind_y = real_kind::parts;
    }
    const bool all_wild = !made.is_tame && (is_wild(kind_x) || is_wild(kind_y));
    if (!made.is_tame) made.count %= all_wild ? 6 : takes_time ? 14 : 9;
    if (way == 255) made.count = std::min(input.whole(), 0);
    made.degree = input.one_in(16) ? input.whole() : input.byte() % (takes_time ? 12 : 7) - 1;
    if (!made.is_tame && made.degree < 10)
        made.degree = std::min(made.degree, all_wild ? 3 : takes_time ? 6 : 4);
    // So are curves through all points: one input in eight may have one.
    if (!takes_time && way % 8 != 3 && made.count > 2)
        made.degree = std::min(made.degree, made.count - 2);
    for (int32_t i = 0; i < made.count; ++i) {
        made.x.push_back(made.is_tame ? static_cast<float>(input.bits<std::int8_t>() % 16)
                                      : input.narrowed(input.real_or_odd(kind_x, 255)));
        made.y.push_back(made.is_tame ? static_cast<float>(input.bits<std::int8_t>())
                                      : input.narrowed(input.real_or_odd(kind_y, 255)));
    }
    return made;
}

struct response {
    guarded<float> x{100}, y{100};
    int32_t status = 0;
    void ask(const request& of, guarded<float>& xs, guarded<float>& ys) {
        status = call_polycurvefit(of.count, of.degree, xs.data(), ys.data(), x.data(), y.data());
        require<"a call ends with success or failure">(status == QMX_IC_SUCCESS ||
                                                       status == QMX_IC_FAILURE);
        require_guards(x, y, xs, ys);
        require<"inputs are left alone">(xs.is_same_as(of.x) && ys.is_same_as(of.y));
        if (status == QMX_IC_FAILURE)
            require<"failure leaves the curve alone">(x.is_untouched() && y.is_untouched());
    }
};

// The values at the abscissas of a least-squares polynomial, by Gram-Schmidt on Legendre polynomials over
// the range.
std::vector<long double> plain_fit(const request& of, const std::vector<long double>& at) {
    const auto [low, high] = std::minmax_element(of.x.begin(), of.x.end());
    const long double middle = (*low + *high) / 2.0L, half = (*high - *low) / 2.0L;
    const auto legendre = [&](int degree, long double x) {
        const long double t = (x - middle) / half;
        long double before = 0, now = 1;
        for (int k = 0; k < degree; ++k) {
            const long double next = ((2 * k + 1) * t * now - k * before) / (k + 1);
            before = now;
            now = next;
        }
        return now;
    };
    std::vector<std::vector<long double>> at_points, at_wanted;
    std::vector<long double> left(of.y.begin(), of.y.end()), fitted(at.size(), 0.0L);
    for (int degree = 0; degree <= of.degree; ++degree) {
        std::vector<long double> own, wanted;
        for (const float x : of.x) own.push_back(legendre(degree, x));
        for (const long double x : at) wanted.push_back(legendre(degree, x));
        const auto product = [&](const std::vector<long double>& a,
                                 const std::vector<long double>& b) {
            long double sum = 0;
            for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
            return sum;
        };
        for (int round = 0; round < 2; ++round)
            for (std::size_t k = 0; k < at_points.size(); ++k) {
                const long double share =
                    product(own, at_points[k]) / product(at_points[k], at_points[k]);
                for (std::size_t i = 0; i < own.size(); ++i) own[i] -= share * at_points[k][i];
                for (std::size_t i = 0; i < wanted.size(); ++i)
                    wanted[i] -= share * at_wanted[k][i];
            }
        const long double share = product(left, own) / product(own, own);
        for (std::size_t i = 0; i < own.size(); ++i) left[i] -= share * own[i];
        for (std::size_t i = 0; i < wanted.size(); ++i) fitted[i] += share * wanted[i];
        at_points.push_back(std::move(own));
        at_wanted.push_back(std::move(wanted));
    }
    return fitted;
}

void check_tame(const request& of, const response& got) {
    const std::set<float> abscissas(of.x.begin(), of.x.end()), ordinates(of.y.begin(), of.y.end());
    if (of.count < 2 || of.degree < 1 || of.degree > 5) return;
    if (abscissas.size() == 1 || ordinates.size() == 1 ||
        static_cast<int32_t>(abscissas.size()) <= of.degree) {
        require<"constant data and too few abscissas are refused">(got.status == QMX_IC_FAILURE);
        return;
    }
    if (got.status != QMX_IC_SUCCESS) return; // a lower degree may fit perfectly
    std::vector<long double> at;
    for (std::size_t i = 0; i < 100; ++i) at.push_back(got.x[i]);
    const std::vector<long double> plain = plain_fit(of, at);
    long double most = 128;
    for (const long double value : plain) most = std::max(most, std::fabs(value));
    bool near = true;
    for (std::size_t i = 0; i < 100; ++i)
        near = near && std::fabs(got.y[i] - std::max(plain[i], 0.0L)) <= 1e-5L * most;
    require<"the curve is the least-squares polynomial">(near);
}

void check(const request& of, const response& got) {
    if (of.is_tame) check_tame(of, got);
    if (of.degree > 9) require<"degrees above 9 are refused">(got.status == QMX_IC_FAILURE);
    if (got.status != QMX_IC_SUCCESS) return;
    for (std::size_t i = 0; i < 100; ++i) require<"no ordinate is below 0">(!(got.y[i] < 0));
    if (of.count < 1) return;
    float low = std::numeric_limits<float>::infinity(), high = -low;
    for (const float x : of.x) {
        low = std::min(low, x);
        high = std::max(high, x);
    }
    if (!std::isfinite(low) || !std::isfinite(high)) return;
    const double step = (static_cast<double>(high) - low) / 99;
    for (std::size_t i = 0; i < 100; ++i)
        require<"abscissas lie evenly from the smallest to the largest">(
            got.x[i] == static_cast<float>(static_cast<double>(i) * step + low));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte();
    const request of = made_of(input);
    guarded<float> x(of.x), y(of.y);
    response first;
    first.ask(of, x, y);
    check(of, first);
    if (!is_repeated(another)) return 0;
    call_another(another);
    response again;
    again.ask(of, x, y);
    require<"two calls agree bit for bit">(
        first.status == again.status && first.x.is_same_as(again.x) && first.y.is_same_as(again.y));
    return 0;
}
