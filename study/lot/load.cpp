#include "study/lot/load.hpp"

#include <algorithm>
#include <utility>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

void survey(opened_table& table, const reading_options& options) {
    table.survey = survey_rows(*table.source, missing_texts_of(options), decimal_of(options));
}

void read(loaded_lot& result, const reading_options& options, const reading_needs& needs,
          progress& shown, const lot_conditions* conditions) {
    result.data =
        read_lot(*result.table.source, result.table.survey, options, needs, shown, conditions);
    result.value_is_chosen = options.value.empty() && result.data.candidates.size() > 1;
}

std::unique_ptr<table_source> open_source(const reading_options& options, progress& shown,
                                          counting when) {
    return std::make_unique<table_source>(
        options.files(), options.layer, shown,
        text_layout{options.header_line, options.comment, options.is_careful},
        options.is_careful ? counting::first : when);
}

} // namespace

opened_table open_table(const reading_options& options, progress& shown) {
    opened_table table{open_source(options, shown, counting::first), {}};
    survey(table, options);
    return table; // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the table owns its source
}

loaded_lot read_table(opened_table table, const reading_options& options,
                      const reading_needs& needs, progress& shown,
                      const lot_conditions* conditions) {
    loaded_lot result{std::move(table), {}, false, 0, 0};
    read(result, options, needs, shown, conditions);
    return result;
}

// The records are counted as they are read: a text is gone through once. What is wrong with the text is
// told before anything else that is wrong, as where it is counted first.
loaded_lot load(const reading_options& options, const reading_needs& needs, progress& shown,
                const lot_conditions* conditions) {
    loaded_lot result;
    result.table.source = open_source(options, shown, counting::while_reading);
    try {
        survey(result.table, options);
        read(result, options, needs, shown, conditions);
    } catch (const usage_error&) {
        result.table.source->count_now(shown);
        throw;
    }
    return result;
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
