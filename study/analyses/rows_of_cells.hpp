// The rows that the cells of a lot stand in, as small pieces of the lot show them: a first guess of
// direction, distance and origin, which least squares over the whole lot then make exact.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace qmx_study {

constexpr std::size_t points_of_piece = 300; // at most

struct place {
    double x = 0, y = 0;
};
using places = std::vector<place>;

// Unit vectors along the rows and to the left of them.
struct directions {
    double ux = 1, uy = 0;
    double along(const place& p) const { return p.x * ux + p.y * uy; }
    double across(const place& p) const { return p.y * ux - p.x * uy; }
};

directions at_degrees(double degrees);

// Everything that is known so far: node k of row r stands at across = row_origin + r * across.
struct rows_of_cells {
    directions turned;
    double along = 0, across = 0;
    double row_origin = 0;
    double error_along = 0, error_across = 0,
           error_angle = 0; // standard errors, the last in radians

    double row_of(const place& p) const {
        return std::round((turned.across(p) - row_origin) / across);
    }
};

struct row_place {
    double row = 0, along = 0, across = 0;
};

// The points nearest to a centre, seen from there.
places piece_about(const places& all, const place& centre);

// The median distance from a place to its nearest neighbour.
double spacing_of(const std::vector<places>& of_pieces);

// The direction across which the pieces fall into the clearest rows.
directions clearest_rows(const std::vector<places>& of_pieces);

// The distance of the rows, from 0.4 to 16 times the spacing of the places; 0 where there is none.
double distance_of_rows(const std::vector<places>& of_pieces, const directions& turned,
                        double spacing);

// Where the rows of a piece stand: the mean of the coordinates as turns of a circle.
double origin_of_rows(const places& piece, const directions& turned, double spacing);

// Places by row, and along each row.
std::vector<row_place> in_rows(const places& points, const rows_of_cells& rows);

// The spacing along the rows, from the distances of neighbours up to four places on; 0 where there is none.
double spacing_in_rows(const std::vector<places>& of_pieces, const rows_of_cells& rows);

// Degrees anticlockwise from the eastings of a direction, 0 up to 360. Off by less than 1e-12.
double degrees_of(double east, double north);

} // namespace qmx_study
