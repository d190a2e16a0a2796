#include "records.hpp"

#include "arrays.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

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

struct optional_column {
    std::unique_ptr<number_column> held;
    optional_column(nb::handle array, std::size_t rows) {
        if (array.is_none()) return;
        held = std::make_unique<number_column>(array);
        if (held->memory.rows() != rows) throw nb::value_error("the columns differ in length");
    }
    const number_column* get() const { return held.get(); }
};

// The first row whose pass is no whole number of 32 bits, or -1.
std::int64_t fill_records(nb::handle out, nb::handle x, nb::handle y, nb::handle value,
                          nb::handle pass, std::int32_t pass_of_all) {
    const held_array target(out, true);
    const std::span<t_icdata> records = target.as<t_icdata>();
    const std::size_t rows = records.size();
    const optional_column columns[] = {{x, rows}, {y, rows}, {value, rows}, {pass, rows}};
    bool all_fit = true;
    for (std::size_t first = 0; first < rows; first += block) {
        const std::size_t last = std::min(first + block, rows);
        write_numbers(columns[0].get(), first, last, records.data(), &t_icdata::d_x);
        write_numbers(columns[1].get(), first, last, records.data(), &t_icdata::d_y);
        write_numbers(columns[2].get(), first, last, records.data(), &t_icdata::d_val);
        if (columns[3].get() != nullptr) {
            all_fit &= write_passes(*columns[3].get(), first, last, records.data());
        } else {
            for (std::size_t row = first; row < last; ++row) {
                records[row].i_passno = pass_of_all;
                records[row].i_reserved = 0;
            }
        }
    }
    if (all_fit) return -1;
    std::int64_t bad = -1;
    for_each_number(*columns[3].get(), 0, rows, [&](std::size_t row, auto number) {
        if (bad < 0 && !is_pass(number)) bad = static_cast<std::int64_t>(row);
    });
    return bad;
}

std::string number_text(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", number);
    for (int digits = 1; digits < 17; ++digits) {
        char shorter[40];
        std::snprintf(shorter, sizeof shorter, "%.*g", digits, number);
        if (std::strtod(shorter, nullptr) == number) return shorter;
    }
    return text;
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

template <class Record> nb::tuple field(const char* name, std::size_t offset, std::size_t size) {
    return nb::make_tuple(name, offset, size);
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

usable_points::usable_points(std::span<const t_icdata> records, const wanted_points& wanted)
    : points_(records) {
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
    module.def("fill_records", &fill_records, nb::arg("out"), nb::arg("x").none(),
               nb::arg("y").none(), nb::arg("value").none(), nb::arg("pass_").none(),
               nb::arg("pass_of_all"));
}

} // namespace qmx_python
