// Geometries of records, and the text form that CSV columns hold them in.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

struct ring {
    std::vector<double> x, y;
    bool is_closed() const;
};

enum class shape_kind {
    point,
    line,
    polygon,
    collection, // several points, several polygons, or shapes of any kind
    other,      // curves, surfaces, several lines: nothing that a lot or an area is made of
};

struct shape {
    shape_kind kind = shape_kind::other;
    std::string name; // "POINT", "MULTIPOLYGON", for messages
    bool is_empty = true;
    double x = 0, y = 0;      // of a point
    std::vector<ring> rings;  // of a line: one; of a polygon: its outline, then its holes
    std::vector<shape> parts; // of a collection

    void set_point(double easting, double northing);
};

// Reads well-known text at the start of `text` and cuts it off, say "POLYGON ((0 0,1 0,1 1,0 0))";
// heights and measures are left out. False, with the text as it was, where none stands there.
bool take_wkt(std::string_view& text, shape& into);
bool read_wkt(std::string_view text, shape& into); // the whole text is one geometry

} // namespace qmx_study
