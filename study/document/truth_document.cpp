#include "study/document/truth_document.hpp"

namespace qmx_study {

json truth_document(const generated_lot& made, const lot_settings& settings,
                    const damage_account& damaged_rows) {
    static constexpr const char* kinds[] = {"", "missing_value", "text_in_number", "unit_in_number",
                                            "shifted_fields"};
    json truth = new_document("generate");
    truth["seed"] = settings.seed;
    truth["rows"] = made.records.size();
    truth["strip"] = {{"origin_easting_m", settings.origin_easting},
                      {"origin_northing_m", settings.origin_northing},
                      {"azimuth_deg", settings.azimuth},
                      {"length_m", settings.length},
                      {"width_m", settings.width},
                      {"lane_spacing_m", settings.lane_spacing},
                      {"point_spacing_m", settings.point_spacing},
                      {"lattice", settings.lattice},
                      {"lanes", made.lanes},
                      {"points_per_lane", made.stations}};
    truth["rolling"] = {
        {"passes", settings.passes},
        {"drum_width_m", settings.drum_width},
        {"overlap_m", settings.overlap},
        {"missed_share", settings.missed},
        {"records", settings.final_coverage ? "last pass of each cell" : "all passes"}};
    truth["pass_mean"] = {{"first", settings.first_mean},
                          {"final", settings.final_mean},
                          {"pass_constant", settings.pass_constant},
                          {"formula", "final - (final - first) exp(-(pass - 1) / pass_constant)"},
                          {"by_pass", made.pass_means}};
    truth["semivariogram"] = {
        {"model", "exponential"},
        {"practical_range_m", settings.range},
        {"sill", settings.sill},
        {"nugget", settings.nugget},
        {"sill_less_nugget", settings.sill - settings.nugget},
        {"formula", "nugget + (sill - nugget) (1 - exp(-3 h / practical_range))"}};
    truth["spot_tests"] = {{"count", made.spots.size()},
                           {"intercept", settings.spot_intercept},
                           {"slope", settings.spot_slope},
                           {"error_standard_deviation", settings.spot_error},
                           {"formula", "intercept + slope (pass mean + correlated field) + error"}};
    json& damaged = truth["damaged_rows"];
    for (std::size_t kind = 1; kind <= damage_kinds; ++kind) {
        damaged[kinds[kind]]["rows"] = damaged_rows.rows[kind];
        damaged[kinds[kind]]["first_line"] =
            damaged_rows.rows[kind] > 0 ? json(damaged_rows.first_line[kind]) : json(nullptr);
    }
    truth["rows_with_sound_value"] = damaged_rows.sound_rows();
    return truth;
}

} // namespace qmx_study
