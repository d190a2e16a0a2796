#include "records.hpp"

#include "arrays.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace nb = nanobind;

namespace qmx_python {

namespace {

constexpr double lowest_pass = -2147483648.0, highest_pass = 2147483647.0;

// Column after column in blocks that stay in the cache: the records are written to memory once.
constexpr std::size_t block = 512;

template <class Number> double as_number(Number number) {
    return static_cast<double>(number);
}

template <class Number> bool is_pass(Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
        const double value = static_cast<double>(number);
        return value >= lowest_pass && value <= highest_pass && std::floor(value) == value;
    } else {
        return std::in_range<std::int32_t>(number);
    }
}

// True where all passes of the block are whole numbers of 32 bits.
bool write_passes(const number_column& column, std::size_t first, std::size_t last, t_icdata* out) {
    bool all_fit = true;
    for_each_number(column, first, last, [&](std::size_t row, auto number) {
        const bool fits = is_pass(number);
        all_fit &= fits;
        out[row].i_passno = fits ? static_cast<std::int32_t>(number) : 0;
        out[row].i_reserved = 0;
    });
    return all_fit;
}

void write_numbers(const number_column* column, std::size_t first, std::size_t last, t_icdata* out,
                   double t_icdata::*field) {
    if (column == nullptr) {
        for (std::size_t row = first; row < last; ++row) out[row].*field = 0;
        return;
    }
    for_each_number(*column, first, last,
                    [&](std::size_t row, auto number) { out[row].*field = as_number(number); });
}

std::string number_text(double number) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    return {text, end};
}

constexpr const char* roles[] = {"x", "y", "value", "pass"};

// The columns of a tuple, and how many rows they have.
struct point_columns {
    std::optional<number_column> columns[4];
    std::int32_t pass_of_all = 0;
    std::size_t rows = 0;

    explicit point_columns(nb::handle named) {
        const auto parts = nb::borrow<nb::tuple>(named);
        int first = -1;
        for (int k = 0; k < 4; ++k) {
            if (parts[k].is_none()) continue;
            columns[k].emplace(parts[k]);
            const std::size_t length = columns[k]->memory.rows();
            if (first < 0) {
                first = k;
                rows = length;
            } else if (length != rows) {
                throw nb::value_error((std::string("column ") + roles[first] + " has " +
                                       std::to_string(rows) + " rows and column " + roles[k] +
                                       " has " + std::to_string(length))
                                          .c_str());
            }
        }
        pass_of_all = nb::cast<std::int32_t>(parts[4]);
    }
    const number_column* at(int k) const { return columns[k] ? &*columns[k] : nullptr; }
};

[[noreturn]] void refuse_passes(const number_column& passes, std::size_t rows) {
    std::string text = "the pass numbers cannot be used";
    bool is_found = false;
    for_each_number(passes, 0, rows, [&](std::size_t row, auto number) {
        if (is_found || is_pass(number)) return;
        is_found = true;
        const double value = as_number(number);
        text = "row " + std::to_string(row) + " (the first is 0): the pass number " +
               (std::isnan(value) ? "is missing"
                                  : number_text(value) + " is no whole number of 32 bits") +
               "; leave the row out";
    });
    throw nb::value_error(text.c_str());
}

void fill(const point_columns& from, t_icdata* records) {
    bool all_fit = true;
    for (std::size_t first = 0; first < from.rows; first += block) {
        const std::size_t last = std::min(first + block, from.rows);
        write_numbers(from.at(0), first, last, records, &t_icdata::d_x);
        write_numbers(from.at(1), first, last, records, &t_icdata::d_y);
        write_numbers(from.at(2), first, last, records, &t_icdata::d_val);
        if (from.at(3) != nullptr) {
            all_fit &= write_passes(*from.at(3), first, last, records);
        } else {
            for (std::size_t row = first; row < last; ++row) {
                records[row].i_passno = from.pass_of_all;
                records[row].i_reserved = 0;
            }
        }
    }
    if (!all_fit) refuse_passes(*from.at(3), from.rows);
}

std::size_t rows_of(nb::handle columns) {
    return point_columns(columns).rows;
}

void fill_records(nb::handle out, nb::handle columns) {
    const held_array target(out, true);
    const std::span<t_icdata> records = target.as<t_icdata>();
    const point_columns from(columns);
    if (from.rows != records.size()) throw nb::value_error("the records are of another length");
    fill(from, records.data());
}

// Columns of a dictionary under their usual names, where each is a plain array that is read as it is, or
// a column of passes that may be wanting; otherwise None, and somebody else has to look.
nb::object plain_columns(const nb::dict& data, const char* needed, std::int32_t pass_of_all) {
    const std::string_view needs = needed;
    static PyObject* const array =
        nb::object(nb::module_::import_("numpy").attr("ndarray")).release().ptr();
    static PyObject* const names[] = {
        PyUnicode_InternFromString("x"), PyUnicode_InternFromString("y"),
        PyUnicode_InternFromString("value"), PyUnicode_InternFromString("pass")};
    nb::object columns[4] = {nb::none(), nb::none(), nb::none(), nb::none()};
    for (int k = 0; k < 4; ++k) {
        constexpr std::string_view letters = "xyvp";
        const bool is_optional = k == 3 && needs.find('P') != needs.npos;
        if (!is_optional && needs.find(letters[static_cast<std::size_t>(k)]) == needs.npos)
            continue;
        PyObject* const found = PyDict_GetItemWithError(data.ptr(), names[k]);
        if (found == nullptr && PyErr_Occurred() != nullptr) throw nb::python_error();
        if (found == nullptr && is_optional) continue;
        if (found == nullptr || reinterpret_cast<PyObject*>(Py_TYPE(found)) != array ||
            !is_plain_column(found))
            return nb::none();
        columns[k] = nb::borrow(found);
    }
    return nb::make_tuple(columns[0], columns[1], columns[2], columns[3], pass_of_all);
}

