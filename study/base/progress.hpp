// How far a long piece of work has come: reported to whoever shows it, who may call the work off.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

namespace qmx_study {

// What the one who shows progress gives; each may be left empty. They are called every few thousand
// rows: when to show anything is theirs to decide.
struct progress_hook {
    std::function<void(std::string_view text)> note; // an empty text takes the last one away
    std::function<void(std::string_view what, double done, double whole)> share;
    std::function<bool()> cancelled;
};

class progress {
public:
    explicit progress(progress_hook hook = {}) : told(std::move(hook)) {}
    ~progress() { clear(); }
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

    // Both throw cancelled_error when the work is called off.
    void note(std::string_view text);
    // How much of a whole is done. Nothing is reported of a whole that is not known.
    void note(std::string_view what, double done, double whole);
    void clear();

private:
    progress_hook told;
    void stop_if_cancelled() const;
};

} // namespace qmx_study
