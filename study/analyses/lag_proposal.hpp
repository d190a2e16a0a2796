// Lag and number of lags for a semivariogram, from where the points lie.
#pragma once

#include <optional>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

inline constexpr int most_lags = 98; // that the library takes

// Lengths in the unit of the positions.
struct point_layout {
    std::size_t points = 0;
    double middle_x = 0, middle_y = 0; // of the extent of the bulk, without points far astray
    double reach = 0;                  // greatest distance of the bulk from it along an axis
    double diagonal = 0;               // of the extent of all points but stray ones
    double whole_diagonal = 0;         // of all points
    double spacing = 0; // from a point to its nearest other place, as a rule; 0 with one place

    bool has_stray_points() const { return whole_diagonal > diagonal; }
};

// All positions are finite, and there is at least one. Positions that agree to a thousandth are one
// place. Stray points are those beyond the 99.8 % in the middle of either axis, where leaving them out
// halves the diagonal.
point_layout layout_of(const std::vector<t_icdata>& points);

struct lag_proposal {
    double lag = 0;
    int lags = 0;
    bool is_shortened = false; // the cut-off is less than a third of the diagonal
};

// The cut-off is a third of the diagonal. A lag is a thirtieth of it, between one and five spacings,
// rounded down to a number with few digits; what that leaves of a long strip beyond 98 lags stays
// out. Few points make fewer lags, a hundred pairs for each. A number that the user named is kept, and the other one follows from the cut-off.
lag_proposal propose_lags(const point_layout& layout, std::optional<double> lag,
                          std::optional<int> lags);

} // namespace qmx_study
