// Real numbers of many digits, for fits that lose more digits than double-double has.
#pragma once

#include "base/double_double.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace qmx::numeric {

// sign * 0.d * 2^exponent, d in N digits of base 2^32, least first and the top bit set. Sums and
// products are truncated, which costs at most two units in the last place. The exponent never
// overflows in practice. Values taken from f64 must be finite.
template <i32 N> class extended_real {
    static_assert(N >= 3);

public:
    static constexpr i32 bits = 32 * N;

    extended_real() = default;
    extended_real(f64 value) {
        if (value == 0.0) return;
        i32 power = 0;
        const f64 fraction = std::frexp(std::abs(value), &power);
        const u64 leading = static_cast<u64>(std::ldexp(fraction, 53)) << 11;
        sign_ = value < 0.0 ? -1 : 1;
        exponent_ = power;
        digit_[N - 1] = static_cast<u32>(leading >> 32);
        digit_[N - 2] = static_cast<u32>(leading);
    }

    // Rounded to nearest, and to the nearest pair.
    f64 rounded() const {
        if (sign_ == 0) return 0.0;
        u64 leading = u64{digit_[N - 1]} << 32 | digit_[N - 2];
        leading |= std::any_of(digit_.begin(), digit_.end() - 2, [](u32 d) { return d != 0; });
        const i64 power = std::clamp<i64>(exponent_ - 64, -4000, 4000);
        return sign_ * std::ldexp(static_cast<f64>(leading), static_cast<i32>(power));
    }
    double_double rounded_pair() const {
        const f64 high = rounded();
        if (!std::isfinite(high)) return {high, 0.0};
        return {high, (*this - extended_real(high)).rounded()};
    }

    extended_real magnitude() const {
        extended_real result = *this;
        result.sign_ = sign_ * sign_;
        return result;
    }
    extended_real times_power_of_2(i64 power) const {
        extended_real result = *this;
        result.exponent_ += power;
        return result;
    }

    friend extended_real operator-(const extended_real& a) {
        extended_real result = a;
        result.sign_ = -a.sign_;
        return result;
    }
    friend extended_real operator+(const extended_real& a, const extended_real& b) {
        if (a.sign_ == 0 || b.sign_ == 0) return a.sign_ == 0 ? b : a;
        const bool is_less = a.is_below_in_magnitude(b);
        const extended_real& larger = is_less ? b : a;
        const extended_real& smaller = is_less ? a : b;
        const i64 shift = larger.exponent_ - smaller.exponent_;
        if (shift >= bits) return larger;
        const digits aligned = shifted_right(smaller.digit_, static_cast<i32>(shift));
        return larger.sign_ == smaller.sign_ ? larger.plus(aligned) : larger.minus(aligned);
    }
    friend extended_real operator-(const extended_real& a, const extended_real& b) {
        return a + -b;
    }
    friend extended_real operator*(const extended_real& a, const extended_real& b) {
        extended_real result;
        result.sign_ = a.sign_ * b.sign_;
        if (result.sign_ == 0) return {};
        std::array<u32, std::size_t{2} * N> product{}; // of which the lowest digits are not formed
        for (std::size_t i = 0; i < N; ++i) {
            u64 carry = 0;
            for (std::size_t j = i + 2 < N ? N - 2 - i : 0; j < N; ++j) {
                carry += u64{a.digit_[i]} * b.digit_[j] + product[i + j];
                product[i + j] = static_cast<u32>(carry);
                carry >>= 32;
            }
            product[i + N] = static_cast<u32>(carry);
        }
        result.exponent_ = a.exponent_ + b.exponent_;
        const bool has_top = product.back() >> 31 != 0;
        for (std::size_t i = 0; i < N; ++i)
            result.digit_[i] =
                has_top ? product[i + N] : product[i + N] << 1 | product[i + N - 1] >> 31;
        if (!has_top) --result.exponent_;
        return result;
    }
    // A divisor that cancelled to 0 gives 0.
    friend extended_real operator/(const extended_real& a, const extended_real& b) {
        return b.sign_ == 0 ? extended_real() : a * b.inverse();
    }

private:
    using u32 = std::uint32_t;
    using u64 = std::uint64_t;
    using digits = std::array<u32, N>;

    bool is_below_in_magnitude(const extended_real& b) const {
        if (exponent_ != b.exponent_) return exponent_ < b.exponent_;
        return std::lexicographical_compare(digit_.rbegin(), digit_.rend(), b.digit_.rbegin(),
                                            b.digit_.rend());
    }
    static digits shifted_right(const digits& from, i32 by) {
        digits to{};
        const std::size_t whole = static_cast<std::size_t>(by / 32);
        const i32 rest = by % 32;
        for (std::size_t i = 0; i + whole < N; ++i) {
            const u64 upper = i + whole + 1 < N ? from[i + whole + 1] : 0;
            to[i] = static_cast<u32>((upper << 32 | from[i + whole]) >> rest);
        }
        return to;
    }
    extended_real plus(const digits& other) const {
        extended_real result = *this;
        u64 carry = 0;
        for (std::size_t i = 0; i < N; ++i) {
            carry += u64{digit_[i]} + other[i];
            result.digit_[i] = static_cast<u32>(carry);
            carry >>= 32;
        }
        if (carry == 0) return result;
        result.digit_ = shifted_right(result.digit_, 1);
        result.digit_[N - 1] |= 0x80000000U;
        ++result.exponent_;
        return result;
    }
    extended_real minus(const digits& other) const {
        extended_real result = *this;
        i64 borrow = 0;
        for (std::size_t i = 0; i < N; ++i) {
            borrow += i64{digit_[i]} - i64{other[i]};
            result.digit_[i] = static_cast<u32>(borrow & 0xffffffff);
            borrow >>= 32;
        }
        return result.normalized();
    }
    extended_real normalized() const {
        i32 top = N - 1;
        while (top >= 0 && digit_[static_cast<std::size_t>(top)] == 0) --top;
        if (top < 0) return {};
        const i32 zeros = std::countl_zero(digit_[static_cast<std::size_t>(top)]);
        extended_real result;
        result.sign_ = sign_;
        const i32 whole = N - 1 - top;
        result.exponent_ = exponent_ - i64{32} * whole - zeros;
        for (i32 i = top; i >= 0; --i) {
            const u64 lower = i > 0 ? digit_[static_cast<std::size_t>(i - 1)] : 0;
            const u64 pair = u64{digit_[static_cast<std::size_t>(i)]} << 32 | lower;
            result.digit_[static_cast<std::size_t>(i) + static_cast<std::size_t>(whole)] =
                static_cast<u32>(pair << zeros >> 32);
        }
        return result;
    }
    // By Newton's method, which doubles the number of correct bits.
    extended_real inverse() const {
        extended_real significand = *this;
        significand.exponent_ = 0;
        extended_real guess(1.0 / significand.rounded());
        for (i32 correct = 50; correct < bits; correct *= 2)
            guess = guess + guess * (extended_real(1.0) - significand * guess);
        return guess.times_power_of_2(-exponent_);
    }

    i32 sign_ = 0;
    i64 exponent_ = 0;
    digits digit_{};
};

} // namespace qmx::numeric
