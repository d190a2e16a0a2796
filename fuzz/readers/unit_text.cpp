// Units behind values and in the names of columns: any text, against what is said of case and separators.
#include <cmath>
#include <string>

#include "study/base/number_text.hpp"
#include "study/lot/column_names.hpp"
#include "study/lot/trait_columns.hpp"
#include "support/input_bytes.hpp"
#include "support/reader_input.hpp"

using namespace fuzz;
using namespace qmx_study;

namespace {

std::string upper_case(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

void require_unit(std::string_view text) {
    const bool is_unit = is_known_unit(text);
    require<"units are known in any case">(is_unit == is_known_unit(upper_case(text)) &&
                                           is_unit == is_known_unit(lower_case(text)));
    const std::string_view bare = trimmed(text);
    // "e5" behind a number goes on with it; what starts with a digit or a mark does, too.
    const bool goes_on = bare.empty() || bare.find_first_of("0123456789+-.,eE") == 0;
    if (goes_on) return;
    for (const char* const number : {"22.1", "-0.5 ", "1e3"}) {
        const std::string field = number + std::string(bare);
        const text_value read = read_text_value(field, {});
        const bool has_unit = read.kind == text_kind::unit_number;
        require<"a value bears the units that are known">(has_unit == is_known_unit(bare));
        if (has_unit)
            require<"a unit changes no value">(read.extra == bare &&
                                               read.value == read_text_value(number, {}).value);
    }
}

void require_meaning(std::string_view name) {
    const column_meaning meaning = meaning_of_name(name);
    const auto is_same = [&](const column_meaning& other) {
        return other.role == meaning.role && other.rank == meaning.rank;
    };
    require<"the case of a column's name does not count">(
        is_same(meaning_of_name(upper_case(name))) && is_same(meaning_of_name(lower_case(name))));
    require<"blanks round a column's name do not count">(
        is_same(meaning_of_name(" " + std::string(name) + " ")));
    require<"a rank is that of a role">(meaning.rank >= 0 &&
                                        (meaning.role != column_role::other || meaning.rank == 0));
    source_column column{std::string(name)};
    require<"the unit of a heading is that of its name">(heading_unit(column) == meaning.unit);
    column.unit = "m";
    require<"a line of units is heard where the name tells none">(
        meaning.unit.empty() ? heading_unit(column) == "m" : !heading_unit(column).empty());
    require<"a spot test's value is known in any case">(spot_rank(name) ==
                                                        spot_rank(upper_case(name)));
}

void require_state(std::string_view text) {
    const auto state = vibration_of(text);
    const auto upper = vibration_of(upper_case(text));
    require<"a state is known in any case">(state.has_value() == upper.has_value() &&
                                            (!state || *state == *upper));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = text_of(data, size);
    require_unit(text);
    require_meaning(text);
    require_state(text);
    return 0;
}
