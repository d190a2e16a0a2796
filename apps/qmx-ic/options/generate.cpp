// qmx-ic generate: writes an artificial lot, its spot tests, its alignment and the truth behind them.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"
#include "study/base/text_file.hpp"
#include "study/document/truth_document.hpp"
#include "study/generate/generate_lot.hpp"
#include "study/generate/lot_files.hpp"
#include "text/printing.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct generate_options {
    lot_settings settings;
    std::string prefix = "lot";
    std::optional<double> points, lattice, azimuth;
    std::vector<double> origin;
    bool force = false;
    bool as_json = false;
};

// The settings that the options amount to, checked.
lot_settings settings_of(const generate_options& options) {
    lot_settings settings = options.settings;
    if (options.lattice) {
        settings.lattice = true;
        settings.lane_spacing = settings.point_spacing = *options.lattice;
        settings.azimuth = 90; // rows along the axes of the map, as rollers grid their cells
    }
    if (options.azimuth) settings.azimuth = *options.azimuth;
    if (!options.origin.empty()) {
        settings.origin_easting = options.origin[0];
        settings.origin_northing = options.origin[1];
    }
    if (options.points) settings.length = settings.point_spacing; // for the check of the rest
    std::string fault = fault_in(settings);
    if (fault.empty() && options.points) {
        if (!(*options.points >= 1 && *options.points <= most_lot_records))
            throw usage_error(fmt::format("--points is {}; give a number from 1 to {:.0f}",
                                          *options.points, most_lot_records));
        set_length_for(settings, *options.points);
        fault = fault_in(settings);
    }
    if (!fault.empty()) throw usage_error(fault);
    return settings;
}

// The files are named by a prefix.
struct file_names {
    explicit file_names(const std::string& prefix)
        : records(prefix + ".csv"), spots(prefix + "-spots.csv"),
          alignment(prefix + "-alignment.csv"), truth(prefix + "-truth.json") {}
    std::string records, spots, alignment, truth;
};

void make_folder(const std::string& prefix_text) {
    namespace fs = std::filesystem;
    const fs::path prefix = qmx_study::path_of(prefix_text);
    if (prefix.filename().empty())
        throw usage_error(
            fmt::format("{}: ends in no name; write {}lot", prefix_text, prefix_text));
    std::error_code problem;
    if (prefix.has_parent_path()) fs::create_directories(prefix.parent_path(), problem);
    if (problem)
        throw usage_error(fmt::format("{}: the directory cannot be made ({}); name another",
                                      prefix.parent_path().string(), problem.message()));
}

void refuse_overwriting(const file_names& names) {
    for (const std::string& name : {names.records, names.spots, names.alignment, names.truth}) {
        std::error_code unknown;
        if (std::filesystem::exists(qmx_study::path_of(name), unknown))
            throw usage_error(fmt::format("{}: is there already; --force writes over it, another "
                                          "prefix leaves it",
                                          name),
                              error_place{"--force", name, 0, {}});
    }
}

struct written_lot {
    std::int64_t rows = 0, sound_rows = 0;
    json truth;
};

written_lot write_lot(const lot_settings& settings, const file_names& names) {
    try {
        progress shown(progress_line());
        const generated_lot made = generate_lot(settings);
        const damage_account damaged = write_records(made, settings, names.records, shown);
        write_spots(made, names.spots);
        write_alignment(made, names.alignment);
        return {static_cast<std::int64_t>(made.records.size()), damaged.sound_rows(),
                truth_document(made, settings, damaged)};
    } catch (const std::bad_alloc&) {
        throw usage_error("there is not enough memory for a lot of this size; ask for fewer rows");
    }
}

void print_summary(const written_lot& lot, const lot_settings& settings, const file_names& names) {
    const auto line = [](const std::string& name, const std::string& what) {
        print_answer(fmt::format("{:<28} {}\n", name, what));
    };
    line(names.records, fmt::format("{} rows, {} of them without a sound value", lot.rows,
                                    lot.rows - lot.sound_rows));
    line(names.spots, fmt::format("{} spot tests", settings.spots));
    line(names.alignment,
         fmt::format("the outline, {:.12g} m by {:.12g} m", settings.length, settings.width));
    line(names.truth, "what they were made from");
}

void run(const generate_options& options) {
    const lot_settings settings = settings_of(options);
    const file_names names(options.prefix);
    if (!options.force) refuse_overwriting(names);
    make_folder(options.prefix);
    const written_lot lot = write_lot(settings, names);
    text_file truth_file(names.truth);
    truth_file.text(lot.truth.dump(2)).text("\n");
    truth_file.close();
    if (options.as_json) {
        print_answer(text_of(lot.truth));
    } else {
        print_summary(lot, settings, names);
    }
}

