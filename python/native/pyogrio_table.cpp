// Vector formats of the package: GeoJSON by our own reader, everything else by pyogrio where it is
// installed. The work runs without the GIL; it is taken while Python reads.
#include <cmath>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>
#include <nanobind/stl/string.h>

#include "study/base/errors.hpp"
#include "study/base/file_hash.hpp"
#include "study/base/number_text.hpp"
#include "study/table/geojson_table.hpp"
#include "study/table/text_input.hpp"
#include "study/table/vector_table.hpp"
#include "study_work.hpp"
#include "wkb.hpp"

namespace qmx_study {

namespace nb = nanobind;
using qmx_python::text_of_python;

namespace {

struct read_column {
    std::string name;
    std::string number_format; // "{:.15g}"; "" for texts
    bool is_read = false;
    std::vector<double> numbers;
    std::vector<std::optional<std::string>> texts;
};

bool is_json(const std::string& file) {
    text_input opened(file);
    char block[256];
    while (const std::size_t size = opened.read(block, sizeof block))
        for (std::size_t i = 0; i < size; ++i)
            if (block[i] != ' ' && block[i] != '\t' && block[i] != '\r' && block[i] != '\n')
                return block[i] == '{';
    return false;
}

// Asks the package's own module; what goes wrong there is told of the file.
template <class Ask> auto with_python(const std::string& file, Ask ask) {
    const nb::gil_scoped_acquire held;
    try {
        return ask(nb::module_::import_("qmx_ic._vector"));
    } catch (nb::python_error& error) {
        if (!error.matches(PyExc_Exception) || error.matches(PyExc_MemoryError)) throw;
        const std::string reason = text_of_python(nb::str(error.value()));
        if (error.matches(PyExc_ImportError))
            throw usage_error(fmt::format("{}: reading this format {}", file, reason),
                              {{}, file, 0, {}});
        refuse_unknown_format(file, reason);
    }
}

std::string layer_of(const std::vector<std::string>& layers, const std::string& file,
                     const std::string& wanted) {
    const error_place place{wanted.empty() && layers.empty() ? "" : "--layer", file, 0, {}};
    const std::string names = fmt::format("{}", fmt::join(layers, ", "));
    if (layers.empty() && wanted.empty())
        throw usage_error(fmt::format("{}: it holds no layer", file), place);
    for (const std::string& layer : layers)
        if (same_text(wanted, layer)) return layer;
    if (!wanted.empty())
        throw usage_error(
            fmt::format("{}: it has no layer \"{}\"; its layers are: {}", file, wanted, names),
            place);
    if (layers.size() > 1)
        throw usage_error(
            fmt::format("{}: it holds several layers; name one with --layer: {}", file, names),
            place);
    return layers.front();
}

} // namespace

struct vector_table::state {
    std::unique_ptr<geojson_table> text; // or all that follows
    std::string file, layer;
    file_stamp stamp; // of the file as it was opened
    std::vector<read_column> columns;
    bool has_rows = false, has_shapes = false; // were read
    std::size_t rows = 0, next = 0;
    std::vector<std::optional<std::string>> shapes; // well-known binary
    mutable shape converted;
    mutable std::vector<std::string> kept; // texts of numbers, one a column

