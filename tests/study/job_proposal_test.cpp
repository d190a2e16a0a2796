// What a proposed job file remarks of lots that are not as they should be.
#include "study/job/job_proposal.hpp"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "study/base/errors.hpp"
#include "study/job/job_file.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;

std::string proposed(const temporary_file& lot, job_settings known = {},
                     const std::string& job_file = "") {
    known.reading.file = lot.name();
    progress quiet;
    return init_text(known, job_file, quiet);
}

// Rows 0 to count - 1 behind a head.
template <class Row> std::string rows_behind(const char* head, int count, Row row) {
    std::string text = std::string(head) + "\n";
    for (int i = 0; i < count; ++i) text += row(i) + "\n";
    return text;
}

struct remarked_lot {
    const char* what;
    std::string text;
    std::vector<const char*> said, unsaid;
};

TEST(JobProposal, IsReadBackAndNamesWhatWasFound) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / fmt::format("qmx-job-{}", ::getpid());
    std::filesystem::create_directories(folder / "jobs");
    const std::string lot = (folder / "Prüfung 'a' \\ \"b\".csv").string();
    std::string text = "Easting;Northing;Evib [MN/m²];Pass \"n\";Walze;Datum;Zeit;Speed;Temp\n";
    for (int i = 0; i < 30; ++i)
        text += fmt::format("{},5;{};{},5;{};{};01.10.2025;0{}:30;{}km/h;?\n", i, i % 3, i,
                            1 + i % 2, i % 2 ? "Müller \"1\"" : "W2", i % 10, 2 + i % 3);
    std::ofstream(lot) << text;
    job_settings known;
    known.reading.file = lot;
    known.tests = (folder / "spots.csv").string();
    progress quiet;
    const std::string job_file = (folder / "jobs" / "job.toml").string();
    const std::string job = init_text(known, job_file, quiet);
    std::ofstream(job_file) << job;
    SCOPED_TRACE(job);
    const job_settings found = read_job(job_file);
    EXPECT_TRUE(std::filesystem::equivalent(found.reading.file, lot));
    EXPECT_EQ(std::filesystem::path(found.tests).lexically_normal(), known.tests);
    EXPECT_EQ(found.reading.x + "|" + found.reading.y + "|" + found.reading.value,
              "Easting|Northing|Evib [MN/m²]");
    EXPECT_EQ(found.traits[trait::machine], "Walze");
    EXPECT_EQ(found.traits[trait::time], "Zeit");
    EXPECT_EQ(found.traits[trait::lift], "");
    EXPECT_EQ(found.thresholds.size(), thresholds_of("general").size());
    for (const char* const said :
         {"# the file tells it: MN/m²\n", "# seen: 0.5 to 29.5 MN/m²\n", "# found: comma\n",
          "# seen: 2 to 4 km/h\n", "# seen: \"Müller \"1\"\" in 15, \"W2\" in 15 rows\n",
          "# seen: 2025-10-01T00:30:00 to 2025-10-01T09:30:00\n",
          "# times of day alone go with the column \"Datum\"\n", "# austria: ", "30 rows read"})
        EXPECT_NE(job.find(said), std::string::npos) << said;
    // A lot without anything that is known still gives a job file to fill in.
    std::ofstream(lot) << "a,b\n1,x\n2,y\n3,z\n";
    EXPECT_EQ(job_from_text(init_text(known, "", quiet), "job.toml").reading.file, lot);
    std::filesystem::remove_all(folder);
}

