// Data that is unkind to statistics.
#pragma once

#include "numeric/univariate_call.hpp"

namespace univariate {

struct sample {
    std::string name;
    std::vector<f32> x;
};

inline std::vector<sample> unkind_data() {
    return {
        {"two values", {1.0F, 2.0F}},
        {"two neighbours", {1.0F, std::nextafter(1.0F, 2.0F)}},
        {"two of opposite sign", {-3.25F, 7.5F}},
        {"three far apart", {1e-20F, 1.0F, 1e18F}},
        {"a sum that cancels", {1e18F, 3.0F, -1e18F, 1.5F, 1e10F, -1e10F}},
        {"a sum that cancels below the last place of its terms",
         {1e18F, 1e-12F, -1e18F, 3e-13F, 5.0F, -5.0F}},
        {"values beside a half-way mean", {16777215.0F, 16777216.0F, 16777214.0F, 1e-30F}},
        {"a hair above a half-way mean", {2.0F, 2.0F, 0x1p-22F, 0x1p-90F}},
        {"all but one equal", made(100000, [](auto i, auto&) { return i == 77 ? 2.0F : 1.0F; })},
        {"last place of a million in one of many",
         made(100000, [](auto i, auto&) { return i == 77 ? 1000000.0625F : 1000000.0F; })},
        {"two opposite outliers among small values",
         made(100001, [](auto i, auto&) { return i == 0   ? 1.0F
                                                 : i == 1 ? -1.0F
                                                          : 1.1e-5F; })},
        {"measured values", made(5000, [](auto, auto& r) { return normal(r, 45.0F, 12.0F); })},
        {"around zero", made(20001, [](auto, auto& r) { return normal(r, 0.0F, 1.0F); })},
        {"a million and noise",
         made(50000, [](auto, auto& r) { return 1e6F + normal(r, 0.0F, 0.2F); })},
        {"a negative ten million and noise",
         made(3000, [](auto, auto& r) { return -1e7F + normal(r, 0.0F, 3.0F); })},
        {"lopsided", made(20000, [](auto, auto& r) { return std::exp(normal(r, 0.0F, 2.0F)); })},
        {"all magnitudes", made(20000,
                                [](auto i, auto& r) {
                                    const f32 sign = i % 2 == 0 ? 1.0F : -1.0F;
                                    return sign * std::pow(10.0F, normal(r, -10.0F, 8.0F));
                                })},
        {"a block and a rest", made(2049, [](auto i, auto&) { return static_cast<f32>(i); })},
        {"missing values between",
         made(4100, [](auto i, auto& r) { return i % 3 == 1 ? nan32 : normal(r, 8.0F, 2.0F); })}};
}

// A number of either sign and of any fraction, its exponent evenly between the given ones.
inline f32 of_exponent(std::mt19937& random, i32 least, i32 most) {
    const f32 size = 1.0F + static_cast<f32>(random() % (1U << 23)) * 0x1p-23F;
    const f32 sign = random() % 2 == 0 ? 1.0F : -1.0F;
    const auto above = random() % static_cast<std::uint32_t>(most - least + 1);
    return std::ldexp(sign * size, least + static_cast<i32>(above));
}

// Many small sets of one kind after the other; every second has two or three values only.
inline std::vector<sample> small_sets(std::size_t sets) {
    struct {
        const char* name;
        std::function<f32(std::size_t, std::mt19937&)> value;
    } const kinds[] = {
        {"values of all magnitudes", [](auto, auto& r) { return of_exponent(r, -126, 127); }},
        {"values of like magnitude", [](auto, auto& r) { return of_exponent(r, 0, 2); }},
        {"last places of one",
         [](auto, auto& r) { return 1.0F + static_cast<f32>(r() % 8) * 0x1p-23F; }},
        {"a million and noise",
         [](auto, auto& r) { return 1e6F + static_cast<f32>(r() % 16) * 0.0625F; }},
        {"values down to the smallest", [](auto, auto& r) { return of_exponent(r, -149, -20); }},
        {"alternating signs",
         [](auto i, auto& r) {
             return (i % 2 == 0 ? 1.0F : -1.0F) + static_cast<f32>(r() % 9) * 0x1p-23F;
         }},
        {"a huge and tiny ones",
         [](auto i, auto& r) { return i == 0 ? 3e38F : of_exponent(r, -40, -20); }}};
    std::mt19937 random(8);
    std::vector<sample> list(sets);
    for (std::size_t k = 0; k < sets; ++k) {
        const auto& kind = kinds[k % std::size(kinds)];
        const std::size_t n = k % 2 == 0 ? 2 + random() % 2 : 4 + random() % 60;
        list[k].name = std::to_string(n) + " values of \"" + kind.name + "\"";
        for (std::size_t i = 0; i < n; ++i) list[k].x.push_back(kind.value(i, random));
    }
    return list;
}

} // namespace univariate
