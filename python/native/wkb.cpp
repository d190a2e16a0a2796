#include "wkb.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace qmx_python {

using namespace qmx_study;

namespace {

// The names by their numbers; of those from 8 on nothing but the name is told.
constexpr const char* names[] = {"GEOMETRY",
                                 "POINT",
                                 "LINESTRING",
                                 "POLYGON",
                                 "MULTIPOINT",
                                 "MULTILINESTRING",
                                 "MULTIPOLYGON",
                                 "GEOMETRYCOLLECTION",
                                 "CIRCULARSTRING",
                                 "COMPOUNDCURVE",
                                 "CURVEPOLYGON",
                                 "MULTICURVE",
                                 "MULTISURFACE",
                                 "CURVE",
                                 "SURFACE",
                                 "POLYHEDRALSURFACE",
                                 "TIN",
                                 "TRIANGLE"};
constexpr int deepest = 32; // collections in collections

class wkb_reader {
public:
    explicit wkb_reader(std::string_view all) : bytes(all) {}

    bool take(shape& into, int depth = 0) {
        into = {};
        if (depth > deepest || bytes.empty()) return false;
        const char order = bytes.front();
        bytes.remove_prefix(1);
        is_swapped = (order == 1) != (std::endian::native == std::endian::little);
        std::uint32_t type = 0;
        if (order < 0 || order > 1 || !take_number(type)) return false;
        constexpr std::uint32_t with_height = 0x80000000, with_measure = 0x40000000;
        const std::uint32_t more = (type & 0x0fffffff) / 1000;
        further = ((type & with_height) || more == 1 || more == 3) +
                  ((type & with_measure) || more == 2 || more == 3);
        type = (type & 0x0fffffff) % 1000;
        if (type >= std::size(names) || more > 3) return false;
        into.name = names[type];
        switch (type) {
        case 1: return take_point(into);
        case 2: into.kind = shape_kind::line; return take_line(into);
        case 3: into.kind = shape_kind::polygon; return take_polygon(into);
        case 4:
        case 6:
        case 7: into.kind = shape_kind::collection; return take_parts(into, depth);
        default: // nothing that a lot or an area is made of; what stands in it is left unread
            into.is_empty = false;
            bytes = {};
            return depth == 0;
        }
    }

    bool is_at_end() const { return bytes.empty(); }

private:
    std::string_view bytes;
    bool is_swapped = false;
    int further = 0; // numbers of a vertex beyond two

    template <class Number> bool take_number(Number& number) {
        if (bytes.size() < sizeof number) return false;
        char raw[sizeof number];
        for (std::size_t i = 0; i < sizeof raw; ++i)
            raw[i] = bytes[is_swapped ? sizeof raw - 1 - i : i];
        std::memcpy(&number, raw, sizeof raw);
        bytes.remove_prefix(sizeof raw);
        return true;
    }

    bool take_vertex(double& x, double& y) {
        if (!take_number(x) || !take_number(y)) return false;
        double unused = 0;
        for (int i = 0; i < further; ++i)
            if (!take_number(unused)) return false;
        return true;
    }

    bool take_point(shape& into) {
        into.kind = shape_kind::point;
        double x = 0, y = 0;
        if (!take_vertex(x, y)) return false;
        if (!std::isnan(x) || !std::isnan(y)) into.set_point(x, y);
        return true;
    }

    bool take_ring(ring& into) {
        std::uint32_t count = 0;
        if (!take_number(count) || bytes.size() / 16 < count) return false;
        into.x.resize(count);
        into.y.resize(count);
        for (std::uint32_t i = 0; i < count; ++i)
            if (!take_vertex(into.x[i], into.y[i])) return false;
        return true;
    }

    bool take_line(shape& into) {
        if (!take_ring(into.rings.emplace_back())) return false;
        into.is_empty = into.rings.front().x.empty();
        return true;
    }

    bool take_polygon(shape& into) {
        std::uint32_t count = 0;
        if (!take_number(count)) return false;
        for (std::uint32_t i = 0; i < count; ++i)
            if (!take_ring(into.rings.emplace_back())) return false;
        into.is_empty = into.rings.empty() || into.rings.front().x.empty();
        return true;
    }

    // A collection with a part that is not read is one as a whole.
    bool take_parts(shape& into, int depth) {
        std::uint32_t count = 0;
        if (!take_number(count)) return false;
        into.is_empty = true;
        for (std::uint32_t i = 0; i < count; ++i) {
            shape& part = into.parts.emplace_back();
            if (!take(part, depth + 1)) return false;
            into.is_empty = into.is_empty && part.is_empty;
        }
        return true;
    }
};

} // namespace

bool read_wkb(std::string_view bytes, shape& into) {
    wkb_reader reader(bytes);
    return reader.take(into) && reader.is_at_end();
}

} // namespace qmx_python
