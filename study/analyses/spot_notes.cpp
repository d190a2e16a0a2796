#include "study/analyses/spot_notes.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace qmx_study {

namespace {

constexpr std::size_t names_in_a_note = 20;

std::string names_where(const spots_answer& answer, bool (*holds)(const spot_row&)) {
    std::string names;
    std::size_t count = 0;
    for (const spot_row& spot : answer.spots) {
        if (!holds(spot)) continue;
        if (++count <= names_in_a_note) names += (count == 1 ? "" : ", ") + spot.name;
    }
    if (count > names_in_a_note) names += fmt::format(" and {} more", count - names_in_a_note);
    return names;
}

void note_line(spots_answer& answer) {
    const spot_line& line = *answer.line;
    const auto note = [&](std::string text) { answer.notes.push_back(std::move(text)); };
    if (line.pairs < answer.least_pairs)
        note(fmt::format("The line rests on {} pairs only; {} or more are wanted.", line.pairs,
                         answer.least_pairs));
    if (std::isnan(line.r) || std::isnan(line.statistics.p)) {
        note("The spot values, or the IC means, do not vary: there is no line to speak of.");
        return;
    }
    if (line.slope < 0)
        note("The slope is negative: where the spot tests read more, the roller reads less.");
    if (!(line.r >= answer.least_correlation))
        note(fmt::format("r is {:.3f}, below {}: the cloud does not support a line.", line.r,
                         answer.least_correlation));
    if (line.statistics.p > most_probable_chance)
        note(fmt::format("A slope of this size may be chance (p {:.2f}).", line.statistics.p));
}

std::string remark(const spot_row& spot, const std::string& unit) {
    switch (spot.state) {
    case spot_state::in_line:
        return spot.has_stale_mean ? "one IC value: the line was given another mean" : "";
    case spot_state::too_few:
        return spot.count == 1 ? "not in the line: one IC value only"
                               : fmt::format("not in the line: {} IC values only", spot.count);
    case spot_state::no_line: return "";
    case spot_state::none_in_circle:
        return std::isnan(spot.nearest)
                   ? std::string("no IC data in the circle")
                   : fmt::format("no IC data in the circle; the nearest lies {:.3g}{} away",
                                 spot.nearest, unit.empty() ? "" : " " + unit);
    case spot_state::none_of_pass:
        return fmt::format("no IC data of pass {}; {} of other passes in the circle",
                           spot.test.i_passno, spot.of_other_passes);
    }
    return {};
}

} // namespace

void explain_failure(spots_answer& answer) {
    if (!answer.failure.event) return;
    std::string& text = answer.failure.explanation;
    const auto with_data = std::count_if(answer.spots.begin(), answer.spots.end(),
                                         [](const spot_row& spot) { return spot.count > 0; });
    const auto enough =
        std::count_if(answer.spots.begin(), answer.spots.end(), [&](const spot_row& spot) {
            return spot.count >= std::max(answer.least_values, 1);
        });
    text = fmt::format("IC data lie round {} of {} spot tests", with_data, answer.spots.size());
    if (enough < with_data)
        text += fmt::format(", {} values or more round {}", answer.least_values, enough);
    text += "; a line takes 3.";
}

void add_remarks(spots_answer& answer) {
    for (spot_row& spot : answer.spots) spot.remark = remark(spot, answer.reading.x.unit);
}

void add_notes(spots_answer& answer) {
    if (answer.line) note_line(answer);
    const auto list = [&](bool (*holds)(const spot_row&), const char* text) {
        if (const std::string names = names_where(answer, holds); !names.empty())
            answer.notes.push_back(fmt::format(fmt::runtime(text), names));
    };
    list([](const spot_row& spot) { return spot.has_stale_mean; },
         "The line is WRONG for tests with a single IC value: for these the library takes the mean "
         "of another test. They are: {}. --min-ic 2 keeps them out.");
    list([](const spot_row& spot) { return spot.state == spot_state::too_few; },
         "Not in the line, for too few IC values (--min-ic): {}.");
    list([](const spot_row& spot) { return spot.state == spot_state::none_in_circle; },
         "Without IC data in the circle: {}. A larger --radius may reach some.");
    list([](const spot_row& spot) { return spot.state == spot_state::none_of_pass; },
         "Without IC data of their pass: {}. --any-pass matches tests with all passes.");
}

} // namespace qmx_study
