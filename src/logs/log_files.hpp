// Opens log files on free output units, for debugging sessions of coverage and semivariogram. Off
// in production.
//
// A path longer than 128 characters is cut. The directory of temporary files is the value of the
// environment variable "TMP" at the time of the call, blank if it is not set. A backslash separates
// it from the name on every system; on Linux it is a character of the file name.
//
// The routines that return a unit return 3, which is no unit, on failure. A failure sets the texts
// of the event directly, with severity 2 and no path of callers:
//   code 101  "error in finding a free file unit "
//   code 102  "error opening a new file - ", path, ", iostat = ", the system's error number
#pragma once

#include "base/base_types.hpp"

#include <string_view>

namespace qmx {

// Opens prefix + "0" + name + ".txt" (each trimmed). If icumseason or itimeidx is given and not 1,
// the file must exist and is continued; else it is new. A header is written unless header is given
// and not 1. Null means not given. Further failures:
//   code 101  "error: icumseason should be present when itimeidx is used"
//   code 102  "error opening a new file", path, "iostat=", number
//   code 103  "error opening an old file", path, "iostat=", number
void file_open(std::string_view prefix, std::string_view name, i32& unit,
               const i32* icumseason = nullptr, const i32* itimeidx = nullptr,
               const i32* header = nullptr);

i32 scratch_unit_get();                    // TMP \0 0scratch.txt
i32 io_tmp_file(std::string_view name);    // TMP \ name
i32 io_tmp_binfile(std::string_view name); // the same, binary
i32 io_lc_file(std::string_view name);     // name alone
i32 io_lc_binfile(std::string_view name);  // the same, binary
i32 get_iounit_geo();                      // io_tmp_file("get_iounit_geo.txt")

// Local date and time in two lines. Returns 1.
i32 print_datetime(i32 unit);

// A banner: the title between two bars of asterisks (style 1 and any other), equal signs (2) or
// hyphens (3).
void QMPrintHeader(i32 unit, i32 style, std::string_view title);

} // namespace qmx
