// Files that come to their names only when they are complete.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

// Written under another name beside its own and renamed by finish(). Without that, whatever stood under
// the name stays as it was. What is no regular file (a device, a pipe) is written in place.
class unfinished_file {
public:
    explicit unfinished_file(std::string name);
    ~unfinished_file();
    unfinished_file(const unfinished_file&) = delete;
    unfinished_file& operator=(const unfinished_file&) = delete;

    void write(std::string_view text);
    // The error number of the first failure, 0 where the file stands under its name now.
    int finish();

private:
    std::string name;
    std::string temporary; // "" for what is written in place
    std::FILE* file = nullptr;
    int error = 0;
};

// A free name beside another, for what is written by somebody else on the way to it. Whatever stands under
// it goes with the object.
class temporary_name {
public:
    explicit temporary_name(const std::string& output);
    ~temporary_name();
    temporary_name(const temporary_name&) = delete;
    temporary_name& operator=(const temporary_name&) = delete;

    const std::string& name() const { return temporary; }

private:
    std::string temporary;
};

// An interrupt (Ctrl-C), a hang-up or a request to end takes unfinished files away first.
void remove_unfinished_files_when_interrupted();

// Throws usage_error when the output is one of the inputs.
void refuse_inputs_as_output(const std::vector<std::string>& inputs, const std::string& output);

// Writes a whole file. Throws usage_error.
void write_output(const std::string& output, std::string_view text);

} // namespace qmx_study
