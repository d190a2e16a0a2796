#include "study/lot/lot_reader.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/value_text.hpp"
#include "study/lot/column_choice.hpp"
#include "study/lot/field_reader.hpp"
#include "study/lot/kept_points.hpp"
#include "study/lot/lot_account.hpp"
#include "study/lot/lot_positions.hpp"
#include "study/lot/plain_points.hpp"
#include "study/lot/position_reader.hpp"
#include "study/lot/quick_layout.hpp"
#include "study/lot/row_conditions.hpp"
#include "study/lot/row_screen.hpp"
#include "study/table/plain_reading.hpp"

namespace qmx_study {

namespace {

constexpr std::int64_t rows_between_notes = 4096;

class lot_builder {
public:
    // kept: the candidate whose values the points get.
    lot_builder(table_source& from, const row_survey& learned, const reading_options& chosen,
                const reading_needs& wanted, progress& on_terminal, const lot_conditions* further,
                std::optional<std::size_t> candidate)
        : source(from), survey(learned), options(chosen), needs(wanted), shown(on_terminal),
          screen(source, survey, options.where),
          choice(choose_columns(source, survey, options, needs)),
          position(source, choice, needs, survey), pass(choice.pass, "pass", survey) {
        if (further) conditions.emplace(*further, source, survey);
        if (further) values_in_use = further->filters.value;
        if (needs.traits) traits.emplace(source, survey, *needs.traits);
        for (const used_column& column : choice.values)
            values.push_back({field_reader(column, "value", survey), {}, not_there, 0});
        kept_value = candidate.value_or(likely_value(choice, survey));
        counts_of_value.resize(values.size());
        result.decimal = survey.files.front().style.decimal;
        note_texts(result, source, survey);
        reads_pass = choice.pass.found() && needs.pass != need::unused && !needs.value_is_pass;
    }

    // Reads all rows. Returns the candidate that the points should have got, where it is another one.
    std::optional<std::size_t> read() {
        if (source.rows > 0) {
            // The lines of a text were counted; of other formats it is the file that promises so many.
            constexpr std::int64_t most_on_trust = 1 << 20;
            result.points.reserve(static_cast<std::size_t>(
                source.is_delimited ? source.rows : std::min(source.rows, most_on_trust)));
        }
        source.rewind_for(columns_asked_for(), choice.from_geometry);
        source.count_while_reading();
        do {
            read_part();
        } while (source.go_on_to_next_part());
        source.take_counts();
        const value_column* const best = best_value();
        if (!best || best == &values[kept_value]) return {};
        return static_cast<std::size_t>(best - values.data());
    }

    lot settled() {
        if (!source.is_delimited && source.rows > source.record())
            result.notes.push_back(fmt::format(
                "{} promises {} records and holds {}: some were deleted in it, or it is damaged.",
                source.file, source.rows, source.record()));
        result.rows_read = source.record() + further_points;
        settle_value();
        settle_filters();
        settle_columns();
        result.dropped = std::move(drops.rows);
        std::stable_sort(result.dropped.begin(), result.dropped.end(),
                         [](const auto& a, const auto& b) { return a.count > b.count; });
        account_for_files(result, source, by_file);
        if (result.points.empty() && !needs.allow_empty)
            refuse_empty(result, source, options.where, left_out_by_where);
        if (result.points.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max()))
            throw usage_error(
                fmt::format("{}: {} points are more than one analysis takes (2^31 - 1); "
                            "divide the file or use --where",
                            source.file, result.points.size()));
        return std::move(result);
    }

private:
    table_source& source;
    const row_survey& survey;
    const reading_options& options;
    const reading_needs& needs;
    progress& shown;
    row_screen screen;
    std::optional<row_conditions> conditions;
    column_choice choice;
    position_reader position;
    field_reader pass;
    std::vector<value_column> values;
    std::size_t kept_value = 0;
    // Which value is taken shows at the end: traits are counted for the rows that have all of them,
    // and for each value those of the others.
    std::optional<trait_reader> traits;
    number_range values_in_use;
    trait_counts counts_of_full_rows;
    std::vector<trait_counts> counts_of_value;
    drop_counter drops;
    lot result;
    bool reads_pass = false;
    std::int64_t further_points = 0; // of records with several
    std::int64_t left_out_by_where = 0;
    rows_by_file by_file;

    std::vector<int> columns_asked_for() const {
        std::vector<int> columns = screen.columns();
        if (conditions)
            for (const int column : conditions->columns()) columns.push_back(column);
        for (const field_reader* reader : {&position.x, &position.y, &pass})
            columns.push_back(reader->column.index);
        for (const value_column& column : values) columns.push_back(column.reader.column.index);
        if (traits)
            for (const int column : columns_of(traits->columns())) columns.push_back(column);
        return columns;
    }

