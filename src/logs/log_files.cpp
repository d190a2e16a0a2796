#include "logs/log_files.hpp"

#include "base/bounded_text.hpp"
#include "events/event.hpp"
#include "events/unit_table.hpp"

#include <cstdlib>
#include <ctime>

namespace qmx {

namespace {

using path_text = padded_text<128>;

constexpr i32 code_new_file = 102;
constexpr i32 code_old_file = 103;
constexpr std::string_view bar = "******************************************************"; // 54
constexpr std::string_view ten_blanks = "          ";

std::string_view temporary_directory() {
    const char* directory = std::getenv("TMP");
    return directory != nullptr ? without_trailing_blanks(directory) : std::string_view();
}

// Joins the parts and keeps the first 128 characters.
void compose(path_text& path, std::initializer_list<std::string_view> parts) {
    bounded_text<sizeof path.characters> joined;
    for (const std::string_view part : parts) joined.append(part);
    path.assign(joined.view());
}

void fail_direct(std::string_view routine, std::string_view description, i32 code) {
    current_event.i_errtype = severity_failed;
    current_event.i_errcode = code;
    current_event.c_description.assign(description);
    current_event.c_subfunc.assign(routine);
}

void fail_without_unit(std::string_view routine) {
    fail_direct(routine, "error in finding a free file unit ", code_check);
}

void fail_to_open(std::string_view routine, i32 code, std::string_view what, const path_text& path,
                  std::string_view before_status, i32 status) {
    bounded_text<sizeof current_event.c_description> description;
    bounded_text<5> number;
    number.append_number(status);
    for (const std::string_view part : {what, path.trimmed(), before_status, number.view()})
        description.append(part);
    fail_direct(routine, description.view(), code);
}

// Opens a new file at the composed path, for all routines that return a unit.
i32 open_new(const routine_text& self, const path_text& path, open_form form) {
    const i32 unit = find_free_unit();
    if (unit == no_unit) {
        fail_without_unit(self.trimmed());
        return status_failure;
    }
    const i32 status =
        connect_unit(unit, path.trimmed(), open_status::unknown, open_position::start, form);
    if (status == 0) return unit;
    fail_to_open(self.trimmed(), code_new_file, "error opening a new file - ", path,
                 ", iostat = ", status);
    return status_failure;
}

i32 open_temporary(const routine_text& self, path_text& path, std::string_view name,
                   open_form form) {
    compose(path, {temporary_directory(), "\\", name});
    return open_new(self, path, form);
}

void write_value(i32 unit, std::string_view label, i32 value) {
    bounded_text<16> number;
    number.append_number(value);
    write_line(unit, label, number.view());
}

void write_file_header(i32 unit, std::string_view name, const path_text& path,
                       const i32* icumseason, const i32* itimeidx) {
    bounded_text<sizeof path.characters + 32> title;
    title.append(name);
    title.append(" debug file ");
    write_line(unit, bar);
    write_line(unit, "");
    write_line(unit, ten_blanks, title.view());
    write_line(unit, "");
    write_line(unit, bar);
    write_line(unit, {path.characters, sizeof path.characters});
    if (icumseason != nullptr) write_value(unit, " acumulated season: ", *icumseason);
    if (itimeidx != nullptr) write_value(unit, " timeindex        : ", *itimeidx);
}

} // namespace

void file_open(std::string_view prefix, std::string_view name, i32& unit, const i32* icumseason,
               const i32* itimeidx, const i32* header) {
    static constexpr std::string_view self = "subroutine file_open";
    static path_text path;
    name = without_trailing_blanks(name);
    compose(path, {without_trailing_blanks(prefix), "0", name, ".txt"});
    if (path.trimmed().empty()) compose(path, {temporary_directory(), "0dummy.txt"});

    unit = find_free_unit();
    if (unit == no_unit) return fail_without_unit(self);
    if (itimeidx != nullptr && icumseason == nullptr)
        return fail_direct(self, "error: icumseason should be present when itimeidx is used",
                           code_check);
    const bool is_new =
        (icumseason == nullptr || *icumseason == 1) && (itimeidx == nullptr || *itimeidx == 1);
    const i32 status =
        is_new ? connect_unit(unit, path.trimmed(), open_status::unknown)
               : connect_unit(unit, path.trimmed(), open_status::old, open_position::append);
    if (status != 0)
        return fail_to_open(self, is_new ? code_new_file : code_old_file,
                            is_new ? "error opening a new file" : "error opening an old file", path,
                            "iostat=", status);
    if (header == nullptr || *header == 1)
        write_file_header(unit, name, path, icumseason, itimeidx);
}

i32 scratch_unit_get() {
    static constexpr routine_text self("scratch_unit_get");
    static path_text path;
    compose(path, {temporary_directory(), "\\0", "0scratch.txt"});
    return open_new(self, path, open_form::formatted);
}

i32 io_tmp_file(std::string_view name) {
    static constexpr routine_text self("io_tmp_file");
    static path_text path;
    return open_temporary(self, path, name, open_form::formatted);
}

i32 io_tmp_binfile(std::string_view name) {
    static constexpr routine_text self("io_tmp_file"); // under its sibling's name
    static path_text path;
    return open_temporary(self, path, name, open_form::binary);
}

i32 io_lc_file(std::string_view name) {
    static constexpr routine_text self("io_lc_file");
    static path_text path;
    compose(path, {name});
    return open_new(self, path, open_form::formatted);
}

i32 io_lc_binfile(std::string_view name) {
    static constexpr routine_text self("io_lc_binfile");
    static path_text path;
    compose(path, {name});
    return open_new(self, path, open_form::binary);
}

i32 get_iounit_geo() {
    return io_tmp_file("get_iounit_geo.txt");
}

i32 print_datetime(i32 unit) {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
#if defined(_WIN32)
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    bounded_text<64> date;
    date.append("Day - Month - Year =      ");
    date.append_field(local.tm_mday, 2);
    date.append(" - ");
    date.append_field(local.tm_mon + 1, 2);
    date.append(" - ");
    date.append_field(local.tm_year + 1900, 4);
    write_line(unit, date.view());

    bounded_text<64> time;
    time.append("Hour : Minute : Second =  ");
    time.append_field(local.tm_hour, 2);
    time.append(" : ");
    time.append_field(local.tm_min, 2);
    time.append(" : ");
    time.append_field(local.tm_sec, 2);
    write_line(unit, time.view());
    return status_success;
}

void QMPrintHeader(i32 unit, i32 style, std::string_view title) {
    static constexpr char marks[] = {'*', '=', '-'};
    const char mark = style >= 1 && style <= 3 ? marks[style - 1] : marks[0];
    char line[60];
    std::fill_n(line, 58, mark);
    line[58] = line[59] = ' ';
    const std::string_view banner(line, sizeof line);
    write_line(unit, "");
    write_line(unit, banner);
    write_line(unit, ten_blanks, without_trailing_blanks(title));
    write_line(unit, banner);
    write_line(unit, "");
}

} // namespace qmx
