#include "study/lot/row_screen.hpp"

#include <fmt/format.h>

namespace qmx_study {

row_screen::row_screen(const table_source& from, const row_survey& learned,
                       const std::string& where)
    : source(from), survey(learned), filter(where, source, survey) {}

bool row_screen::has_sound_fields(drop_counter& drops) {
    if (file != source.part_index()) {
        file = source.part_index();
        next_odd = 0;
    }
    const table_file& now = source.part();
    const std::int64_t record = source.record();
    const std::vector<odd_record>& odd = now.lines.odd;
    if (next_odd < odd.size() && odd[next_odd].record == now.record()) {
        const int fields = odd[next_odd++].fields;
        const bool few = fields < now.lines.head_fields;
        drops.add("", few ? "too_few_fields" : "too_many_fields", "the line has ",
                  few ? "too few fields" : "too many fields", record, {},
                  fmt::format("{} fields, not {}", fields, now.lines.head_fields));
        return false;
    }
    const int count = static_cast<int>(now.columns.size());
    int column = 0;
    while (column < count && trimmed(now.text(column)).empty()) ++column;
    if (column == count) {
        drops.add("empty_row", "all fields are empty", record);
        return false;
    }
    if (survey.is_out_of_place(source)) {
        drops.add("fields_out_of_place",
                  "the fields do not stand under their columns (one is lacking or too many)",
                  record);
        return false;
    }
    return true;
}

row_state row_screen::look(drop_counter& drops) {
    if (source.is_delimited && !has_sound_fields(drops)) return row_state::dropped;
    return filter.passes(source) ? row_state::taken : row_state::filtered;
}

} // namespace qmx_study
