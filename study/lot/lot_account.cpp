#include "study/lot/lot_account.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

void note_texts(lot& points, const table_source& source, const row_survey& survey) {
    const bool is_alone = source.part_count() == 1;
    for (std::size_t k = 0; k < source.part_count(); ++k)
        for (const std::string& note : source.part(k).lines.notes)
            points.notes.push_back(is_alone ? note
                                            : fmt::format("{}: {}", source.part(k).file, note));
    for (std::size_t k = 1; k < source.part_count(); ++k)
        if (const char mark = survey.files[k].style.decimal; mark != points.decimal)
            points.notes.push_back(fmt::format("{} is written with a decimal {}, unlike {}",
                                               source.part(k).file, mark == ',' ? "comma" : "point",
                                               source.part(0).file));
}

void account_for_files(lot& points, const table_source& source, const rows_by_file& counted) {
    std::int64_t before = 0;
    auto point = points.records.begin();
    for (std::size_t k = 0; k < source.part_count(); ++k) {
        file_rows rows;
        rows.file = source.part(k).file;
        rows.first = before + 1;
        rows.last = before += source.part(k).record();
        const auto end = std::upper_bound(point, points.records.end(), rows.last);
        if (k < counted.filtered.size()) rows.filtered = counted.filtered[k];
        rows.read = rows.last - rows.first + 1;
        if (k < counted.further.size()) rows.read += counted.further[k];
        rows.dropped = rows.read - rows.filtered - (end - point);
        points.files.push_back(std::move(rows));
        point = end;
    }
}

void refuse_empty(const lot& points, const table_source& source, const std::string& where,
                  std::int64_t left_out_by_where) {
    std::string message =
        fmt::format("{}: no row is left of {} read", source.file, points.rows_read);
    if (left_out_by_where > 0)
        message += fmt::format("\n  {} left out by --where \"{}\"", left_out_by_where, where);
    for (const filtered_rows& filter : points.filters)
        if (filter.rows > 0 && filter.what != "where")
            message += fmt::format("\n  {} left out by the filter {}: {}", filter.rows, filter.what,
                                   filter.text);
    for (const dropped_rows& reason : points.dropped) {
        message += fmt::format("\n  {} dropped: {}, first on {}", reason.count, reason.text,
                               source.place(reason.first_record));
        if (!reason.value.empty()) message += fmt::format(" (\"{}\")", reason.value);
    }
    message += "\n  name other columns with --x, --y, --value, or change --where, --missing or "
               "--decimal; `qmx-ic columns` shows what was recognised";
    throw usage_error(message);
}

} // namespace qmx_study
