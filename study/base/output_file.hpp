// Files that come to their names only when they are complete.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

// Written under another name beside its own and renamed by finish(). Without that, whatever stood under
// the name stays as it was; a file that may not be written is not replaced either. What is no regular
// file (a device, a pipe) is written in place.
class unfinished_file {
public:
    explicit unfinished_file(std::string name);
    ~unfinished_file();
    unfinished_file(const unfinished_file&) = delete;
    unfinished_file& operator=(const unfinished_file&) = delete;

    void write(std::string_view text);
    // All three give the error number of the first failure, 0 where there was none.
    int complete(); // all is written, under the other name
    int finish();   // complete, and under its name
    int failure() const { return error; }

private:
    std::string name;
    std::string temporary; // "" for what is written in place
    std::FILE* file = nullptr;
    int error = 0;

    void open_beside();
};

// Several files that come to their names together, once all of them are complete.
class output_set {
public:
    // option: that names the file, for messages. Both throw usage_error.
    void add(const char* option, const std::string& name, std::string_view text);
    void finish();

private:
    struct part {
        const char* option;
        std::string name;
        std::unique_ptr<unfinished_file> file;
    };
    std::vector<part> parts;
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

// An interrupt (Ctrl-C), a hang-up, a request to end, a reader that has gone and whatever else may end a
// program from outside takes unfinished files away first. A file that grows beyond what the system allows
// is an error of writing.
void remove_unfinished_files_when_interrupted();
// The same at once. Allocates nothing.
void remove_unfinished_files() noexcept;

// Throws usage_error when the output is one of the inputs.
void refuse_inputs_as_output(const std::vector<std::string>& inputs, const std::string& output);

// Writes a whole file. Throws usage_error.
void write_output(const std::string& output, std::string_view text);

} // namespace qmx_study