bool is_position(const t_icdata& record) {
    return std::isfinite(record.d_x) && std::isfinite(record.d_y);
}
bool is_whole(double value) {
    return std::isnan(value) ||
           (value >= lowest_pass && value <= highest_pass && std::floor(value) == value);
}

[[noreturn]] void refuse(std::span<const t_icdata> records, const wanted_points& wanted) {
    for (std::size_t row = 0; row < records.size(); ++row) {
        const t_icdata& one = records[row];
        const std::string place = "row " + std::to_string(row) + " (the first is 0): ";
        if (wanted.positions && !is_position(one))
            throw nb::value_error((place + "the position (" + number_text(one.d_x) + ", " +
                                   number_text(one.d_y) + ") is not finite; leave the row out")
                                      .c_str());
        if (std::fabs(one.d_val) > wanted.largest_value)
            throw nb::value_error(
                (place + "the value " + number_text(one.d_val) +
                 " is too large for the 32-bit arithmetic of this analysis; leave the row out, "
                 "or give NaN where there is no value")
                    .c_str());
        if (wanted.whole_values && !is_whole(one.d_val))
            throw nb::value_error((place + "the value " + number_text(one.d_val) +
                                   " is no pass count, a whole number of 32 bits")
                                      .c_str());
    }
    throw nb::value_error("the records cannot be used");
}

#define QMX_FIELD(record, name) nb::make_tuple(#name, offsetof(record, name), sizeof(record::name))

// Sizes and offsets as the compiler saw them.
nb::dict layouts() {
    nb::dict all;
    all["t_icdata"] = nb::make_tuple(
        sizeof(t_icdata), nb::make_tuple(QMX_FIELD(t_icdata, d_x), QMX_FIELD(t_icdata, d_y),
                                         QMX_FIELD(t_icdata, d_val), QMX_FIELD(t_icdata, i_passno),
                                         QMX_FIELD(t_icdata, i_reserved)));
    all["t_statsout"] = nb::make_tuple(
        sizeof(t_statsout),
        nb::make_tuple(QMX_FIELD(t_statsout, i_flag_target), QMX_FIELD(t_statsout, i_target_met),
                       QMX_FIELD(t_statsout, i_numdata), QMX_FIELD(t_statsout, x_stat),
                       QMX_FIELD(t_statsout, i_numbins), QMX_FIELD(t_statsout, x_bin),
                       QMX_FIELD(t_statsout, x_freq), QMX_FIELD(t_statsout, x_cumfreq),
                       QMX_FIELD(t_statsout, x_target), QMX_FIELD(t_statsout, x_target_pct),
                       QMX_FIELD(t_statsout, x_achieved_pct), QMX_FIELD(t_statsout, x_pctlevel),
                       QMX_FIELD(t_statsout, x_pctvalue)));
    all["t_passbin"] =
        nb::make_tuple(sizeof(t_passbin), nb::make_tuple(QMX_FIELD(t_passbin, i_pass_lower),
                                                         QMX_FIELD(t_passbin, i_pass_upper)));
    all["t_binresult"] =
        nb::make_tuple(sizeof(t_binresult), nb::make_tuple(QMX_FIELD(t_binresult, x_coverage),
                                                           QMX_FIELD(t_binresult, x_compacted_area),
                                                           QMX_FIELD(t_binresult, x_plan_area)));
    return all;
}
#undef QMX_FIELD

} // namespace

point_source::point_source(nb::handle named) {
    if (!PyTuple_Check(named.ptr())) {
        held_.emplace(named);
        records_ = held_->as<const t_icdata>();
        return;
    }
    const point_columns from(named);
    made_.reset(new t_icdata[from.rows]); // written once, by fill
    fill(from, made_.get());
    records_ = {made_.get(), from.rows};
}

usable_points::usable_points(nb::handle named, const wanted_points& wanted)
    : source_(named), points_(source_.records()) {
    const std::span<const t_icdata> records = points_;
    if (records.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw nb::value_error("more than 2147483647 records");
    std::int64_t missing = 0;
    bool is_good = true;
    for (const t_icdata& one : records) {
        missing += one.d_val != one.d_val ? 1 : 0;
        is_good &= !(std::fabs(one.d_val) > wanted.largest_value);
    }
    if (wanted.positions)
        for (const t_icdata& one : records) is_good &= is_position(one);
    if (wanted.whole_values)
        for (const t_icdata& one : records) is_good &= is_whole(one.d_val);
    if (!is_good) refuse(records, wanted);
    missing_ = missing;
    if (missing == 0) return;
    kept_.reserve(records.size() - static_cast<std::size_t>(missing));
    std::copy_if(records.begin(), records.end(), std::back_inserter(kept_),
                 [](const t_icdata& one) { return one.d_val == one.d_val; });
    points_ = kept_;
}

void bind_records(nb::module_& module) {
    module.attr("layouts") = layouts();
    module.def("rows_of", &rows_of);
    module.def("fill_records", &fill_records);
    module.def("plain_columns", &plain_columns);
}

} // namespace qmx_python
