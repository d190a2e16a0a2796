#include "study/table/shape.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

constexpr int deepest = 32; // collections within collections

// Reads one text from front to back. Each step returns false where the text goes on otherwise.
class wkt_reader {
public:
    explicit wkt_reader(std::string_view text) : rest(text) {}

    std::string_view rest;

    bool read(shape& into, int depth = 0) {
        std::string word = lower_case(take_word());
        if (word == "srid") { // SRID=4326;POINT (1 2)
            double number = 0;
            if (!take('=') || !take_number(number) || !take(';')) return false;
            word = lower_case(take_word());
        }
        for (const std::string_view suffix : {"zm", "z", "m"}) // POLYGONZ
            if (word.size() > suffix.size() && word.ends_with(suffix)) {
                const std::string plain = word.substr(0, word.size() - suffix.size());
                if (!kind_of(plain)) continue;
                word = plain;
                break;
            }
        const kind_of_name* const known = kind_of(word);
        if (!known || depth > deepest) return false;
        into = {};
        into.kind = known->kind;
        for (const char c : word) into.name += static_cast<char>(std::toupper(c));
        std::string modifier = lower_case(take_word());
        if (modifier == "z" || modifier == "m" || modifier == "zm")
            modifier = lower_case(take_word());
        if (modifier == "empty") return true;
        if (!modifier.empty()) return false;
        into.is_empty = false;
        return read_body(word, into, depth);
    }

private:
    struct kind_of_name {
        std::string_view name;
        shape_kind kind;
    };
    static const kind_of_name* kind_of(std::string_view word) {
        static constexpr kind_of_name all[] = {{"point", shape_kind::point},
                                               {"linestring", shape_kind::line},
                                               {"linearring", shape_kind::line},
                                               {"polygon", shape_kind::polygon},
                                               {"multipoint", shape_kind::collection},
                                               {"multipolygon", shape_kind::collection},
                                               {"geometrycollection", shape_kind::collection},
                                               {"multilinestring", shape_kind::other}};
        const auto* const found = std::find_if(std::begin(all), std::end(all),
                                               [&](const auto& each) { return each.name == word; });
        return found == std::end(all) ? nullptr : found;
    }

    void skip_blanks() {
        while (!rest.empty() &&
               (rest[0] == ' ' || rest[0] == '\t' || rest[0] == '\n' || rest[0] == '\r'))
            rest.remove_prefix(1);
    }
    std::string_view take_word() {
        skip_blanks();
        std::size_t length = 0;
        while (length < rest.size() && std::isalpha(static_cast<unsigned char>(rest[length])))
            ++length;
        const std::string_view word = rest.substr(0, length);
        rest.remove_prefix(length);
        return word;
    }
    bool take(char c) {
        skip_blanks();
        if (rest.empty() || rest[0] != c) return false;
        rest.remove_prefix(1);
        return true;
    }
    bool take_number(double& number) {
        skip_blanks();
        if (!rest.empty() && rest[0] == '+') rest.remove_prefix(1);
        const auto [stop, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (error != std::errc{}) return false;
        rest.remove_prefix(static_cast<std::size_t>(stop - rest.data()));
        return true;
    }
    // "1 2", with whatever numbers follow.
    bool take_vertex(double& x, double& y) {
        double further = 0;
        if (!take_number(x) || !take_number(y)) return false;
        for (int i = 0; i < 2; ++i) {
            skip_blanks();
            if (rest.empty() || rest[0] == ',' || rest[0] == ')') return true;
            if (!take_number(further)) return false;
        }
        return true;
    }
    // "(a, b, c)", with what `item` reads in place of each letter.
    template <class Item> bool take_list(Item item) {
        if (!take('(')) return false;
        do {
            if (!item()) return false;
        } while (take(','));
        return take(')');
    }
    bool take_ring(ring& vertices) {
        return take_list([&] {
            double x = 0, y = 0;
            if (!take_vertex(x, y)) return false;
            vertices.x.push_back(x);
            vertices.y.push_back(y);
            return true;
        });
    }
    bool take_rings(std::vector<ring>& rings) {
        return take_list([&] { return take_ring(rings.emplace_back()); });
    }
    bool take_point(shape& into) {
        double x = 0, y = 0;
        if (!take_vertex(x, y)) return false;
        into.set_point(x, y);
        return true;
    }
    bool read_body(std::string_view word, shape& into, int depth) {
        if (word == "point") return take('(') && take_point(into) && take(')');
        if (into.kind == shape_kind::line) return take_ring(into.rings.emplace_back());
        if (into.kind == shape_kind::polygon || into.kind == shape_kind::other)
            return take_rings(into.rings);
        return take_list([&] {
            shape& part = into.parts.emplace_back();
            if (word == "geometrycollection") return read(part, depth + 1);
            if (word == "multipolygon") {
                part.kind = shape_kind::polygon;
                part.name = "POLYGON";
                part.is_empty = false;
                return take_rings(part.rings);
            }
            // MULTIPOINT (1 2, 3 4) and MULTIPOINT ((1 2), (3 4)) are both written.
            const bool is_bracketed = take('(');
            return take_point(part) && (!is_bracketed || take(')'));
        });
    }
};

} // namespace

bool ring::is_closed() const {
    return x.size() > 1 && x.front() == x.back() && y.front() == y.back();
}

void shape::set_point(double easting, double northing) {
    kind = shape_kind::point;
    name = "POINT";
    is_empty = false;
    x = easting;
    y = northing;
    rings.clear();
    parts.clear();
}

bool take_wkt(std::string_view& text, shape& into) {
    wkt_reader reader(text);
    if (!reader.read(into)) return false;
    text = reader.rest;
    return true;
}

bool read_wkt(std::string_view text, shape& into) {
    return take_wkt(text, into) && trimmed(text).empty();
}

} // namespace qmx_study
