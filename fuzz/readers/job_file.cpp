// The job file: any text; what is understood is written down again and read back the same.
#include <algorithm>
#include <string>

#include "study/job/job_file.hpp"
#include "study/job/job_keys.hpp"
#include "support/reader_input.hpp"

using namespace fuzz;
using namespace qmx_study;

namespace qmx_study { // found by the lookup of the variant's comparison
static bool operator==(const number_range& a, const number_range& b) {
    return a.least == b.least && a.most == b.most;
}
} // namespace qmx_study

namespace {

bool is_same(const job_settings& a, const job_settings& b) {
    for (const job_key& key : job_keys())
        if (!(value_of(a, key) == value_of(b, key))) return false;
    return std::equal(a.thresholds.begin(), a.thresholds.end(), b.thresholds.begin(),
                      b.thresholds.end(), [](const threshold& one, const threshold& other) {
                          return one.key == other.key && one.value == other.value &&
                                 one.rule == other.rule;
                      });
}

void require_place(const std::string& text, const usage_error& error) {
    const auto lines = std::count(text.begin(), text.end(), '\n') + 2;
    require<"what is refused is refused with a text">(!is_blank(error.what()));
    require<"what is refused has a line of the file">(
        error.place.line >= 0 && error.place.line <= lines && error.place.file == "job.toml");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(text_of(data, size));
    job_settings settings;
    try {
        settings = job_from_text(text, "job.toml");
    } catch (const usage_error& error) {
        require_place(text, error);
        return 0;
    }
    bool sound = true;
    for (const job_key& key : job_keys())
        if (key.kind != job_kind::threshold) {
            const job_value value = value_of(settings, key);
            sound = sound && (std::holds_alternative<std::monostate>(value) ||
                              problem_of(key, value).empty());
        }
    require<"what is set is sound">(sound);
    const std::string written = job_text(settings, {"written again"}, {});
    job_settings again;
    require<"what is written is read">(reads([&] { again = job_from_text(written, "job.toml"); }));
    require<"what is written is read back the same">(is_same(settings, again));
    require<"what is written twice is the same text">(job_text(again, {"written again"}, {}) ==
                                                      written);
    return 0;
}
