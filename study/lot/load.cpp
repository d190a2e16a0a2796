#include "study/lot/load.hpp"

#include <algorithm>
#include <utility>

namespace qmx_study {

opened_table open_table(const reading_options& options, progress& shown) {
    opened_table table;
    table.source = std::make_unique<table_source>(
        options.files(), options.layer, shown, text_layout{options.header_line, options.comment});
    table.survey = survey_rows(*table.source, missing_texts_of(options), decimal_of(options));
    return table;
}

loaded_lot read_table(opened_table table, const reading_options& options,
                      const reading_needs& needs, progress& shown,
                      const lot_conditions* conditions) {
    loaded_lot result{std::move(table), {}, false, 0, 0};
    result.data =
        read_lot(*result.table.source, result.table.survey, options, needs, shown, conditions);
    result.value_is_chosen = options.value.empty() && result.data.candidates.size() > 1;
    return result;
}

loaded_lot load(const reading_options& options, const reading_needs& needs, progress& shown,
                const lot_conditions* conditions) {
    return read_table(open_table(options, shown), options, needs, shown, conditions);
}

reading_account account_of(const loaded_lot& lot) {
    const table_source& source = lot.source();
    reading_account account;
    account.file = source.file;
    account.format = source.format;
    account.columns = source.columns.size();
    account.is_delimited = source.is_delimited;
    account.decimal = lot.data.decimal;
    account.x = lot.data.x;
    account.y = lot.data.y;
    account.value = lot.data.value;
    account.pass = lot.data.pass;
    if (lot.data.system) account.system = lot.data.system->name();
    account.is_projected = lot.data.is_projected;
    account.candidates = lot.data.candidates;
    for (const dropped_rows& rows : lot.data.dropped)
        account.dropped.push_back({rows, source.part(source.part_of(rows.first_record)).file,
                                   source.line_of(rows.first_record),
                                   source.place(rows.first_record)});
    account.stripped = lot.data.stripped;
    account.rows_read = lot.data.rows_read;
    account.rows_used = static_cast<std::int64_t>(lot.data.points.size());
    account.rows_dropped = lot.data.rows_dropped();
    account.rows_filtered = lot.data.rows_filtered;
    account.filters = lot.data.filters;
    account.without_position = lot.data.without_position;
    account.earlier_passes = lot.earlier_passes;
    account.left_without_position = lot.left_without_position;
    account.notes = lot.data.notes;
    auto point = lot.data.records.begin();
    for (const file_rows& rows : lot.data.files) {
        const auto end = std::upper_bound(point, lot.data.records.end(), rows.last);
        account.files.push_back({rows.file, rows.read, end - point, rows.dropped, rows.filtered});
        point = end;
    }
    return account;
}

} // namespace qmx_study
