#include "study/base/output_file.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"

namespace qmx_study {

namespace {

// Names that a signal handler can read: it must not allocate, nor meet a half-written name.
struct slot {
    std::atomic<bool> is_used{false};
    std::atomic<bool> is_named{false};
    std::array<char, 4096> name{};
};
std::array<slot, 64> slots; // the tables of a report are completed together

void remember(const std::string& name) {
    if (name.size() >= slots[0].name.size()) return;
    for (slot& each : slots) {
        bool is_free = false;
        if (!each.is_used.compare_exchange_strong(is_free, true)) continue;
        std::memcpy(each.name.data(), name.c_str(), name.size() + 1);
        each.is_named = true;
        return;
    }
}

void forget(const std::string& name) {
    for (slot& each : slots)
        if (each.is_named && name == each.name.data()) {
            each.is_named = false;
            each.is_used = false;
        }
}

extern "C" void remove_and_end(int signal) {
    remove_unfinished_files();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// File systems take names of so many bytes. One that is as long is cut, not within a letter.
std::string shortened(const std::string& name, std::size_t room) {
    constexpr std::size_t longest = 255;
    const std::size_t start = name.find_last_of("/\\") + 1;
    if (name.size() - start + room <= longest) return name;
    std::size_t end = start + longest - room;
    while (end > start && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
    return name.substr(0, end);
}

bool is_in_place(const std::string& name) {
    namespace fs = std::filesystem;
    std::error_code unknown;
    const fs::file_status status = fs::status(path_of(name), unknown);
    return fs::exists(status) && !fs::is_regular_file(status);
}

constexpr int most_names = 1000;

std::string name_beside(const std::string& name, int number) {
    const std::string ending = number == 0 ? ".part" : fmt::format(".part{}", number);
    return shortened(name, ending.size()) + ending;
}

[[noreturn]] void refuse(const char* option, const std::string& name, int error) {
    throw usage_error(fmt::format("{} {}: {}", option, name, std::strerror(error)),
                      error_place{option, name, 0, {}});
}

} // namespace

unfinished_file::unfinished_file(std::string at) : name(std::move(at)) {
    std::error_code unknown;
    if (std::filesystem::is_symlink(path_of(name),
                                    unknown)) { // the file itself is replaced, not the link
        const std::filesystem::path target = std::filesystem::canonical(path_of(name), unknown);
        if (!unknown) name = target.string();
    }
    if (is_in_place(name)) {
        file = open_file(name, 'w');
        if (!file) error = errno;
    } else if (error = refusal_to_write(name); error == 0) {
        open_beside();
    }
}

// Another program may take a name between the look at it and the opening: then the next one is tried.
void unfinished_file::open_beside() {
    std::error_code unknown;
    for (int i = 0; i < most_names && !file; ++i) {
        temporary = name_beside(name, i);
        if (std::filesystem::exists(path_of(temporary), unknown)) continue;
        remember(temporary);
        file = open_file(temporary, 'x');
        if (file) return;
        error = errno;
        forget(temporary);
        if (error != EEXIST) break;
    }
    if (error == 0) error = EEXIST;
    temporary.clear();
}

unfinished_file::~unfinished_file() {
    if (file) std::fclose(file);
    if (temporary.empty()) return;
    remove_file(temporary.c_str());
    forget(temporary);
}

void unfinished_file::write(std::string_view text) {
    if (error == 0 && std::fwrite(text.data(), 1, text.size(), file) != text.size()) error = errno;
}

int unfinished_file::complete() {
    if (file && std::fclose(std::exchange(file, nullptr)) != 0 && error == 0) error = errno;
    return error;
}

int unfinished_file::finish() {
    if (complete() != 0 || temporary.empty()) return error;
    std::error_code problem;
    const std::filesystem::file_status old = std::filesystem::status(path_of(name), problem);
    if (std::filesystem::exists(old))
        std::filesystem::permissions(path_of(temporary), old.permissions(), problem);
    std::filesystem::rename(path_of(temporary), path_of(name), problem);
    if (problem) return error = problem.default_error_condition().value();
    forget(temporary);
    temporary.clear();
    return 0;
}

void output_set::add(const char* option, const std::string& name, std::string_view text) {
    part& added = parts.emplace_back(part{option, name, std::make_unique<unfinished_file>(name)});
    added.file->write(text);
    if (const int error = added.file->complete(); error != 0) refuse(option, name, error);
}

void output_set::finish() {
    for (part& each : parts)
        if (const int error = each.file->finish(); error != 0)
            refuse(each.option, each.name, error);
    parts.clear();
}

temporary_name::temporary_name(const std::string& output) {
    std::error_code unknown;
    const std::string rows = shortened(output, 16) + ".rows";
    for (int i = 0; i < most_names; ++i) {
        temporary = name_beside(rows, i);
        if (!std::filesystem::exists(path_of(temporary), unknown)) break;
    }
    remember(temporary);
}

temporary_name::~temporary_name() {
    remove_file(temporary.c_str());
    forget(temporary);
}

void remove_unfinished_files() noexcept {
    for (const slot& each : slots)
        if (each.is_named) remove_file(each.name.data());
}

void remove_unfinished_files_when_interrupted() {
    const auto take = [](int signal) { // unless somebody else has
        const auto before = std::signal(signal, remove_and_end);
        if (before != SIG_DFL) std::signal(signal, before);
    };
    for (const int signal : {SIGINT, SIGTERM, SIGABRT, SIGSEGV, SIGFPE, SIGILL}) take(signal);
#if defined(SIGHUP)
    for (const int signal : {SIGHUP, SIGPIPE, SIGQUIT, SIGBUS, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2})
        take(signal);
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void refuse_inputs_as_output(const std::vector<std::string>& inputs, const std::string& output) {
    for (const std::string& input : inputs) {
        std::error_code unknown;
        if (std::filesystem::equivalent(path_of(input), path_of(output), unknown))
            throw usage_error(
                fmt::format("--output {}: this is the file that is read; name another", output),
                error_place{"--output", output, 0, {}});
    }
}

void write_output(const std::string& output, std::string_view text) {
    output_set single;
    single.add("--output", output, text);
    single.finish();
}

} // namespace qmx_study
