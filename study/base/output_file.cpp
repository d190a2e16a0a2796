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
std::array<slot, 8> slots;

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
    for (const slot& each : slots)
        if (each.is_named) remove_file(each.name.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::string name_beside(const std::string& name) {
    namespace fs = std::filesystem;
    std::error_code unknown;
    const fs::file_status status = fs::status(path_of(name), unknown);
    if (fs::exists(status) && !fs::is_regular_file(status)) return {};
    for (int i = 0;; ++i) { // "x" opens no file that is there
        std::string beside = fmt::format("{}.part{}", name, i == 0 ? "" : fmt::format("{}", i));
        if (i == 1000 || !fs::exists(path_of(beside), unknown)) return beside;
    }
}

} // namespace

unfinished_file::unfinished_file(std::string at) : name(std::move(at)) {
    std::error_code unknown;
    if (std::filesystem::is_symlink(path_of(name),
                                    unknown)) { // the file itself is replaced, not the link
        const std::filesystem::path target = std::filesystem::canonical(path_of(name), unknown);
        if (!unknown) name = target.string();
    }
    temporary = name_beside(name);
    if (!temporary.empty()) remember(temporary);
    file = temporary.empty() ? open_file(name, 'w') : open_file(temporary, 'x');
    if (!file) {
        error = errno;
        forget(temporary);
        temporary.clear();
    }
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

int unfinished_file::finish() {
    if (file && std::fclose(std::exchange(file, nullptr)) != 0 && error == 0) error = errno;
    if (error != 0 || temporary.empty()) return error;
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

temporary_name::temporary_name(const std::string& output) {
    temporary = name_beside(output + ".rows");
    if (temporary.empty()) temporary = output + ".rows.part";
    remember(temporary);
}

temporary_name::~temporary_name() {
    remove_file(temporary.c_str());
    forget(temporary);
}

void remove_unfinished_files_when_interrupted() {
    const auto take = [](int signal) {
        if (std::signal(signal, remove_and_end) == SIG_IGN) std::signal(signal, SIG_IGN);
    };
    take(SIGINT);
    take(SIGTERM);
#if defined(SIGHUP)
    take(SIGHUP);
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
    unfinished_file file(output);
    file.write(text);
    if (const int error = file.finish(); error != 0)
        throw usage_error(fmt::format("--output {}: {}", output, std::strerror(error)),
                          error_place{"--output", output, 0, {}});
}

} // namespace qmx_study
