// The hash by which a file is known again.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace qmx_study {

struct file_mark {
    std::int64_t bytes = 0;
    std::string sha256; // 64 lower-case hexadecimal digits
};

// Of the bytes as they stand on the disk. Throws usage_error where the file cannot be read.
file_mark mark_of_file(const std::string& file);

// By which it shows that a file was changed while it was open: where it ends, and when it was written to.
struct file_stamp {
    std::int64_t bytes = 0, seconds = 0, nanoseconds = 0;
    bool operator==(const file_stamp&) const = default;
};
file_stamp stamp_of_stream(std::FILE* opened);
file_stamp stamp_of_file(const std::string& file); // all 0 where there is none
// Throws usage_error where the file is not as it was.
void refuse_if_changed(const std::string& file, const file_stamp& before);
inline constexpr const char* changed_while_read =
    "the file was changed while it was being read; try again when it is complete";

// The same of an open file, from its start. It is left at its end. file: its name, for messages.
file_mark mark_of_stream(std::FILE* opened, const std::string& file);

} // namespace qmx_study
