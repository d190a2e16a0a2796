#include "study/analyses/polygon_filter.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/analyses/area_selection.hpp"
#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

// Of the file of a record.
void count_out(lot& data, std::int64_t record, std::int64_t file_rows::*fate) {
    const auto file = std::find_if(data.files.begin(), data.files.end(),
                                   [&](const file_rows& rows) { return record <= rows.last; });
    if (file != data.files.end()) ++((*file).*fate);
}

} // namespace

void keep_points_inside(loaded_lot& lot, const std::string& polygon_file) {
    struct lot& data = lot.data;
    if (!data.has_positions())
        throw usage_error(fmt::format("{}: the filter polygon ({}) needs positions, and no columns "
                                      "of them were recognised; name them with --x and --y",
                                      lot.source().file, polygon_file),
                          {"--x", lot.source().file, 0, {}});
    polygon_set polygons = read_polygons(polygon_file, {});
    const std::string assumed = align(polygons, data);
    const positions at = positions_of(data);
    const std::vector<bool> inside = points_inside(polygons, at.x, at.y);
    filtered_rows account{"polygon", polygon_file, 0, 0};
    std::size_t kept = 0;
    record_numbers kept_records;
    std::int64_t without_position = 0;
    auto record = data.records.begin();
    for (std::size_t i = 0; i < data.points.size(); ++i, ++record) {
        if (inside[i]) {
            data.points[kept++] = data.points[i];
            kept_records.push_back(*record);
            continue;
        }
        const bool is_lacking = std::isnan(at.x[i]) || std::isnan(at.y[i]);
        without_position += is_lacking;
        if (data.without_value > 0 && std::isnan(data.points[i].d_val)) {
            --data.without_value; // it was kept though it is dropped for that
            count_out(data, *record, &file_rows::dropped);
            continue;
        }
        ++account.rows;
        account.lacking += is_lacking;
        ++data.rows_filtered;
        count_out(data, *record, &file_rows::filtered);
    }
    data.points.resize(kept);
    data.records = std::move(kept_records);
    data.without_position -= std::min(data.without_position, without_position);
    if (!assumed.empty()) data.notes.push_back(fmt::format("filter {}{}", polygon_file, assumed));
    data.filters.push_back(account);
    if (kept == 0)
        throw usage_error(
            fmt::format("{}: no row is left: none of {} points lies in the polygons of "
                        "{}",
                        lot.source().file, inside.size(), polygon_file),
            {{}, polygon_file, 0, {}});
}

} // namespace qmx_study
