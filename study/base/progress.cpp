#include "study/base/progress.hpp"

#include "study/base/errors.hpp"

namespace qmx_study {

void progress::stop_if_cancelled() const {
    if (told.cancelled && told.cancelled()) throw cancelled_error();
}

void progress::note(std::string_view text) {
    stop_if_cancelled();
    if (told.note) told.note(text);
}

void progress::note(std::string_view what, double done, double whole) {
    stop_if_cancelled();
    if (told.share && done > 0 && whole > 0) told.share(what, done < whole ? done : whole, whole);
}

void progress::clear() {
    if (told.note) told.note({});
}

} // namespace qmx_study
