#include "events/unit_table.hpp"

#include "base/padded_text.hpp"

#include <cerrno>
#include <cstdio>

namespace qmx {

namespace {

std::FILE* connections[last_unit + 1] = {}; // by unit number

constexpr std::size_t longest_path = 4096;

const char* mode_of(open_status status, open_position position, open_form form) {
    const bool binary = form == open_form::binary;
    if (position == open_position::append) return binary ? "ab" : "a";
    if (status == open_status::old) return binary ? "r+b" : "r+";
    return binary ? "wb" : "w";
}

bool is_there(const char* path) {
    std::FILE* file = std::fopen(path, "r");
    if (file != nullptr) std::fclose(file);
    return file != nullptr;
}

i32 system_error(i32 otherwise) {
    return errno != 0 ? errno : otherwise; // GCOVR_EXCL_BR_LINE: POSIX sets errno, ISO C need not
}

} // namespace

bool unit_exists(i32 unit) {
    return unit >= first_unit && unit <= last_unit;
}

bool unit_is_connected(i32 unit) {
    return unit_exists(unit) && connections[unit] != nullptr;
}

i32 find_free_unit() {
    for (i32 unit = first_unit; unit <= last_unit; ++unit)
        if (!unit_is_connected(unit)) return unit;
    return no_unit;
}

i32 connect_unit(i32 unit, std::string_view path, open_status status, open_position position,
                 open_form form) {
    if (!unit_exists(unit)) return EINVAL;
    if (unit_is_connected(unit)) return EBUSY;
    path = without_trailing_blanks(path);
    if (path.size() >= longest_path) return ENAMETOOLONG;
    char name[longest_path];
    *std::copy(path.begin(), path.end(), name) = '\0';

    errno = 0;
    if (status == open_status::old && !is_there(name)) return system_error(ENOENT);
    connections[unit] = std::fopen(name, mode_of(status, position, form));
    if (connections[unit] != nullptr) return 0;
    return system_error(EIO);
}

void write_line(i32 unit, std::string_view text, std::string_view more) {
    if (!unit_is_connected(unit)) return;
    std::FILE* file = connections[unit];
    for (const std::string_view part : {text, more})
        if (!part.empty()) std::fwrite(part.data(), 1, part.size(), file);
    std::fputc('\n', file);
}

void close_unit(i32 unit) {
    if (!unit_is_connected(unit)) return;
    std::fclose(connections[unit]);
    connections[unit] = nullptr;
}

} // namespace qmx
