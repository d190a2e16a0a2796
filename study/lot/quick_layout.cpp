#include "study/lot/quick_layout.hpp"

#include <algorithm>
#include <limits>

namespace qmx_study {

namespace {

field_rule rule_of(column_content content) {
    switch (content) {
    case column_content::numbers: return field_rule::numeric;
    case column_content::text: return field_rule::text;
    case column_content::labelled_numbers: return field_rule::label;
    case column_content::unknown: break;
    }
    return field_rule::any;
}

class layout_maker {
public:
    layout_maker(table_source& from, const file_survey& learned)
        : source(from), survey(learned), file(from.present_part()) {
        made.separator = file.lines.separator;
        made.comment = file.text_ahead().comment;
        made.style = survey.style;
        made.least_fields = static_cast<std::size_t>(least_fields(file.lines));
        for (const surveyed_column& column : survey.columns)
            made.columns.push_back({rule_of(column.content), 0});
    }

    // The place of the numbers of a column; -1 where there is none, and then no row is plain.
    int ask_for(int column, const plain_number& wanted) {
        const int own = column < 0 ? -1 : source.own_column(source.part_index(), column);
        if (own < 0) return refuse();
        const auto at = static_cast<std::size_t>(own);
        const surveyed_column& known = survey.columns[at];
        plain_column& asked = made.columns[at];
        made.least_fields = std::max(made.least_fields, at + 1);
        if (asked.rule == field_rule::number) { // for something else too
            plain_number& both = made.numbers[asked.place];
            both.may_be_missing = both.may_be_missing && wanted.may_be_missing;
            both.is_whole = both.is_whole || wanted.is_whole;
            both.most = std::min(both.most, wanted.most);
            return static_cast<int>(asked.place);
        }
        if (asked.rule == field_rule::text || asked.rule == field_rule::label) return refuse();
        plain_number number = wanted;
        constexpr double below_huge_codes = 9.8e37;
        if (known.has_usual_numbers) number.most = std::min(number.most, below_huge_codes);
        number.codes = survey.style.missing_numbers;
        number.codes.insert(number.codes.end(), known.missing_codes.begin(),
                            known.missing_codes.end());
        std::sort(number.codes.begin(), number.codes.end());
        asked = {field_rule::number, static_cast<std::uint32_t>(made.numbers.size())};
        made.numbers.push_back(std::move(number));
        return static_cast<int>(asked.place);
    }

    bool is_possible() const { return !is_refused && !made.numbers.empty() && can_be_plain(made); }
    plain_layout&& layout() { return std::move(made); }

private:
    table_source& source;
    const file_survey& survey;
    table_file& file;
    plain_layout made;
    bool is_refused = false;

    int refuse() {
        is_refused = true;
        return -1;
    }
};

} // namespace

std::optional<quick_layout> quick_layout_of(table_source& source, const row_survey& survey,
                                            const quick_demands& demands) {
    constexpr double largest_pass = std::numeric_limits<std::int32_t>::max();
    const column_choice& choice = demands.choice;
    if (!source.is_delimited || choice.from_geometry) return {};
    layout_maker maker(source, survey.files[source.part_index()]);
    number_places places;
    if (choice.x.found()) {
        places.x = maker.ask_for(choice.x.index, {false, false, demands.most_x, {}});
        places.y = maker.ask_for(choice.y.index, {false, false, demands.most_y, {}});
    }
    if (demands.reads_pass)
        places.pass = maker.ask_for(choice.pass.index, {false, true, largest_pass, {}});
    for (const used_column& value : choice.values)
        places.values.push_back(
            maker.ask_for(value.index, {true, false, std::numeric_limits<double>::max(), {}}));
    if (!maker.is_possible()) return {};
    return quick_layout{maker.layout(), std::move(places)};
}

} // namespace qmx_study
