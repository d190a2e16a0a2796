#include "ending.hpp"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

#include "options/commands.hpp"
#include "options/program.hpp"
#include "study/base/output_file.hpp"
#include "study/document/failure_document.hpp"
#include "text/printing.hpp"

namespace qmx_terminal {

namespace {

// Never destroyed: memory may run out while the program ends.
struct last_words {
    int code = analysis_failed;
    const char* message = "there is not enough memory";
    std::string document;
};
last_words* prepared = nullptr;

[[noreturn]] void end_without_memory() {
    qmx_study::remove_unfinished_files();
    if (!is_answer_printed() && !prepared->document.empty())
        std::fputs(prepared->document.c_str(), stdout);
    std::_Exit(ending::tell(prepared->code, "", prepared->message));
}

} // namespace

ending::ending(const CLI::App& program, int argc, char** argv)
    : command(command_of(program, argc, argv)) {
    for (int i = 1; i < argc; ++i) as_json |= std::string_view(argv[i]) == "--json";
}

int ending::fail(int code, const char* kind, const std::string& message,
                 const qmx_study::error_place& place,
                 const qmx_study::library_failure* event) const {
    if (as_json && !is_answer_printed()) {
        const std::string document =
            qmx_study::text_of(qmx_study::failure_document(command, code, message, event, place));
        std::fputs(document.c_str(), stdout);
    }
    return tell(code, kind, message.c_str());
}

int ending::tell(int code, const char* kind, const char* message) noexcept {
    std::fflush(stdout);
    for (const char* const part : {"qmx-ic: ", kind, message, "\n"}) std::fputs(part, stderr);
    return code;
}

void end_at_lack_of_memory() {
    static last_words nothing_known;
    prepared = &nothing_known;
    std::set_new_handler(end_without_memory);
}

void end_at_lack_of_memory(const ending& end) {
    auto* const words = new last_words;
    words->message = "there is not enough memory for so many rows; divide the file";
    if (end.command_name() == "generate") {
        words->code = wrong_usage;
        words->message = "there is not enough memory for a lot of this size; ask for fewer rows";
    }
    if (end.is_json())
        words->document = qmx_study::text_of(qmx_study::failure_document(
            end.command_name(), words->code, words->message, nullptr, {}));
    prepared = words;
}

} // namespace qmx_terminal
