#include "study/lot/trait_columns.hpp"

#include <algorithm>
#include <span>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/base/time_text.hpp"
#include "study/lot/column_names.hpp"

namespace qmx_study {

namespace {

// Names of columns of each trait, those taken first in front.
constexpr std::array<std::string_view, every_trait.size()> known_names{
    "time timestamp datetime dateandtime timeutc utctime utc gpstime localtime timelocal "
    "zeit zeitstempel zeitpunkt uhrzeit timeofday date datum",
    "machine machineid machinename machineno roller rollerid rollername rollerno vehicle "
    "vehicleid compactor compactorid maschine maschinenid walze walzenid",
    "lift liftno liftnumber liftid liftnr layer layerno layernumber layerid layernr lage "
    "lagenr schicht schichtnr",
    "speed machinespeed rollerspeed groundspeed drivingspeed velocity geschwindigkeit",
    "direction drivingdirection drivedirection traveldirection machinedirection "
    "machinegear gear fahrtrichtung richtung",
    "vibestate vibrationstate vibstate vibration vibrationon vibeon vibon vibe vib "
    "vibratory vibrating vibrationstatus",
    "frequency freq vibrationfrequency vibefrequency vibefreq vibfreq drumfrequency "
    "frequenz",
    "amplitude amp vibrationamplitude vibeamplitude vibeamp vibamp drumamplitude",
    "temperature temp mattemperature mattemp surfacetemperature surfacetemp "
    "asphalttemperature asphalttemp materialtemperature materialtemp temperatur"};
constexpr std::string_view names_of_dates = "date datum gpsdate localdate utcdate";

std::vector<std::string_view> words_of(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

// "Time_s" counts seconds: no time of the clock.
bool may_be(bool is_clock, const source_column& column) {
    return !is_clock || meaning_of_name(column.name).unit.empty();
}

int column_by_name(const table_source& source, std::string_view names, bool is_clock) {
    const std::vector<std::string_view> list = words_of(names);
    int best = -1;
    int least = static_cast<int>(list.size());
    for (std::size_t i = 0; i < source.columns.size(); ++i) {
        const int rank = rank_of_name(source.columns[i].name, list);
        if (rank < 0 || rank >= least || !may_be(is_clock, source.columns[i])) continue;
        least = rank;
        best = static_cast<int>(i);
    }
    return best;
}

bool is_one_of(std::string_view text, std::span<const std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return same_text(word, text); });
}

// "22.1Hz" or "1": the number in front.
std::optional<double> number_in_front(std::string_view text) {
    const text_value field = read_text_value(text, number_style{});
    if (field.kind != text_kind::number && field.kind != text_kind::unit_number) return {};
    return field.value;
}

} // namespace

const char* name_of(trait which) {
    constexpr std::array names{"time",      "machine",   "lift",      "speed",      "direction",
                               "vibration", "frequency", "amplitude", "temperature"};
    static_assert(names.size() == every_trait.size());
    return names[static_cast<std::size_t>(which)];
}

trait_columns traits_of(const table_source& source, const trait_names& named) {
    trait_columns result{};
    for (const trait which : every_trait) {
        int& column = result.columns[static_cast<std::size_t>(which)];
        if (named[which].empty()) {
            column = column_by_name(source, known_names[static_cast<std::size_t>(which)],
                                    which == trait::time);
            continue;
        }
        column = source.column_chosen(named[which]);
        if (column < 0)
            throw usage_error(fmt::format("{}: the column named for the {} is \"{}\", which is not "
                                          "there\n  its columns are: {}",
                                          source.file, name_of(which), named[which],
                                          source.column_list()),
                              {{}, source.file, 0, named[which]});
    }
    const int date = column_by_name(source, names_of_dates, true);
    if (result[trait::time] >= 0 && date != result[trait::time]) result.date = date;
    return result;
}

std::vector<int> columns_of(const trait_columns& traits) {
    std::vector<int> columns;
    for (const int column : traits.columns)
        if (column >= 0) columns.push_back(column);
    if (traits.date >= 0) columns.push_back(traits.date);
    return columns;
}

std::optional<std::int64_t> time_of(const table_source& row, const trait_columns& traits) {
    if (traits[trait::time] < 0) return {};
    const std::string_view text = trimmed(row.text(traits[trait::time]));
    if (text.empty()) return {};
    const std::optional<std::int64_t> whole = read_time(text);
    if (whole || traits.date < 0) return whole;
    const std::string of_day(text); // the next column may be read into the same place
    // A typed format writes a date with a time of day at midnight behind it.
    const std::string_view date = trimmed(row.text(traits.date));
    const std::optional<std::int64_t> day = read_time(date);
    constexpr std::int64_t milliseconds_of_a_day = 86'400'000;
    if (!day || *day % milliseconds_of_a_day != 0) return {};
    return read_time(fmt::format("{} {}", time_text(*day).substr(0, 10), of_day));
}

std::optional<vibration_state> vibration_of(std::string_view text) {
    constexpr std::string_view on[] = {"on",   "true", "yes", "y",   "t",  "vibrating", "vibration",
                                       "high", "low",  "an",  "ein", "ja", "active",    "dynamic"};
    constexpr std::string_view off[] = {"off",    "false", "no",  "n",    "f",
                                        "static", "none",  "aus", "nein", "inactive"};
    text = trimmed(text);
    if (is_one_of(text, on)) return vibration_state::on;
    if (is_one_of(text, off)) return vibration_state::off;
    const std::optional<double> number = number_in_front(text);
    if (!number) return {};
    return *number != 0 ? vibration_state::on : vibration_state::off;
}

std::optional<drive_direction> direction_of(std::string_view text) {
    constexpr std::string_view forward[] = {"forward",  "forwards", "fwd", "f", "ahead",
                                            "vorwärts", "vorw",     "vor", "v"};
    constexpr std::string_view reverse[] = {"reverse",   "rev",         "r",
                                            "backward",  "backwards",   "back",
                                            "rückwärts", "rueckwaerts", "rückw"};
    constexpr std::string_view standing[] = {"neutral", "n",       "park",    "parked",
                                             "stop",    "stopped", "standing"};
    text = trimmed(text);
    if (is_one_of(text, forward)) return drive_direction::forward;
    if (is_one_of(text, reverse)) return drive_direction::reverse;
    if (is_one_of(text, standing)) return drive_direction::standing;
    const std::optional<double> number = number_in_front(text);
    if (number && *number == 1) return drive_direction::forward;
    if (number && *number == -1) return drive_direction::reverse;
    if (number && *number == 0) return drive_direction::standing;
    return {};
}

} // namespace qmx_study