// Adds options for the numbers of one group.
class number_group {
public:
    number_group(CLI::App& to, const char* group) : command(to), name(group) {}
    CLI::Option* add(const char* option, double& value, const char* help) const {
        return command.add_option(option, value, help)->group(name)->capture_default_str();
    }

private:
    CLI::App& command;
    const char* name;
};

void add_strip_options(CLI::App& command, generate_options& options) {
    lot_settings& s = options.settings;
    const char* const strip = "Strip";
    const number_group numbers(command, strip);
    CLI::Option* const length = numbers.add("--length", s.length, "Length of the strip, m");
    numbers.add("--width", s.width, "Width of the strip, m");
    CLI::Option* const lanes =
        numbers.add("--lane-spacing", s.lane_spacing, "Across the strip, from lane to lane, m");
    CLI::Option* const points =
        numbers.add("--point-spacing", s.point_spacing, "Along a lane, from point to point, m");
    command
        .add_option("--lattice", options.lattice,
                    "Square cells of this size, m, in rows along the map's axes")
        ->group(strip)
        ->excludes(lanes)
        ->excludes(points);
    command
        .add_option("--points", options.points,
                    "Choose the length so that the lot has about that many rows")
        ->group(strip)
        ->excludes(length);
    command
        .add_option("--azimuth", options.azimuth,
                    "Direction of the strip, degrees clockwise from north (60; 90 with --lattice)")
        ->group(strip);
    command
        .add_option("--origin", options.origin,
                    fmt::format("Corner where the strip begins, m ({:.0f},{:.0f})",
                                s.origin_easting, s.origin_northing))
        ->group(strip)
        ->type_name("EASTING,NORTHING")
        ->delimiter(',')
        ->expected(2);
}

void add_rolling_options(CLI::App& command, lot_settings& s) {
    const char* const rolling = "Rolling";
    const number_group numbers(command, rolling);
    command.add_option("--passes", s.passes, "Passes over each drum lane")
        ->group(rolling)
        ->capture_default_str();
    numbers.add("--drum-width", s.drum_width, "Width of the drum, m, in whole lanes");
    numbers.add(
        "--overlap", s.overlap,
        "Overlap of neighbouring drum lanes, m, in whole lanes; cells there get the passes of "
        "both");
    numbers.add("--missed", s.missed, "Mean share of a drum lane that the last pass leaves out");
    command
        .add_flag("--final-coverage", s.final_coverage,
                  "Write the last pass of each cell only, not all passes")
        ->group(rolling);
}

void add_value_options(CLI::App& command, lot_settings& s) {
    const number_group numbers(command, "Values");
    numbers.add("--first-mean", s.first_mean, "Mean value after the first pass");
    numbers.add("--final-mean", s.final_mean, "Mean value that further passes tend to");
    numbers.add("--pass-constant", s.pass_constant,
                "Passes in which the missing part of the mean falls to 1/e");
    numbers.add("--range", s.range, "Practical range of the exponential semivariogram, m");
    numbers.add("--sill", s.sill, "Its sill, nugget included: the variance after one pass");
    numbers.add("--nugget", s.nugget, "Its nugget: the variance of the noise");
    numbers.add("--bad-rows", s.bad_rows,
                "Share of damaged rows, at least one of each kind; 0 for none");
}

void add_spot_options(CLI::App& command, lot_settings& s) {
    const char* const spots = "Spot tests";
    const number_group numbers(command, spots);
    command.add_option("--spots", s.spots, "Number of spot tests")
        ->group(spots)
        ->capture_default_str();
    numbers.add("--spot-intercept", s.spot_intercept, "Spot value where the roller would read 0");
    numbers.add("--spot-slope", s.spot_slope, "Spot value per unit of the roller's value");
    numbers.add("--spot-error", s.spot_error, "Standard deviation of a spot test's error");
}

} // namespace

void add_generate_command(CLI::App& program) {
    const auto options = std::make_shared<generate_options>();
    CLI::App* const command = program.add_subcommand(
        "generate",
        "Write an artificial lot with known truth: roller records, spot tests, outline");
    command
        ->add_option("prefix", options->prefix,
                     "Files are named PREFIX.csv, PREFIX-spots.csv, PREFIX-alignment.csv and "
                     "PREFIX-truth.json; a missing directory is made")
        ->type_name("PREFIX")
        ->capture_default_str();
    command
        ->add_option("--seed", options->settings.seed,
                     "The same seed and options give the same files everywhere")
        ->check([](const std::string& text) {
            return std::string(text.starts_with('-') ? "give a whole number from 0 on" : "");
        })
        ->capture_default_str();
    command->add_flag("--force", options->force, "Write over files that are there");
    command->add_flag("--json", options->as_json, "Print the truth file instead of a summary");

    add_strip_options(*command, *options);
    add_rolling_options(*command, options->settings);
    add_value_options(*command, options->settings);
    add_spot_options(*command, options->settings);
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
