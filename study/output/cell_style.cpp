#include "study/output/cell_style.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

struct colour {
    int red, green, blue;
};
// Told apart by colour-blind readers and, the ramp, on a grey print.
constexpr colour met_colour{0, 114, 178};
constexpr colour missed_colour{213, 94, 0};
constexpr colour grey{153, 153, 153};
constexpr std::array<colour, 5> ramp{
    {{68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}}};

// One class of cells: those of a verdict, or those whose value lies between two limits.
struct drawn_class {
    std::string label;
    colour fill;
    std::string verdict;         // of a class by verdict
    double lower = 0, upper = 0; // of a class by value
};

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '"': result += "&quot;"; break;
        default:
            if (static_cast<unsigned char>(c) >= ' ') result += c;
        }
    }
    return result;
}

std::string qml_option(const char* name, const std::string& value) {
    return fmt::format("<Option name=\"{}\" type=\"QString\" value=\"{}\"/>", name, value);
}

std::string qml_symbol(std::size_t number, const colour& fill, double cell_size) {
    const std::string size = cell_size > 0
                                 ? qml_option("size", fmt::format("{}", cell_size)) +
                                       qml_option("size_unit", "RenderMetersInMapUnits")
                                 : qml_option("size", "2") + qml_option("size_unit", "MM");
    return fmt::format(
        "<symbol name=\"{}\" type=\"marker\" alpha=\"1\" clip_to_extent=\"1\">"
        "<layer class=\"SimpleMarker\" enabled=\"1\" locked=\"0\" pass=\"0\"><Option type=\"Map\">"
        "{}{}{}{}</Option></layer></symbol>\n",
        number, qml_option("color", fmt::format("{},{},{},255", fill.red, fill.green, fill.blue)),
        qml_option("name", "square"), qml_option("outline_style", "no"), size);
}

std::string qml_of(const std::vector<drawn_class>& classes, bool by_verdict, double cell_size) {
    std::string entries, symbols;
    for (std::size_t i = 0; i < classes.size(); ++i) {
        const drawn_class& each = classes[i];
        entries += by_verdict
                       ? fmt::format("<category symbol=\"{}\" value=\"{}\" label=\"{}\" "
                                     "render=\"true\"/>\n",
                                     i, each.verdict, escaped(each.label))
                       : fmt::format("<range symbol=\"{}\" lower=\"{}\" upper=\"{}\" label=\"{}\" "
                                     "render=\"true\"/>\n",
                                     i, each.lower, each.upper, escaped(each.label));
        symbols += qml_symbol(i, each.fill, cell_size);
    }
    const char* const kind = by_verdict ? "categorizedSymbol" : "graduatedSymbol";
    const char* const list = by_verdict ? "categories" : "ranges";
    return fmt::format("<qgis version=\"3.22.0\" styleCategories=\"Symbology\">\n"
                       "<renderer-v2 type=\"{}\" attr=\"{}\" {}enableorderby=\"0\" "
                       "forceraster=\"0\" symbollevels=\"0\">\n"
                       "<{}>\n{}</{}>\n<symbols>\n{}</symbols>\n</renderer-v2>\n</qgis>\n",
                       kind, by_verdict ? "verdict" : "value",
                       by_verdict ? "" : "graduatedMethod=\"GraduatedColor\" ", list, entries, list,
                       symbols);
}

std::string sld_condition(const drawn_class& each, bool by_verdict, bool is_last) {
    const auto compared = [](const char* how, const char* column, const std::string& with) {
        return fmt::format("<ogc:{0}><ogc:PropertyName>{1}</ogc:PropertyName>"
                           "<ogc:Literal>{2}</ogc:Literal></ogc:{0}>",
                           how, column, with);
    };
    if (by_verdict) return compared("PropertyIsEqualTo", "verdict", each.verdict);
    return "<ogc:And>" +
           compared("PropertyIsGreaterThanOrEqualTo", "value", fmt::format("{}", each.lower)) +
           compared(is_last ? "PropertyIsLessThanOrEqualTo" : "PropertyIsLessThan", "value",
                    fmt::format("{}", each.upper)) +
           "</ogc:And>";
}

