// qmx-ic generate: writes an artificial lot, its spot tests, its alignment and the truth behind them.
#include "options/command.hpp"
#include "study/base/portable_math.hpp"
#include "study/base/progress.hpp"
#include "study/base/text_file.hpp"
#include "study/document/json_output.hpp"
#include "study/generate/generate_lot.hpp"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace qmx_study {

namespace {

// Times as rollers write them, from the start of work on: 2025/Oct/01 07:00:00.000
class clock_text {
public:
    std::string_view at(double seconds) {
        const std::int64_t tenths = std::llround(seconds * 10);
        if (tenths / 10 != second_) {
            second_ = tenths / 10;
            set_second();
        }
        text_[21] = static_cast<char>('0' + tenths % 10);
        return text_;
    }

private:
    void set_second() {
        using namespace std::chrono;
        static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
        const sys_seconds now = sys_days{October / 1 / 2025} + 7h + seconds{second_};
        const year_month_day day{floor<days>(now)};
        const hh_mm_ss time{now - floor<days>(now)};
        text_ = fmt::format("{}/{}/{:02} {:02}:{:02}:{:02}.000", static_cast<int>(day.year()),
                            months[static_cast<unsigned>(day.month()) - 1],
                            static_cast<unsigned>(day.day()), time.hours().count(),
                            time.minutes().count(), time.seconds().count());
    }

