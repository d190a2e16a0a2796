// The keys of a job file: what each one sets, and what is said about it. The reader, the writer and the
// tests go by this one table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "study/job/settings.hpp"

namespace qmx_study {

// monostate: not set.
using job_value =
    std::variant<std::monostate, bool, double, std::string, std::vector<std::string>, number_range>;

enum class job_kind {
    text,
    text_list,
    file,
    file_list,
    flag,
    number, // above 0 where `positive`
    whole,
    range,     // two numbers, inf where one is open
    times,     // two texts, "" where one is open
    preset,    // name of a preset
    threshold, // a number, or "off"
};

struct job_key {
    std::string table;
    std::string key;
    job_kind kind = job_kind::text;
    std::string what;   // one line
    std::string sample; // as it stands in a job file where nothing is set: target = 40
    job_value (*get)(const job_settings&) = nullptr; // null for a threshold
    void (*set)(job_settings&, const job_value&) = nullptr;
    std::vector<std::string> choices = {}; // of a text; empty takes any
    bool positive = false;
};

struct job_table {
    const char* name;
    const char* what;
};
const std::vector<job_table>& job_tables(); // in the order of a job file
const std::vector<job_key>& job_keys();     // those of a table together, in the same order

// Why a value is none of this key: a choice that is not known, a number out of its range, a range that
// holds no number, a time that is not understood, a name of a file with a control character; "" for a
// good one.
std::string problem_of(const job_key& key, const job_value& value);

// What is set, thresholds too: those of the user alone.
job_value value_of(const job_settings& settings, const job_key& key);

} // namespace qmx_study
