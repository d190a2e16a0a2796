// The files that `qmx-ic generate` writes, beside the lot that they hold.
#include "run_program.hpp"
#include "study/generate/generate_lot.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

namespace {

using namespace qmx_study;
using app_test::text_of;

std::vector<std::string> fields_of(const std::string& line) {
    std::vector<std::string> fields(1);
    for (char c : line)
        if (c == ',')
            fields.emplace_back();
        else
            fields.back() += c;
    return fields;
}

class GenerateCommand : public app_test::Program {
protected:
    void generate(const std::string& arguments) const {
        const app_test::outcome made = run("generate " + arguments);
        ASSERT_EQ(made.code, 0) << made.err;
    }
    std::vector<std::string> lines_of(const std::string& file) const {
        std::istringstream in(app_test::text_of(path(file)));
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            EXPECT_TRUE(line.ends_with('\r'));
            line.pop_back();
            lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(GenerateCommand, SameSeedSameBytes) {
    generate("one --length 6");
    generate("two --length 6");
    generate("other --length 6 --seed 2");
    for (const std::string ending : {".csv", "-spots.csv", "-alignment.csv", "-truth.json"}) {
        EXPECT_EQ(text_of(path("one" + ending)), text_of(path("two" + ending)));
        EXPECT_EQ(text_of(path("one" + ending)) == text_of(path("other" + ending)),
                  ending == "-alignment.csv");
    }
    // A seed means these bytes on every machine: the 64-bit FNV-1a hash of the records.
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : text_of(path("one.csv")))
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
    EXPECT_EQ(hash, 14724759436998047299ULL);
}

TEST_F(GenerateCommand, DamagesTheRowsPromised) {
    generate("lot --length 20 --bad-rows 0.01");
    const auto truth = nlohmann::json::parse(text_of(path("lot-truth.json")));
    const std::vector<std::string> lines = lines_of("lot.csv");
    const std::vector<std::string> header = fields_of(lines[0]);
    ASSERT_EQ(truth["rows"], lines.size() - 1);
    const auto column = [&](const char* name) {
        return static_cast<std::size_t>(std::find(header.begin(), header.end(), name) -
                                        header.begin());
    };
    std::map<std::string, std::pair<std::size_t, std::size_t>> found; // rows and first line
    for (std::size_t k = 1; k < lines.size(); ++k) {
        const std::vector<std::string> fields = fields_of(lines[k]);
        ASSERT_EQ(fields.size(), header.size()) << "line " << k + 1;
        const std::string& easting = fields[column("CellE_m")];
        const char* kind = fields[column("LastCMV")] == "?"           ? "missing_value"
                           : fields[column("LastCMV")] == "overrange" ? "text_in_number"
                           : easting.ends_with('m')                   ? "unit_in_number"
                           : fields.back().empty()                    ? "shifted_fields"
                                                                      : "";
        auto& [rows, first] = found[kind];
        if (rows++ == 0) first = k + 1;
        if (fields.back().empty()) {
            EXPECT_EQ(fields[column("PassCount")], "Roller-1");
            EXPECT_LT(std::stod(easting), 432000 - 80000);
        }
    }
    std::size_t damaged = 0;
    for (const auto& [kind, told] : truth["damaged_rows"].items()) {
        EXPECT_EQ(told["rows"], found[kind].first) << kind;
        EXPECT_EQ(told["first_line"], found[kind].second) << kind;
        damaged += found[kind].first;
    }
    EXPECT_EQ(damaged,
              static_cast<std::size_t>(std::llround(0.01 * static_cast<double>(lines.size() - 1))));
    EXPECT_EQ(truth["rows_with_sound_value"], found[""].first + found["unit_in_number"].first);
}

TEST_F(GenerateCommand, WritesWhatTheLotHolds) {
    generate("lot --points 500 --lattice 0.5 --origin=-240000.5,1032000 --passes 2 --bad-rows 0 "
             "--spots 3 --seed 5");
    lot_settings settings;
    settings.seed = 5;
    settings.lattice = true;
    settings.lane_spacing = settings.point_spacing = 0.5;
    settings.azimuth = 90;
    settings.origin_easting = -240000.5;
    settings.origin_northing = 1032000;
    settings.passes = 2;
    settings.bad_rows = 0;
    settings.spots = 3;
    settings.length = 4; // 62 rows from each half metre
    const generated_lot made = generate_lot(settings);
    const std::vector<std::string> lines = lines_of("lot.csv");
    ASSERT_EQ(lines.size(), made.records.size() + 1);
    for (std::size_t k = 0; k < made.records.size(); ++k) {
        const lot_record& record = made.records[k];
        const lot_cell& cell = made.cells[record.cell];
        const std::vector<std::string> fields = fields_of(lines[k + 1]);
        EXPECT_EQ(std::stod(fields[1]), cell.northing);
        EXPECT_EQ(std::stod(fields[2]), cell.easting);
        EXPECT_EQ(std::stod(fields[3]), cell.elevation);
        EXPECT_EQ(std::stoi(fields[4]), record.pass);
        EXPECT_EQ(std::stod(fields[8]), record.value);
        EXPECT_EQ(fields[12], record.reverse ? "Reverse" : "Forward");
    }
    EXPECT_EQ(lines[1].substr(0, 56), "2025/Oct/01 07:00:00.000,1031999.750,-240000.250,311.859");
    EXPECT_EQ(lines_of("lot-spots.csv").size(), 4U);
    EXPECT_EQ(lines_of("lot-alignment.csv")[2], "2,-239996.500,1032000.000");
}

TEST_F(GenerateCommand, RefusesNonsense) {
    expect_refused("generate lot", {{"--length nan", "--length is nan"},
                                    {"--passes 0", "--passes is 0"},
                                    {"--lattice -1", "--lane-spacing is -1"},
                                    {"--nugget 37", "--sill 36"},
                                    {"--overlap 2", "--drum-width 2"},
                                    {"--width 0.4", "no lane fits"},
                                    {"--length 0.2", "no point fits"},
                                    {"--points 0", "--points is 0"},
                                    {"--length 1e6", "rows, 50000000 is the most"},
                                    {"--drum-width 300 --overlap 299", "passes, 1000 is the most"},
                                    {"--bad-rows 0.6", "--bad-rows is 0.6"},
                                    {"--points 5 --length 5", "--length"},
                                    {"--seed -1", "whole number from 0 on"},
                                    {"--origin 1", "--origin"}});
    EXPECT_FALSE(std::filesystem::exists(path("lot.csv")));
    std::filesystem::create_directories(path("taken.csv"));
    expect_refused("generate taken", {{"--length 1", "taken.csv"}});
}

} // namespace
