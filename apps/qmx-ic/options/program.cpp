#include "options/program.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "study/base/near_name.hpp"

namespace qmx_terminal {

namespace {

std::vector<std::string> commands_of(const CLI::App& program) {
    std::vector<std::string> names;
    for (const CLI::App* const command : program.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> options_of(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : command.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

} // namespace

void set_up(CLI::App& program) {
    program.footer("Exit codes: 0 done, 1 the analysis failed or gives no verdict, 2 wrong usage,\n"
                   "unreadable input or unwritable output, 3 the target is missed (where "
                   "--exit-code asks for it).\n"
                   "qmx-ic COMMAND --help tells the options of a command.\n");
    add_report_command(program);
    add_init_command(program);
    add_columns_command(program);
    add_stats_command(program);
    add_select_command(program);
    add_grid_command(program);
    add_coverage_command(program);
    add_semivariogram_command(program);
    add_curve_command(program);
    add_spots_command(program);
    add_fit_command(program);
    add_generate_command(program);
}

std::string command_of(const CLI::App& program, int argc, const char* const* argv) {
    const std::vector<std::string> commands = commands_of(program);
    for (int i = 1; i < argc; ++i)
        if (std::find(commands.begin(), commands.end(), argv[i]) != commands.end()) return argv[i];
    return {};
}

std::string suggestion_for(const CLI::App& program, int argc, const char* const* argv) {
    const std::string command = command_of(program, argc, argv);
    if (command.empty()) {
        const std::string_view first = argc > 1 ? argv[1] : "";
        if (first.empty() || first.starts_with('-')) return {};
        const std::string meant = qmx_study::nearest_name(first, commands_of(program));
        return meant.empty() ? "" : fmt::format(" did you mean {}?", meant);
    }
    const std::vector<std::string> options = options_of(*program.get_subcommand(command));
    for (int i = 1; i < argc; ++i) {
        const std::string_view given =
            std::string_view(argv[i]).substr(0, std::string_view(argv[i]).find('='));
        if (!given.starts_with("--") ||
            std::find(options.begin(), options.end(), given) != options.end())
            continue;
        const std::string meant = qmx_study::nearest_name(given, options);
        if (!meant.empty()) return fmt::format(" did you mean {}?", meant);
    }
    return {};
}

} // namespace qmx_terminal
