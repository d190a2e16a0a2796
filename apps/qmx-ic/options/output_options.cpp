#include <fmt/format.h>

#include "options/road.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/output_file.hpp"
#include "study/output/table_writer.hpp"

namespace qmx_terminal {

using namespace qmx_study;

void add_json_option(CLI::App& command, bool& as_json) {
    command.add_flag("--json", as_json, "Print JSON")->group("Output");
    command.parse_complete_callback([&command, &as_json] {
        const CLI::Option* const output = command.get_option_no_throw("--output");
        if (as_json && output && output->count() > 0 && output->as<std::string>() == "-")
            throw wrong_option("--output", " - and --json both want standard output; name a file");
    });
}

void add_output_options(CLI::App& command, output_options& options, const std::string& table) {
    command
        .add_option("--output", options.output,
                    fmt::format("Write {} to a file: .csv, .tsv, .txt (each also .gz), .gpkg, "
                                ".geojson or .parquet; - is standard output",
                                table))
        ->group("Output");
    add_json_option(command, options.as_json);
}

void check(const output_options& options, const std::vector<std::string>& inputs) {
    if (options.output.empty()) return;
    check_output_name(options.output);
    refuse_inputs_as_output(inputs, options.output);
}

} // namespace qmx_terminal
