#include "numeric/errors/print_options.hpp"

#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>
#include <iterator>
#include <optional>

namespace qmx::numeric {

namespace {

struct page_option {
    i32 least, initially;
};
constexpr page_option page_options[] = {{24, 78}, {8, 60}}; // width, length
constexpr i32 page_option_count = static_cast<i32>(std::size(page_options));

struct table_option {
    i32 least, greatest, initially;
};
constexpr table_option table_options[] = {{1, 17, 7}, {0, 1, 1}, {0, 1, 1}, {0, 9, 1}};
constexpr i32 table_option_count = static_cast<i32>(std::size(table_options));

struct print_state {
    i32 page[page_option_count] = {page_options[0].initially, page_options[1].initially};
    i32 global[table_option_count] = {table_options[0].initially, table_options[1].initially,
                                      table_options[2].initially, table_options[3].initially};
    std::optional<i32> local[table_option_count] = {};
};

constinit thread_local print_state state;

// Index of an option in its table, from 0. The sign of the option selects getting or setting.
constexpr i32 position_of(i32 option) {
    return (option < 0 ? -option : option) - 1;
}

} // namespace

void PGOPT(const i32& IOPT, i32& IPAGE) {
    const numeric_frame frame("PGOPT ");
    if (IOPT == 0 || IOPT < -page_option_count || IOPT > page_option_count) {
        E1STI(1, IOPT);
        post(type_terminal, 1, "IOPT = %(I1).  IOPT must be -2, -1, 1 or 2.");
        return;
    }
    const i32 position = position_of(IOPT);
    if (IOPT > 0) {
        IPAGE = state.page[position];
        return;
    }
    if (IPAGE < page_options[position].least) {
        E1STI(1, IPAGE);
        E1STI(2, IOPT);
        E1STI(3, page_options[position].least);
        post(type_terminal, 2, "IPAGE = %(I1).  For IOPT = %(I2) it must be at least %(I3).");
        return;
    }
    state.page[position] = IPAGE;
}

void WROPT(const i32& IOPT, i32& ISET, const i32& ISCOPE) {
    const numeric_frame frame("WROPT ");
    if (IOPT < -table_option_count || IOPT > table_option_count) {
        E1STI(1, IOPT);
        E1STI(2, table_option_count);
        post(type_terminal, 1, "IOPT = %(I1).  IOPT must be -%(I2) to %(I2).");
        return;
    }
    if (IOPT == 0) {
        std::ranges::transform(table_options, state.global, &table_option::initially);
        std::ranges::fill(state.local, std::nullopt);
        return;
    }
    if (ISCOPE != 0 && ISCOPE != 1) {
        E1STI(1, ISCOPE);
        post(type_terminal, 2, "ISCOPE = %(I1).  ISCOPE must be 0 or 1.");
        return;
    }
    const bool is_local = ISCOPE == 1;
    const i32 position = position_of(IOPT);
    if (IOPT > 0) {
        const i32 global = state.global[position];
        ISET = is_local ? state.local[position].value_or(global) : global;
        return;
    }
    const auto [least, greatest, initially] = table_options[position];
    if (ISET < least || ISET > greatest) {
        E1STI(1, ISET);
        E1STI(2, IOPT);
        E1STI(3, least);
        E1STI(4, greatest);
        post(type_terminal, 3, "ISET = %(I1).  For IOPT = %(I2) it must be %(I3) to %(I4).");
        return;
    }
    if (is_local)
        state.local[position] = ISET;
    else
        state.global[position] = ISET;
}

table_settings settings_of_next_table() {
    i32 setting[table_option_count];
    for (i32 k = 0; k < table_option_count; ++k) {
        setting[k] = state.local[k].value_or(state.global[k]);
        state.local[k].reset();
    }
    return {setting[0], setting[1] == 1, setting[2] == 1, setting[3]};
}

i32 page_width() {
    return state.page[0];
}

} // namespace qmx::numeric
