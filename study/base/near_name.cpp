#include "study/base/near_name.hpp"

#include <algorithm>

namespace qmx_study {

namespace {

// Letters to change, add, drop or exchange with their neighbour until one name is the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> steps(a.size() + 1,
                                                std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i)
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            steps[i][j] =
                std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
        }
    return steps[a.size()][b.size()];
}

} // namespace

std::string nearest_name(std::string_view given, const std::vector<std::string>& known) {
    std::string best;
    std::size_t least = std::max<std::size_t>(1, given.size() / 3) + 1;
    for (const std::string& each : known) {
        const bool begins = given.size() >= 3 && each.starts_with(given);
        const std::size_t steps = begins ? 1 : distance(given, each);
        if (steps >= least) continue;
        least = steps;
        best = each;
    }
    return best;
}

} // namespace qmx_study
