#include "study/base/module_file.hpp"

#include <cerrno>
#include <filesystem>
#include <new>
#include <string_view>

#include <dlfcn.h>
#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

namespace fs = std::filesystem;

constexpr const char* file_name = "qmx-ic-gdal.so";
constexpr const char* purpose =
    "vector formats and coordinate systems need the program's module for GDAL";

[[noreturn]] void refuse(const std::string& reason) {
    throw usage_error(fmt::format("{}, {}; install qmx-ic anew", purpose, reason));
}

void* opened(const std::string& file) {
    errno = 0;
    void* const module = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
    const bool lacks_memory = !module && errno == ENOMEM;
    if (module) return module;
    const char* const told = dlerror();
    const std::string reason = told ? told : "no reason is told";
    if (lacks_memory || reason.find("llocate memory") != std::string::npos) throw std::bad_alloc();
    refuse("which cannot be loaded: " + reason);
}

void refuse_another_build(void* module, const std::string& file) {
    const auto* const mark = static_cast<const char*>(dlsym(module, module_mark_name));
    if (mark && std::string_view(mark) == QMX_IC_BUILT_ALIKE) return;
    refuse(fmt::format("but {} belongs to another build of it ({} instead of {})", file,
                       mark ? mark : "unmarked", QMX_IC_BUILT_ALIKE));
}

// Stays open to the end: what it made lives on, and its libraries end with the program.
void* the_module() {
    static void* const module = [] {
        const module_places places = places_of_module();
        std::error_code unknown;
        for (const std::string& file : {places.beside, places.installed}) {
            if (!fs::exists(file, unknown)) continue;
            void* const found = opened(file);
            refuse_another_build(found, file);
            return found;
        }
        refuse(fmt::format("which is missing: neither {} nor {} is there", places.beside,
                           places.installed));
    }();
    return module;
}

} // namespace

module_places places_of_module() {
    std::error_code unknown;
    const fs::path program = fs::read_symlink("/proc/self/exe", unknown);
    if (unknown)
        refuse(fmt::format("and the system does not tell where it is: /proc/self/exe: {}",
                           unknown.message()));
    const fs::path folder = program.parent_path();
    return {folder / file_name, (folder / QMX_IC_MODULE_FOLDER / file_name).lexically_normal()};
}

const void* address_in_module(const char* name) {
    const void* const address = dlsym(the_module(), name);
    if (!address) refuse(fmt::format("which lacks {}", name));
    return address;
}

} // namespace qmx_study