TEST(JobProposal, RemarksWhatIsOddInALot) {
    const remarked_lot lots[] = {
        {"degrees, and a value without a unit",
         rows_behind("Longitude,Latitude,CMV", 9,
                     [](int i) { return fmt::format("-93.97{0},43.9{0},4{0}", i); }),
         {"# the positions are in degrees: a report needs a plane\n", "\nproject = \"utm\"\n",
          "# the file does not tell it\n", "# seen: 40 to 48\n", "# none was recognised\n",
          "# no column of the speed was recognised\n", "# no column of the time was recognised\n",
          "# found: point\n"},
         {"# dropped: "}},
        {"rows that cannot be used",
         rows_behind("x,y,CMV,PassCount", 30,
                     [](int i) {
                         return i < 2    ? fmt::format("{},1,?,1", i)
                                : i == 9 ? fmt::format("{},1", i)
                                         : fmt::format("{},1,{},1", i, i - 4);
                     }),
         {"# dropped: 1 row, the line has too few fields; first on line 11\n", "# seen: -2 to 25\n",
          "30 rows read, 1 dropped, 4 columns"},
         {"\nproject = \"utm\"\n"}},
        {"times of which some are not understood",
         rows_behind("x,y,CMV,Time,Machine", 20,
                     [](int i) {
                         return fmt::format("{},1,{},{},{}", i, i,
                                            i == 3 ? "soon"
                                            : i == 4
                                                ? "01/02/2025"
                                                : fmt::format("2025-10-{:02} 07:00:00", 29 - i),
                                            i == 5 ? "" : "A");
                     }),
         {"# seen: 2025-10-10T07:00:00 to 2025-10-29T07:00:00\n",
          "# 2 rows without a time that is understood\n", "# seen: \"A\" in 19 rows\n",
          "\ntime = \"Time\"\n"},
         {"of day alone"}},
        {"times of which none is understood",
         rows_behind("x,y,CMV,Time", 9, [](int i) { return fmt::format("{},1,{},soon", i, i); }),
         {"# \"Time\" holds no time that is understood\n"},
         {"\ntime = \"Time\"\n"}},
        {"more machines than are listed, the most frequent first, and states",
         rows_behind("x,y,CMV,Machine,VibeState,Direction,Lift,Temp,Speed", 60,
                     [](int i) {
                         return fmt::format("{},1,{},M{:02},{},{},,8{},{}.5 m/s", i, i,
                                            i < 44 ? i % 22 : 21, i % 3 ? "On" : "Off",
                                            i % 2 ? "F" : "R", i % 10, i % 4);
                     }),
         {"# seen: \"M21\" in 18, \"M00\" in 2, ", "\"M18\" in 2 and 2 more rows\n",
          "# seen: \"On\" in 40, \"Off\" in 20 rows\n", "# seen: \"F\" in 30, \"R\" in 30 rows\n",
          "# seen: 0.5 to 3.5 m/s\n"},
         {"\"M19\"", "no column of the lift"}},
        {"two values, one of them hardly filled",
         rows_behind("x,y,CMV,MDP,Temp", 20,
                     [](int i) { return fmt::format("{},1,{},1{},30", i, i < 4 ? "50" : "?", i); }),
         {"# could be \"CMV\": 4 rows with a number\n", "\nvalue = \"MDP\"\n"},
         {"# could be \"MDP\""}},
        {"no value",
         "x,y,Time,remark,PassCount,what\n1,1,2025-01-01,a,1,b\n2,1,2025-01-02,a,2,b\n",
         {"# name one of: remark, what\n"},
         {"\nvalue = "}}};
    for (const remarked_lot& each : lots) {
        SCOPED_TRACE(each.what);
        const temporary_file file(".csv", each.text);
        const std::string text = proposed(file);
        SCOPED_TRACE(text);
        for (const char* const said : each.said)
            EXPECT_NE(text.find(said), std::string::npos) << said;
        for (const char* const unsaid : each.unsaid)
            EXPECT_EQ(text.find(unsaid), std::string::npos) << unsaid;
        EXPECT_EQ(job_from_text(text, "").reading.file, file.name());
    }
}

TEST(JobProposal, KeepsWhatIsNamed) {
    const temporary_file file(".csv", rows_behind("a,b,c,d,CMV,MDP", 9, [](int i) {
                                  return fmt::format("{0},1,{0},1,5{0},6{0}", i);
                              }));
    job_settings known;
    known.reading.x = "c";
    known.reading.y = "d";
    known.reading.value = "MDP";
    known.reading.where = "MDP > 62";
    known.traits[trait::speed] = "a";
    job_settings found = job_from_text(proposed(file, known), "");
    EXPECT_EQ(found.reading.x + found.reading.y + found.reading.value, "cdMDP");
    EXPECT_EQ(found.reading.where, known.reading.where);
    EXPECT_EQ(found.traits[trait::speed], "a");
    // The ranges are those of the rows that --where takes.
    EXPECT_NE(proposed(file, known).find("# seen: 3 to 8\n"), std::string::npos);
    known.traits[trait::speed] = "nowhere";
    EXPECT_THROW(proposed(file, known), usage_error);
}

TEST(JobProposal, NamesFilesFromTheFolderOfTheJob) {
    namespace fs = std::filesystem;
    const temporary_file file(".csv", "x,y,CMV\n1,1,5\n2,1,6\n");
    const temporary_file second(".csv", "x,y,CMV\n3,1,5\n4,1,6\n");
    job_settings known;
    known.reading.further_files = {second.name()};
    known.tests = "-";
    const fs::path folder = fs::path(file.name()).parent_path();
    const std::string job_file = (folder / "jobs" / "a.toml").string();
    // Absolute names stay; others are written as seen from the job's folder.
    EXPECT_EQ(job_from_text(proposed(file, known, job_file), job_file).reading.files(),
              (std::vector<std::string>{file.name(), second.name()}));
    known.area = "area.csv";
    const job_settings found = job_from_text(proposed(file, known, job_file), "");
    EXPECT_EQ(found.tests, "-");
    EXPECT_EQ(fs::path(found.area),
              fs::absolute("area.csv").lexically_relative(fs::absolute(folder / "jobs")));
    EXPECT_EQ(found.report, fs::path(file.name()).stem().string() + ".report.html");
}

} // namespace