    std::size_t row() const { return next - 1; }
    const read_column& column(int number) const {
        return columns[static_cast<std::size_t>(number)];
    }
    void load(const std::vector<int>& wanted, bool with_geometry);
    void take_column(read_column& into, nb::handle values);
    void take_shapes(nb::handle values);
};

// Reads what is wanted and not there yet.
void vector_table::state::load(const std::vector<int>& wanted, bool with_geometry) {
    std::vector<std::size_t> lacking;
    for (const int number : wanted)
        if (number >= 0 && !column(number).is_read) {
            columns[static_cast<std::size_t>(number)].is_read = true;
            lacking.push_back(static_cast<std::size_t>(number));
        }
    const bool lacks_shapes = with_geometry && !has_shapes;
    if (has_rows && lacking.empty() && !lacks_shapes) return;
    // Something must be asked for, so that the rows can be counted.
    if (!has_rows && lacking.empty() && !lacks_shapes && !columns.empty()) {
        columns.front().is_read = true;
        lacking.push_back(0);
    }
    with_python(file, [&](const nb::object& module) {
        nb::list names;
        for (const std::size_t number : lacking) names.append(columns[number].name);
        const nb::object read = module.attr("load")(file, layer, names, lacks_shapes);
        if (const auto count = nb::cast<std::int64_t>(read[0]); count >= 0)
            rows = static_cast<std::size_t>(count);
        for (std::size_t i = 0; i < lacking.size(); ++i)
            take_column(columns[lacking[i]], nb::object(read[2][i]));
        if (lacks_shapes) take_shapes(nb::object(read[1]));
        return true;
    });
    has_rows = true;
    has_shapes = has_shapes || lacks_shapes;
}

void vector_table::state::take_column(read_column& into, nb::handle values) {
    if (!nb::isinstance<nb::list>(values)) {
        const auto numbers =
            nb::cast<nb::ndarray<nb::numpy, const double, nb::ndim<1>, nb::c_contig>>(values);
        into.numbers.assign(numbers.data(), numbers.data() + numbers.size());
        return;
    }
    into.texts.reserve(rows);
    for (const nb::handle value : nb::borrow<nb::list>(values)) {
        into.texts.emplace_back();
        if (!value.is_none()) into.texts.back() = text_of_python(value);
    }
}

void vector_table::state::take_shapes(nb::handle values) {
    shapes.reserve(rows);
    if (values.is_none()) return shapes.resize(rows);
    for (const nb::handle value : nb::object(values.attr("tolist")())) {
        shapes.emplace_back();
        if (value.is_none()) continue;
        const auto bytes = nb::cast<nb::bytes>(value);
        shapes.back() = std::string(static_cast<const char*>(bytes.data()), bytes.size());
    }
}

vector_table::vector_table(const std::string& file, const std::string& layer)
    : now(std::make_unique<state>()) {
    refuse_damaged_gzip(file);
    if (is_json(file)) {
        now->text = std::make_unique<geojson_table>(file, layer);
        format_name = "GeoJSON";
        column_list = now->text->columns();
        row_count = now->text->rows();
        is_spatial = now->text->has_geometry();
        reference = now->text->system();
        return;
    }
    now->file = file;
    now->stamp = stamp_of_file(file);
    const auto names = with_python(file, [&](const nb::object& module) {
        std::vector<std::string> all;
        for (const nb::handle name : nb::object(module.attr("layers")(file)))
            all.push_back(text_of_python(name));
        return all;
    });
    now->layer = layer_of(names, file, layer);
    with_python(file, [&](const nb::object& module) {
        const nb::object about = module.attr("describe")(file, now->layer);
        format_name = text_of_python(nb::object(about["format"]));
        row_count = nb::cast<std::int64_t>(about["rows"]);
        is_spatial = nb::cast<bool>(about["is_spatial"]);
        const std::string system = text_of_python(nb::object(about["system"]));
        if (!system.empty()) reference = system_from_text(system);
        for (const nb::handle each : nb::object(about["columns"])) {
            read_column& added = now->columns.emplace_back();
            added.name = text_of_python(nb::object(each[0]));
            const std::string format = text_of_python(nb::object(each[2]));
            if (!format.empty()) added.number_format = "{:" + format + "}";
            const bool is_text = nb::cast<bool>(each[1]);
            column_list.push_back({added.name, is_text          ? column_type::text
                                               : format.empty() ? column_type::other
                                                                : column_type::number});
        }
        return true;
    });
    now->kept.resize(now->columns.size());
}

vector_table::~vector_table() = default;

void vector_table::rewind() {
    if (now->text) return now->text->rewind();
    std::vector<int> all;
    for (std::size_t i = 0; i < column_list.size(); ++i) all.push_back(static_cast<int>(i));
    rewind_for(all, is_spatial);
}

void vector_table::rewind_for(const std::vector<int>& wanted, bool with_geometry) {
    if (now->text) return now->text->rewind();
    now->load(wanted, with_geometry && is_spatial);
    now->next = 0;
}

bool vector_table::next() {
    if (now->text) {
        if (now->text->next()) return true;
        reason = now->text->failure();
        return false;
    }
    if (!now->has_rows) rewind();
    if (now->next == now->rows) {
        if (is_changed()) reason = changed_while_read;
        return false;
    }
    ++now->next;
    return true;
}

bool vector_table::is_changed() const {
    return !now->text && stamp_of_file(now->file) != now->stamp;
}

bool vector_table::is_missing(int column) const {
    if (now->text) return now->text->is_missing(column);
    const read_column& from = now->column(column);
    if (from.numbers.empty()) return from.texts.empty() || !from.texts[now->row()];
    return std::isnan(from.numbers[now->row()]);
}

std::string_view vector_table::text(int column) const {
    if (now->text) return now->text->text(column);
    if (is_missing(column)) return {};
    const read_column& from = now->column(column);
    if (from.numbers.empty()) return *from.texts[now->row()];
    std::string& kept = now->kept[static_cast<std::size_t>(column)];
    const double number = from.numbers[now->row()];
    if (from.number_format == "{:d}") {
        kept = fmt::format("{}", static_cast<std::int64_t>(number));
    } else {
        kept = fmt::format(fmt::runtime(from.number_format), number);
        // A whole number of 32 bits bears the mark of its kind.
        if (from.number_format == "{:.8g}" && kept.find_first_of(".en") == std::string::npos)
            kept += ".0";
    }
    return kept;
}

double vector_table::number(int column) const {
    return now->text ? now->text->number(column) : now->column(column).numbers[now->row()];
}

const shape* vector_table::geometry() const {
    if (now->text) return now->text->geometry();
    if (now->shapes.empty() || !now->shapes[now->row()]) return nullptr;
    if (!qmx_python::read_wkb(*now->shapes[now->row()], now->converted))
        throw usage_error(
            fmt::format("{}, record {}: its geometry is damaged", now->file, now->next),
            {{}, now->file, 0, {}});
    return &now->converted;
}

void refuse_unknown_format(const std::string& file, const std::string& reason) {
    throw usage_error(
        fmt::format("{}: no table of points was recognised{}{}; delimited text needs a name that "
                    "ends in .csv, .tsv or .txt",
                    file, reason.empty() ? "" : ": ", reason),
        {{}, file, 0, {}});
}

} // namespace qmx_study