    std::int64_t second_ = -1;
    std::string text_;
};

// Line numbers of the first damaged row of each kind; 0 where there is none. The header is line 1.
using first_lines = std::array<std::int64_t, damage_kinds + 1>;
using damage_counts = std::array<std::int64_t, damage_kinds + 1>;

constexpr double shifted_easting = -90000; // how far off a damaged easting lies, m

void write_records(const generated_lot& made, const lot_settings& settings, const std::string& name,
                   damage_counts& counts, first_lines& first) {
    constexpr std::uint64_t machine_readings = 1000; // a stream that the lot itself does not use
    const portable::random_stream readings(settings.seed, machine_readings);
    clock_text clock;
    text_file file(name);
    file.text("Time,CellN_m,CellE_m,Elevation_m,PassCount,Machine,Speed,TargPassCount,LastCMV,"
              "LastRMV,LastFreq,LastAmp,MachineGear,VibeState\r\n");
    progress bar;
    std::int64_t line = 1;
    for (const lot_record& record : made.records) {
        if (++line % 65536 == 0)
            bar.note("writing rows", static_cast<double>(line),
                     static_cast<double>(made.records.size()));
        const auto kind = static_cast<std::size_t>(record.what_happened);
        if (counts[kind]++ == 0) first[kind] = line;
        const bool shifted = record.what_happened == damage::shifted_fields;
        const lot_cell& cell = made.cells[record.cell];
        // small departures of the other readings: four numbers from 0 to 1 out of one
        const std::uint64_t bits = readings.bits(std::uint64_t{record.cell} << 16 | record.pass);
        const auto part = [bits](int which) {
            return static_cast<double>(bits >> 16 * which & 0xffff) / 65536;
        };
        file.text(clock.at(record.seconds)).text(",");
        file.fixed(cell.northing, 3).text(",");
        file.fixed(cell.easting + (shifted ? shifted_easting : 0), 3);
        file.text(record.what_happened == damage::unit_in_number ? "m," : ",");
        if (!shifted) file.fixed(cell.elevation, 3).text(",");
        file.fixed(record.pass, 0).text(",Roller-1,");
        file.fixed(2.7 + 0.4 * part(0), 1).text("km/h,");
        file.fixed(settings.passes, 0).text(",");
        switch (record.what_happened) {
        case damage::missing_value: file.text("?"); break;
        case damage::text_in_number: file.text("overrange"); break;
        default: file.fixed(record.value, 2); break;
        }
        file.text(",").fixed(2 + 2 * part(1), 1).text(",");
        file.fixed(27 + 2 * part(2), 1).text("Hz,");
        file.fixed(0.85 + 0.2 * part(3), 2).text("mm,");
        file.text(record.reverse ? "Reverse,On" : "Forward,On");
        file.text(shifted ? ",\r\n" : "\r\n");
    }
    file.close();
}

void write_spots(const generated_lot& made, const std::string& name) {
    text_file file(name);
    file.text("Spot,Easting_m,Northing_m,PassCount,Value_MPa\r\n");
    int number = 0;
    for (const lot_spot& spot : made.spots) {
        file.fixed(++number, 0).text(",").fixed(spot.easting, 3).text(",");
        file.fixed(spot.northing, 3).text(",").fixed(spot.pass, 0).text(",");
        file.fixed(spot.value, 2).text("\r\n");
    }
    file.close();
}

void write_alignment(const generated_lot& made, const std::string& name) {
    text_file file(name);
    file.text("Vertex,Easting_m,Northing_m\r\n");
    int number = 0;
    for (const lot_cell& corner : made.alignment) {
        file.fixed(++number, 0).text(",").fixed(corner.easting, 3).text(",");
        file.fixed(corner.northing, 3).text("\r\n");
    }
    file.close();
}

json truth_of(const generated_lot& made, const lot_settings& s, const damage_counts& counts,
              const first_lines& first) {
    static constexpr const char* kinds[] = {"", "missing_value", "text_in_number", "unit_in_number",
                                            "shifted_fields"};
    json truth = new_document("generate");
    truth["seed"] = s.seed;
    truth["rows"] = made.records.size();
    truth["strip"] = {{"origin_easting_m", s.origin_easting},
                      {"origin_northing_m", s.origin_northing},
                      {"azimuth_deg", s.azimuth},
                      {"length_m", s.length},
                      {"width_m", s.width},
                      {"lane_spacing_m", s.lane_spacing},
                      {"point_spacing_m", s.point_spacing},
                      {"lattice", s.lattice},
                      {"lanes", made.lanes},
                      {"points_per_lane", made.stations}};
    truth["rolling"] = {{"passes", s.passes},
                        {"drum_width_m", s.drum_width},
                        {"overlap_m", s.overlap},
                        {"missed_share", s.missed},
                        {"records", s.final_coverage ? "last pass of each cell" : "all passes"}};
    truth["pass_mean"] = {{"first", s.first_mean},
                          {"final", s.final_mean},
                          {"pass_constant", s.pass_constant},
                          {"formula", "final - (final - first) exp(-(pass - 1) / pass_constant)"},
                          {"by_pass", made.pass_means}};
    truth["semivariogram"] = {
        {"model", "exponential"},
        {"practical_range_m", s.range},
        {"sill", s.sill},
        {"nugget", s.nugget},
        {"sill_less_nugget", s.sill - s.nugget},
        {"formula", "nugget + (sill - nugget) (1 - exp(-3 h / practical_range))"}};
    truth["spot_tests"] = {{"count", made.spots.size()},
                           {"intercept", s.spot_intercept},
                           {"slope", s.spot_slope},
                           {"error_standard_deviation", s.spot_error},
                           {"formula", "intercept + slope (pass mean + correlated field) + error"}};
    json& damaged = truth["damaged_rows"];
    for (std::size_t kind = 1; kind <= damage_kinds; ++kind) {
        damaged[kinds[kind]]["rows"] = counts[kind];
        damaged[kinds[kind]]["first_line"] = counts[kind] > 0 ? json(first[kind]) : json(nullptr);
    }
    truth["rows_with_sound_value"] = counts[static_cast<std::size_t>(damage::none)] +
                                     counts[static_cast<std::size_t>(damage::unit_in_number)];
    return truth;
}

struct generate_options {
    lot_settings settings;
    std::string prefix = "lot";
    std::optional<double> points, lattice, azimuth;
    std::vector<double> origin;
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

void generate(const generate_options& options) {
    namespace fs = std::filesystem;
    const lot_settings settings = settings_of(options);
    const fs::path prefix(options.prefix);
    if (prefix.filename().empty())
        throw usage_error(
            fmt::format("{}: ends in no name; write {}lot", options.prefix, options.prefix));
    std::error_code problem;
    if (prefix.has_parent_path()) fs::create_directories(prefix.parent_path(), problem);
    if (problem)
        throw usage_error(fmt::format("{}: the directory cannot be made ({}); name another",
                                      prefix.parent_path().string(), problem.message()));

    const std::string records = options.prefix + ".csv";
    const std::string spots = options.prefix + "-spots.csv";
    const std::string alignment = options.prefix + "-alignment.csv";
    const std::string truth_name = options.prefix + "-truth.json";
    damage_counts counts{};
    first_lines first{};
    json truth;
    try {
        const generated_lot made = generate_lot(settings);
        write_records(made, settings, records, counts, first);
        write_spots(made, spots);
        write_alignment(made, alignment);
        truth = truth_of(made, settings, counts, first);
    } catch (const std::bad_alloc&) {
        throw usage_error("there is not enough memory for a lot of this size; ask for fewer rows");
    }
    text_file truth_file(truth_name);
    truth_file.text(truth.dump(2)).text("\n");
    truth_file.close();

    if (options.as_json) {
        print_document(truth);
        return;
    }
    const std::int64_t rows = truth["rows"];
    const std::int64_t sound = truth["rows_with_sound_value"];
    const auto line = [](const std::string& name, const std::string& what) {
        fmt::print("{:<28} {}\n", name, what);
    };
    line(records, fmt::format("{} rows, {} of them without a sound value", rows, rows - sound));
    line(spots, fmt::format("{} spot tests", settings.spots));
    line(alignment,
         fmt::format("the outline, {:.12g} m by {:.12g} m", settings.length, settings.width));
    line(truth_name, "what they were made from");
}

} // namespace

void add_generate_command(CLI::App& program) {
    const auto options = std::make_shared<generate_options>();
    lot_settings& s = options->settings;
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
        ->add_option("--seed", s.seed, "The same seed and options give the same files everywhere")
        ->check([](const std::string& text) {
            return std::string(text.starts_with('-') ? "give a whole number from 0 on" : "");
        })
        ->capture_default_str();
    command->add_flag("--json", options->as_json, "Print the truth file instead of a summary");

    const auto number = [&](const char* group, const char* name, double& value, const char* help) {
        return command->add_option(name, value, help)->group(group)->capture_default_str();
    };
    const char* const strip = "Strip";
    CLI::Option* const length = number(strip, "--length", s.length, "Length of the strip, m");
    number(strip, "--width", s.width, "Width of the strip, m");
    CLI::Option* const lanes =
        number(strip, "--lane-spacing", s.lane_spacing, "Across the strip, from lane to lane, m");
    CLI::Option* const points =
        number(strip, "--point-spacing", s.point_spacing, "Along a lane, from point to point, m");
    command
        ->add_option("--lattice", options->lattice,
                     "Square cells of this size, m, in rows along the map's axes")
        ->group(strip)
        ->excludes(lanes)
        ->excludes(points);
    command
        ->add_option("--points", options->points,
                     "Choose the length so that the lot has about that many rows")
        ->group(strip)
        ->excludes(length);
    command
        ->add_option("--azimuth", options->azimuth,
                     "Direction of the strip, degrees clockwise from north (60; 90 with --lattice)")
        ->group(strip);
    command
        ->add_option("--origin", options->origin,
                     fmt::format("Corner where the strip begins, m ({:.0f},{:.0f})",
                                 s.origin_easting, s.origin_northing))
        ->group(strip)
        ->type_name("EASTING,NORTHING")
        ->delimiter(',')
        ->expected(2);

    const char* const rolling = "Rolling";
    command->add_option("--passes", s.passes, "Passes over each drum lane")
        ->group(rolling)
        ->capture_default_str();
    number(rolling, "--drum-width", s.drum_width, "Width of the drum, m, in whole lanes");
    number(rolling, "--overlap", s.overlap,
           "Overlap of neighbouring drum lanes, m, in whole lanes; cells there get the passes of "
           "both");
    number(rolling, "--missed", s.missed,
           "Mean share of a drum lane that the last pass leaves out");
    command
        ->add_flag("--final-coverage", s.final_coverage,
                   "Write the last pass of each cell only, not all passes")
        ->group(rolling);

    const char* const values = "Values";
    number(values, "--first-mean", s.first_mean, "Mean value after the first pass");
    number(values, "--final-mean", s.final_mean, "Mean value that further passes tend to");
    number(values, "--pass-constant", s.pass_constant,
           "Passes in which the missing part of the mean falls to 1/e");
    number(values, "--range", s.range, "Practical range of the exponential semivariogram, m");
    number(values, "--sill", s.sill, "Its sill, nugget included: the variance after one pass");
    number(values, "--nugget", s.nugget, "Its nugget: the variance of the noise");
    number(values, "--bad-rows", s.bad_rows,
           "Share of damaged rows, at least one of each kind; 0 for none");

    const char* const spots = "Spot tests";
    command->add_option("--spots", s.spots, "Number of spot tests")
        ->group(spots)
        ->capture_default_str();
    number(spots, "--spot-intercept", s.spot_intercept, "Spot value where the roller would read 0");
    number(spots, "--spot-slope", s.spot_slope, "Spot value per unit of the roller's value");
    number(spots, "--spot-error", s.spot_error, "Standard deviation of a spot test's error");

    command->callback([options] { generate(*options); });
}

} // namespace qmx_study
