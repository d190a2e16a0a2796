// Page and table settings of printed output, kept per thread. They stand beside the error stack
// because the two need each other: printed errors are broken at the page width, bad settings are
// posted.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Gets or sets the page of printed output, in characters and lines.
//
//   IOPT   1 returns the width in IPAGE (78 unless set), 2 the length (60 unless set);
//          -1 sets the width from IPAGE (24 or more), -2 the length (8 or more)
//
// Terminal errors, nothing is set or returned: code 1 any other IOPT, code 2 IPAGE too small.
// Printed errors are broken into lines of the page width.
void PGOPT(const i32& IOPT, i32& IPAGE);

// Gets or sets the options of printed tables.
//
//   IOPT   0 puts all options back to their defaults, whatever the other arguments;
//          1 to 4 returns the option in ISET, -1 to -4 sets it from ISET
//   ISCOPE 0 global: the setting that holds until it is changed; 1 local: the setting of the next
//          table alone (read while none is set, it is the global one)
//
//   option                                           settings  default
//   1      significant digits of reals               1 to 17   7
//   2      columns that do not fit the page width:   0, 1      1
//          0 continue their rows, 1 form a table below
//   3      row numbers: 0 none, 1 printed            0, 1      1
//   4      blank lines after a table                 0 to 9    1
//
// Terminal errors, nothing is set or returned: code 1 IOPT, code 2 ISCOPE, code 3 ISET out of
// range.
void WROPT(const i32& IOPT, i32& ISET, const i32& ISCOPE);

struct table_settings {
    i32 significant_digits;
    bool break_columns_into_tables;
    bool row_numbers;
    i32 blank_lines_after;
};

// Returns the settings for the table about to be printed and clears the local ones.
table_settings settings_of_next_table();

// The page width in characters.
i32 page_width();

} // namespace qmx::numeric