std::string sld_of(const std::vector<drawn_class>& classes, bool by_verdict, double cell_size) {
    std::string rules;
    const char* const unit =
        cell_size > 0 ? " uom=\"http://www.opengeospatial.org/se/units/metre\"" : "";
    for (std::size_t i = 0; i < classes.size(); ++i) {
        const drawn_class& each = classes[i];
        rules += fmt::format(
            "<se:Rule><se:Name>{}</se:Name><ogc:Filter>{}</ogc:Filter>"
            "<se:PointSymbolizer{}><se:Graphic><se:Mark><se:WellKnownName>square"
            "</se:WellKnownName><se:Fill><se:SvgParameter name=\"fill\">#{:02x}{:02x}{:02x}"
            "</se:SvgParameter></se:Fill></se:Mark><se:Size>{}</se:Size></se:Graphic>"
            "</se:PointSymbolizer></se:Rule>\n",
            escaped(each.label), sld_condition(each, by_verdict, i + 1 == classes.size()), unit,
            each.fill.red, each.fill.green, each.fill.blue, cell_size > 0 ? cell_size : 7);
    }
    return fmt::format(
        "<StyledLayerDescriptor version=\"1.1.0\" xmlns=\"http://www.opengis.net/sld\" "
        "xmlns:se=\"http://www.opengis.net/se\" xmlns:ogc=\"http://www.opengis.net/ogc\">\n"
        "<NamedLayer><se:Name>cells</se:Name><UserStyle><se:FeatureTypeStyle>\n{}"
        "</se:FeatureTypeStyle></UserStyle></NamedLayer>\n</StyledLayerDescriptor>\n",
        rules);
}

std::vector<drawn_class> classes_by_value(const std::vector<double>& values,
                                          const std::string& unit) {
    const std::vector<double> limits = class_limits(values);
    std::vector<drawn_class> classes;
    const std::size_t number = limits.size() < 2 ? limits.size() : limits.size() - 1;
    for (std::size_t i = 0; i < number; ++i) {
        const double lower = limits[i];
        const double upper = limits[std::min(i + 1, limits.size() - 1)];
        // Few classes are spread over the whole ramp.
        const std::size_t place = number < 2 ? 2 : i * (ramp.size() - 1) / (number - 1);
        classes.push_back({fmt::format("{} - {}{}", number_text(lower), number_text(upper),
                                       unit.empty() ? "" : " " + unit),
                           ramp[place],
                           {},
                           lower,
                           upper});
    }
    return classes;
}

} // namespace

const char* verdict_text(std::uint8_t verdict) {
    if (verdict == cell_met) return "met";
    return verdict == cell_missed ? "missed" : "not_given";
}

std::vector<double> class_limits(const std::vector<double>& values) {
    std::vector<double> sorted;
    sorted.reserve(values.size());
    for (const double value : values)
        if (std::isfinite(value)) sorted.push_back(value);
    std::sort(sorted.begin(), sorted.end());
    std::vector<double> limits;
    if (sorted.empty()) return limits;
    for (std::size_t k = 0; k <= ramp.size(); ++k) {
        const double limit = sorted[k * (sorted.size() - 1) / ramp.size()];
        if (limits.empty() || limit > limits.back()) limits.push_back(limit);
    }
    return limits;
}

std::vector<layer_style> cell_styles(const cell_table& cells, const std::string& value_name,
                                     const std::string& value_unit, double cell_size) {
    const std::vector<drawn_class> by_verdict{{"met", met_colour, "met"},
                                              {"missed", missed_colour, "missed"},
                                              {"no verdict", grey, "not_given"}};
    const std::vector<drawn_class> by_value = classes_by_value(cells.value, value_unit);
    const bool has_verdicts =
        std::any_of(cells.verdict.begin(), cells.verdict.end(),
                    [](std::uint8_t verdict) { return verdict != cell_without_verdict; });
    return {
        {"verdict", "Cells that satisfy the target, and those that do not",
         qml_of(by_verdict, true, cell_size), sld_of(by_verdict, true, cell_size), has_verdicts},
        {"value", fmt::format("{} in classes of as many cells each", value_name),
         qml_of(by_value, false, cell_size), sld_of(by_value, false, cell_size), !has_verdicts}};
}

} // namespace qmx_study
