// A line on the terminal while something takes longer than a second.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace qmx_study {

class progress {
public:
    progress();
    ~progress() { clear(); }
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

    // Shows the text when standard error is a terminal, the first second is over and the last text
    // is a while ago. Cheap enough to be called every few thousand rows.
    void note(std::string_view text);
    // Shows how much of a whole is done, and the time that the rest will take.
    void note(std::string_view what, double done, double whole);
    void clear();

private:
    using clock = std::chrono::steady_clock;
    clock::time_point started = clock::now();
    clock::time_point shown_last = started;
    bool is_terminal;
    bool is_shown = false;
    bool is_due();
};

} // namespace qmx_study
