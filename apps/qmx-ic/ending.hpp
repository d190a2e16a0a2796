// How a run ends without an answer: the message on standard error, and a document where --json asks for one.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "study/analyses/library_events.hpp"
#include "study/base/errors.hpp"

namespace qmx_terminal {

class ending {
public:
    ending(const CLI::App& program, int argc, char** argv);

    // Gives the exit code back.
    int fail(int code, const char* kind, const std::string& message,
             const qmx_study::error_place& place = {},
             const qmx_study::library_failure* event = nullptr) const;
    // Allocates nothing and throws nothing: there may be no memory, and no place for the message.
    static int tell(int code, const char* kind, const char* message) noexcept;

    const std::string& command_name() const { return command; }
    bool is_json() const { return as_json; }

private:
    std::string command;
    bool as_json = false;
};

// From now on a lack of memory ends the program at once, with words that were made before. What was begun
// is not taken apart: that takes memory too in some of the libraries in use.
void end_at_lack_of_memory();
// The words for this command.
void end_at_lack_of_memory(const ending& end);

} // namespace qmx_terminal