    void read_part() {
        if (const std::optional<quick_layout> quick = layout_of_part()) {
            read_rows(source.present_part(), quick->rows, options.threads,
                      {[&](const double* numbers, std::int64_t rows) {
                           take_plain(numbers, rows, *quick);
                       },
                       [&] { take_row(); }, [&](double share) { note_share(share); }});
            return;
        }
        while (source.next_of_part()) {
            if (source.record() % rows_between_notes == 0) {
                if (source.rows > 0)
                    shown.note(fmt::format("reading {}", source.file),
                               static_cast<double>(source.record()),
                               static_cast<double>(source.rows));
                else
                    note_share(source.present_part().share_read());
            }
            take_row();
        }
    }

    // Where each row has to be looked at: nothing.
    std::optional<quick_layout> layout_of_part() {
        const bool has_conditions = conditions && !conditions->columns().empty();
        if (options.is_careful || !options.where.empty() || has_conditions || traits) return {};
        return quick_layout_of(source, survey,
                               {choice, reads_pass, position.most_x(), position.most_y()});
    }

    void take_plain(const double* numbers, std::int64_t rows, const quick_layout& quick) {
        const std::int64_t first = source.record() - rows + 1;
        const std::size_t width = quick.rows.numbers.size();
        append_plain_points(result, {numbers, rows, width, first}, quick.places,
                            values.empty() ? -1 : quick.places.values[kept_value],
                            needs.mark_missing_passes ? no_pass : 0);
        for (std::size_t k = 0; k < values.size(); ++k)
            take_plain_values(values[k], {numbers, rows, width, first}, quick.places.values[k]);
    }

    // How many rows there will be, by the share of the file that was read.
    void note_share(double share) {
        shown.note(fmt::format("reading {}", source.file), share, 1);
        if (source.rows >= 0 || !(share > 0)) return;
        constexpr std::size_t fewest = 4096; // that tell it well enough
        const std::size_t rows = result.points.size();
        const double expected = static_cast<double>(rows) / share;
        if (rows < fewest || expected <= static_cast<double>(result.points.capacity())) return;
        constexpr double margin = 1.02; // the memory is taken only as it is filled
        result.points.reserve(static_cast<std::size_t>(margin * expected));
    }

    void count_filtered(std::size_t file) {
        ++result.rows_filtered;
        by_file.filtered.resize(source.part_count());
        ++by_file.filtered[file];
    }

    void count_further_point() {
        ++further_points;
        by_file.further.resize(source.part_count());
        ++by_file.further[source.part_index()];
    }

    void add_point(const t_icdata& point) {
        for (value_column& column : values) column.take(source);
        result.points.push_back(point);
        if (!values.empty()) result.points.back().d_val = values[kept_value].now;
        result.records.push_back(source.record());
        if (traits) count_traits();
    }

    void count_traits() {
        traits->read();
        const auto has_value = [&](const value_column& column) {
            const double value = column.now;
            return !std::isnan(value) && !(value < values_in_use.least.value_or(value)) &&
                   !(value > values_in_use.most.value_or(value));
        };
        if (std::all_of(values.begin(), values.end(), has_value)) {
            traits->count(counts_of_full_rows);
            return;
        }
        for (std::size_t k = 0; k < values.size(); ++k)
            if (has_value(values[k])) traits->count(counts_of_value[k]);
    }

    bool read_pass(t_icdata& point) {
        point.i_passno = needs.mark_missing_passes ? no_pass : 0;
        if (!reads_pass) return true;
        drop_counter unwanted;
        const bool may_lack = needs.pass == need::taken;
        drop_counter& counter = may_lack ? unwanted : drops;
        const double number = pass.read(source, counter);
        if (number == std::floor(number) &&
            std::fabs(number) <= std::numeric_limits<int32_t>::max()) {
            point.i_passno = static_cast<int32_t>(number);
            return true;
        }
        if (!std::isnan(number))
            counter.add("", "pass_not_whole", choice.pass.name, " is not a whole number",
                        source.record(), choice.pass.name,
                        example_text(trimmed(source.text(choice.pass.index))));
        return may_lack;
    }

    void take_row() {
        const row_state state = screen.look(drops);
        if (state == row_state::filtered) {
            ++left_out_by_where;
            count_filtered(source.part_index());
        }
        if (state != row_state::taken) return;
        if (conditions && !conditions->hold(source)) return count_filtered(source.part_index());
        t_icdata point{};
        if (!position.read(point, drops) || !read_pass(point)) return;
        point.d_val = not_there;
        add_point(point);
        position.for_further_points(
            point, drops, [&] { count_further_point(); },
            [&](const t_icdata& further) { add_point(further); });
    }

    // The first candidate that is filled in at least half of the rows; if there is none, the one with
    // the most values.
    value_column* best_value() {
        if (values.empty()) return nullptr;
        const auto rows = static_cast<std::int64_t>(result.points.size());
        for (value_column& column : values)
            if (2 * column.filled >= rows && column.filled > 0) return &column;
        return &*std::max_element(values.begin(), values.end(),
                                  [](const auto& a, const auto& b) { return a.filled < b.filled; });
    }

