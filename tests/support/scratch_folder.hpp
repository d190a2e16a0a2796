// A folder of a test's own and the files in it, the folder it works in, and an environment variable, each put back when
// the test ends.
#pragma once

#include "support/test.hpp"

#include <filesystem>
#include <optional>

namespace support {

class scratch_folder {
public:
    scratch_folder() {
        std::random_device random;
        const std::filesystem::path parent = std::filesystem::temp_directory_path();
        do path_ = parent / ("qmx" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_)); // false where it is there already
    }
    ~scratch_folder() {
        // What a test opened "in" it may stand beside it: a backslash is part of a name here.
        for (const auto& entry : std::filesystem::directory_iterator(path_.parent_path()))
            if (entry.path().filename().string().starts_with(path_.filename().string() + "\\"))
                std::filesystem::remove(entry.path());
        std::filesystem::remove_all(path_);
    }
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

inline std::string text_in(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}
inline std::vector<std::string> lines_of(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

class working_folder {
public:
    explicit working_folder(const std::filesystem::path& folder)
        : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~working_folder() { std::filesystem::current_path(before_); }
    working_folder(const working_folder&) = delete;
    working_folder& operator=(const working_folder&) = delete;

private:
    std::filesystem::path before_;
};

class environment_variable {
public:
    environment_variable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        set(value);
    }
    ~environment_variable() { set(before_ ? before_->c_str() : nullptr); }
    environment_variable(const environment_variable&) = delete;
    environment_variable& operator=(const environment_variable&) = delete;

private:
    void set(const char* value) const {
#if defined(_WIN32)
        _putenv_s(name_, value != nullptr ? value : ""); // an empty one is none
#else
        if (value != nullptr)
            setenv(name_, value, 1);
        else
            unsetenv(name_);
#endif
    }
    const char* name_;
    std::optional<std::string> before_;
};

} // namespace support
