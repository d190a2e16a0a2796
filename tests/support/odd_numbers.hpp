// The plain tools of the standard library, and the numbers that arithmetic trips over.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

inline constexpr float nan32 = std::numeric_limits<float>::quiet_NaN();
inline constexpr float inf32 = std::numeric_limits<float>::infinity();
inline constexpr double nan64 = std::numeric_limits<double>::quiet_NaN();
inline constexpr double inf64 = std::numeric_limits<double>::infinity();
