// Writes the manual page and the completions of shells, made from the options of the program.
//
//     qmx-ic-pages DIRECTORY

#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <qmx_ic.h>

#include "options/program.hpp"
#include "study/base/output_file.hpp"

namespace {

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

std::vector<const CLI::App*> commands_of(const CLI::App& program) {
    const auto found = program.get_subcommands([](const CLI::App*) { return true; });
    return {found.begin(), found.end()};
}

std::vector<const CLI::Option*> options_of(const CLI::App& command) {
    const auto found = command.get_options([](const CLI::Option*) { return true; });
    return {found.begin(), found.end()};
}

std::string long_name(const CLI::Option& option) {
    return option.get_lnames().empty() ? "" : "--" + option.get_lnames().front();
}

bool takes_value(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

// Text of the manual: nothing in it is an instruction.
std::string roff(const std::string& text) {
    std::string safe = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
    safe = replaced(safe, "\n.", "\n\\&.");
    return safe.starts_with('.') || safe.starts_with('\'') ? "\\&" + safe : safe;
}

std::string manual_of(const CLI::App& program) {
    std::string page = ".TH QMX\\-IC 1 \"\" \"qmx\\-ic " QMX_IC_VERSION "\"\n.SH NAME\n"
                       "qmx\\-ic \\- analyses of intelligent compaction data\n.SH SYNOPSIS\n"
                       ".B qmx\\-ic\n.I COMMAND\n[options]\n.SH DESCRIPTION\n" +
                       roff(program.get_description()) + "\n";
    page += ".SH COMMANDS\n";
    for (const CLI::App* const command : commands_of(program)) {
        page += fmt::format(".SS {}\n{}\n", roff(command->get_name()),
                            roff(command->get_description()));
        for (const CLI::Option* const option : options_of(*command)) {
            const std::string name =
                long_name(*option).empty() ? option->get_name(true) : long_name(*option);
            page += fmt::format(".TP\n\\fB{}\\fR{}\n{}\n", roff(name),
                                takes_value(*option) && !long_name(*option).empty()
                                    ? " \\fI" + roff(option->get_type_name()) + "\\fR"
                                    : "",
                                roff(option->get_description()));
        }
    }
    return page + ".SH EXIT STATUS\n" + roff(program.get_footer()) + "\n";
}

std::string words(const CLI::App& program) {
    std::string names;
    for (const CLI::App* const command : commands_of(program))
        names += (names.empty() ? "" : " ") + command->get_name();
    return names;
}

std::string long_options(const CLI::App& command) {
    std::string names;
    for (const CLI::Option* const option : options_of(command))
        for (const std::string& name : option->get_lnames())
            names += (names.empty() ? "--" : " --") + name;
    return names;
}

std::string bash_of(const CLI::App& program) {
    std::string script = "# Completion of qmx-ic for bash.\n_qmx_ic() {\n"
                         "    local word=${COMP_WORDS[COMP_CWORD]}\n"
                         "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
                         "        COMPREPLY=($(compgen -W \"" +
                         words(program) +
                         " --help --version\" -- \"$word\"))\n        return\n    fi\n"
                         "    COMPREPLY=()\n    [[ $word == -* ]] || return\n"
                         "    case ${COMP_WORDS[1]} in\n";
    for (const CLI::App* const command : commands_of(program))
        script += fmt::format("    {}) COMPREPLY=($(compgen -W \"{}\" -- \"$word\")) ;;\n",
                              command->get_name(), long_options(*command));
    return script + "    esac\n}\ncomplete -o default -F _qmx_ic qmx-ic\n";
}

// Inside single quotes of a shell, and without what zsh takes for more than text.
std::string in_marks(const std::string& text) {
    std::string plain;
    for (const char c : replaced(text, "'", "'\\''"))
        plain += c == '[' || c == ']' || c == ':' ? std::string("\\") + c : std::string(1, c);
    return replaced(plain, "\n", " ");
}

std::string zsh_of(const CLI::App& program) {
    std::string script = "#compdef qmx-ic\nif (( CURRENT == 2 )); then\n    local -a commands\n"
                         "    commands=(\n";
    for (const CLI::App* const command : commands_of(program))
        script += fmt::format("        '{}:{}'\n", command->get_name(),
                              in_marks(command->get_description()));
    script += "    )\n    _describe command commands\n    return\nfi\n"
              "shift words; (( CURRENT-- ))\ncase $words[1] in\n";
    for (const CLI::App* const command : commands_of(program)) {
        script += command->get_name() + ")\n    _arguments \\\n";
        for (const CLI::Option* const option : options_of(*command))
            if (!long_name(*option).empty())
                script += fmt::format("        '{}[{}]{}' \\\n", long_name(*option),
                                      in_marks(option->get_description()),
                                      takes_value(*option) ? ":value:_files" : "");
        script += "        '*:file:_files'\n    ;;\n";
    }
    return script + "esac\n";
}

std::string fish_of(const CLI::App& program) {
    const auto text = [](const std::string& given) {
        return replaced(replaced(given, "'", "\\'"), "\n", " ");
    };
    std::string script = "# Completion of qmx-ic for fish.\n";
    for (const CLI::App* const command : commands_of(program)) {
        script += fmt::format("complete -c qmx-ic -n __fish_use_subcommand -a {} -d '{}'\n",
                              command->get_name(), text(command->get_description()));
        for (const CLI::Option* const option : options_of(*command))
            if (!long_name(*option).empty())
                script += fmt::format(
                    "complete -c qmx-ic -n '__fish_seen_subcommand_from {}' -l {}{} -d '{}'\n",
                    command->get_name(), long_name(*option).substr(2),
                    takes_value(*option) ? " -r" : "", text(option->get_description()));
    }
    return script;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fmt::print(stderr, "qmx-ic-pages: name the directory to write to\n");
        return 2;
    }
    try {
        CLI::App program("Numerical analyses for intelligent compaction (roller) data.", "qmx-ic");
        qmx_terminal::set_up(program);
        const std::string folder = std::string(argv[1]) + "/";
        qmx_study::write_output(folder + "qmx-ic.1", manual_of(program));
        qmx_study::write_output(folder + "qmx-ic.bash", bash_of(program));
        qmx_study::write_output(folder + "_qmx-ic", zsh_of(program));
        qmx_study::write_output(folder + "qmx-ic.fish", fish_of(program));
    } catch (const std::exception& error) {
        fmt::print(stderr, "qmx-ic-pages: {}\n", error.what());
        return 2;
    }
    return 0;
}
