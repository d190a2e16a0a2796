// An artificial lot with known truth: a strip of road that a roller compacts in overlapping drum
// lanes, pass after pass.
//
// The strip starts at its origin and runs `length` metres towards `azimuth`; its width lies to the
// right of that line. The roller records one value for each cell under its drum. Cells stand in
// lanes of their own, `lane_spacing` apart across the strip and `point_spacing` apart along it.
//
//   value(cell, pass) = mean(pass) + field(cell) + noise(cell, pass)
//   mean(p)  = final_mean - (final_mean - first_mean) exp(-(p - 1) / pass_constant)
//   field    : stationary Gaussian, covariance (sill - nugget) exp(-3 h / range), the same at all
//              passes: it stands for the ground
//   noise    : independent Gaussian, variance nugget
//
// The semivariogram of one pass is therefore nugget + (sill - nugget) (1 - exp(-3 h / range)). The
// numbers depend on the settings alone, not on the machine, and a lot of last passes holds exactly
// the last passes of the lot of all passes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qmx_study {

// Lengths in metres, shares from 0 to 1.
struct lot_settings {
    std::uint64_t seed = 1;

    double length = 100;
    double width = 12;
    double lane_spacing = 0.5;
    double point_spacing = 0.3;
    bool lattice = false; // cells in rows across the strip; otherwise each lane has its own start
    double azimuth = 60;  // degrees, clockwise from north
    double origin_easting = 432000;
    double origin_northing = 4862000;

    int passes = 6; // of the roller over each drum lane
    double drum_width = 2;
    double overlap = 0.5;        // of neighbouring drum lanes: cells there get passes from both
    double missed = 0.02;        // mean share of a drum lane that the last pass leaves out
    bool final_coverage = false; // keep the last pass of each cell only

    double first_mean = 30;
    double final_mean = 50;
    double pass_constant = 1.5; // passes
    double range = 10;          // practical: 95 % of the sill less nugget is reached there
    double sill = 36;           // nugget included
    double nugget = 6;

    int spots = 30;
    double spot_intercept = 5; // spot = intercept + slope (mean + field) + error
    double spot_slope = 0.8;
    double spot_error = 2; // standard deviation

    double bad_rows = 0.002; // share of the records that come out damaged, at least one per kind
};

// What happened to a record on its way into the file.
enum class damage : std::uint8_t {
    none,
    missing_value,  // no value
    text_in_number, // a word where the value should be
    unit_in_number, // the unit written behind the easting; the row is usable
    shifted_fields  // one field lost, the later ones one column to the left, easting far away
};
inline constexpr int damage_kinds = 4; // besides none

struct lot_cell {
    double easting, northing, elevation; // metres, rounded to millimetres
};

struct lot_record {
    double value;       // rounded to 0.01
    double seconds;     // since the start of work
    std::uint32_t cell; // position in generated_lot::cells, from 0
    std::uint16_t pass; // at this cell, from 1
    bool reverse;       // the roller drove backwards
    damage what_happened;
};

struct lot_spot {
    double easting, northing, value; // rounded to millimetres and 0.01
    int pass;                        // after which the test was made
};

struct generated_lot {
    std::int64_t lanes = 0, stations = 0; // cells across and along the strip
    std::vector<lot_cell> cells;          // lane after lane; also those that no pass reached
    std::vector<lot_record> records;      // in order of time
    std::vector<lot_spot> spots;
    std::array<lot_cell, 4> alignment{}; // corners of the strip in order, not closed
    std::vector<double> pass_means;      // element p - 1: mean after pass p
};

inline constexpr double most_lot_records = 5e7;

// What is wrong with the settings, naming the option and the remedy; empty when they are sound.
std::string fault_in(const lot_settings& settings);

// Sets the length so that the lot has about that many records (damaged ones included).
void set_length_for(lot_settings& settings, double records);

// Computes the lot. The settings must be sound. Memory: 24 bytes a record, about 50 a cell.
generated_lot generate_lot(const lot_settings& settings);

} // namespace qmx_study