    void settle_traits(const value_column* best) {
        if (!traits) return;
        if (best)
            counts_of_full_rows.add(
                counts_of_value[static_cast<std::size_t>(best - values.data())]);
        result.traits = traits->summary(counts_of_full_rows);
    }

    bool stays(double value, bool may_lack, std::size_t place) {
        if (std::isnan(value) && !may_lack) {
            if (!needs.keep_rows_without_value || values_in_use.is_given()) return false;
            ++result.without_value;
        } else if (conditions && !conditions->hold_for(value)) {
            count_filtered(source.part_of(result.records[place]));
            return false;
        }
        return true;
    }

    void settle_value() {
        value_column* const best = best_value();
        settle_traits(best);
        if (!best) return;
        for (const value_column& column : values)
            result.candidates.push_back(
                {column.reader.column.name, column.reader.column.unit, column.filled});
        const auto rows = static_cast<std::int64_t>(result.points.size());
        if (values.size() > 1) {
            best->reader.column.why =
                "the first by name that is filled in at least half of the rows";
            if (2 * best->filled < rows) {
                best->reader.column.why = "the fullest of the columns found by name";
                result.notes.push_back(
                    fmt::format("no measured value fills half of the rows; {} fills {} of {}",
                                best->reader.column.name, best->filled, rows));
            }
        }
        result.value = best->reader.column;
        if (result.value.unit.empty() && best->reader.stripped.is_unit)
            result.value.unit = best->reader.stripped.text;
        const bool may_lack = needs.value == need::taken && !needs.keep_rows_without_value;
        kept_points kept(result);
        std::size_t first = 0; // of those that stay
        for (std::size_t i = 0; i < result.points.size(); ++i) {
            if (stays(result.points[i].d_val, may_lack, i)) continue;
            kept.keep(first, i);
            first = i + 1;
        }
        kept.keep(first, result.points.size());
        kept.settle();
        if (!may_lack)
            for (dropped_rows& reason : best->drops.rows) drops.rows.push_back(std::move(reason));
        if (best->reader.stripped.count > 0) result.stripped.push_back(best->reader.stripped);
        values.clear();
    }

    void settle_filters() {
        if (!options.where.empty())
            result.filters.push_back({"where", options.where, left_out_by_where, 0});
        if (!conditions) return;
        conditions->refuse_without(result.value);
        for (const filtered_rows& each : conditions->accounts()) result.filters.push_back(each);
    }

    void settle_columns() {
        result.x = position.x.column;
        result.y = position.y.column;
        result.pass = pass.column;
        result.is_geographic = choice.is_geographic;
        for (const field_reader* reader : {&position.x, &position.y, &pass})
            if (reader->stripped.count > 0) result.stripped.push_back(reader->stripped);
        if (further_points > 0)
            result.notes.push_back(
                fmt::format("{} points are further ones of records with several; each counts as a "
                            "row with the value of its record",
                            further_points));
        if (choice.from_geometry) result.system = source.reference();
        if (needs.are_pairs) return;
        settle_positions(result, source, options, needs, drops);
    }
};

} // namespace

std::int64_t lot::rows_dropped() const {
    std::int64_t count = 0;
    for (const dropped_rows& reason : dropped) count += reason.count;
    return count;
}

lot read_lot(table_source& source, const row_survey& survey, const reading_options& options,
             const reading_needs& needs, progress& shown, const lot_conditions* conditions) {
    std::optional<std::size_t> candidate;
    for (;;) {
        lot_builder builder(source, survey, options, needs, shown, conditions, candidate);
        candidate = builder.read();
        if (candidate) continue; // the rows are not like the first ones: once more for its values
        lot result = builder.settled();
        shown.clear();
        return result;
    }
}

void leave_out_rows_without_value(lot& points) {
    if (points.without_value == 0) return;
    std::size_t kept = 0;
    record_numbers kept_records;
    auto file = points.files.begin();
    auto record = points.records.begin();
    for (std::size_t i = 0; i < points.points.size(); ++i, ++record) {
        if (std::isnan(points.points[i].d_val)) {
            while (*record > file->last) ++file;
            ++file->dropped;
            points.without_position -= std::isnan(points.points[i].d_x);
            continue;
        }
        points.points[kept++] = points.points[i];
        kept_records.push_back(*record);
    }
    points.points.resize(kept);
    points.records = std::move(kept_records);
    points.without_value = 0;
}

char decimal_of(const reading_options& options) {
    if (options.decimal == "point") return '.';
    return options.decimal == "comma" ? ',' : '\0';
}

std::vector<std::string> missing_texts_of(const reading_options& options) {
    std::vector<std::string> texts = default_missing_texts();
    texts.insert(texts.end(), options.missing.begin(), options.missing.end());
    return texts;
}

} // namespace qmx_study
