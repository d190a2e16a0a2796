// qmx-ic report and init: what the command line settles; the report's contents are tested with study/,
// its page in a browser.
#include <algorithm>
#include <filesystem>
#include <string>

#include "run_program.hpp"

namespace {

using app_test::outcome;
using app_test::refusal;
using nlohmann::json;

class Report : public app_test::Program {
protected:
    Report() {
        run("generate lot --length 30 --force");
        write("job.toml",
              "[input]\nfiles = [\"lot.csv\"]\ntests = \"lot-spots.csv\"\n"
              "area = \"lot-alignment.csv\"\n[filter]\nvalue = [20, 90]\n"
              "[analysis]\ntarget = 40\n[thresholds]\npreset = \"austria\"\n"
              "variation_percent = 15\n[output]\ntime_stamp = \"2026-01-01T00:00:00Z\"\n");
    }
    json document_of(const std::string& options) const {
        const outcome done = run("report " + options + " --json");
        EXPECT_EQ(done.code, 0) << done.err;
        return json::parse(done.out);
    }
};

const json& verdict_of(const json& document, const std::string& key) {
    for (const json& each : document["verdicts"])
        if (each["key"] == key) return each;
    static const json none;
    return none;
}

TEST_F(Report, WritesWhatIsAskedForAndSaysSo) {
    const outcome done = run("report --job job.toml -o page.html --document page.json "
                             "--tables tables --cells cells.csv");
    EXPECT_EQ(done.code, 0) << done.err;
    for (const char* const said : {"Verdicts", "SHA-256", "page.html", "Spot tests", "correlation"})
        EXPECT_TRUE(done.says(said)) << said;
    const std::string page = app_test::text_of(path("page.html"));
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>") || page.starts_with("<!doctype html>"));
    EXPECT_LT(page.size(), 5000000U);
    const json document = json::parse(app_test::text_of(path("page.json")));
    EXPECT_EQ(document, document_of("--job job.toml"));
    // A cell for each row that is used, and each of them judged.
    const std::string cells = app_test::text_of(path("cells.csv"));
    EXPECT_EQ(std::count(cells.begin(), cells.end(), '\n'),
              1 + document["stats"]["statistics"]["count"].get<int>());
    EXPECT_TRUE(std::filesystem::exists(path("tables/verdicts.csv")));
    // Twice the same bytes.
    EXPECT_EQ(run("report --job job.toml -o again.html --document again.json").code, 0);
    EXPECT_EQ(app_test::text_of(path("again.html")), page);
    EXPECT_EQ(app_test::text_of(path("again.json")), app_test::text_of(path("page.json")));
}

TEST_F(Report, TheCommandLineWinsOverTheJob) {
    const json by_job = document_of("--job job.toml");
    EXPECT_EQ(verdict_of(by_job, "variation")["threshold"]["value"], 15);
    EXPECT_EQ(verdict_of(by_job, "variation")["threshold"]["from"], "job.toml, line 11");
    EXPECT_EQ(verdict_of(by_job, "coverage"), json());
    EXPECT_GT(by_job["input"]["rows_left_out_by_filter"], 0);
    const json by_both =
        document_of("--job job.toml --preset us-soil --threshold variation_percent=7 "
                    "--threshold cell_size=off --target 30 --target-passes 2");
    EXPECT_EQ(verdict_of(by_both, "variation")["threshold"]["from"], "command line");
    EXPECT_EQ(verdict_of(by_both, "variation")["outcome"], "missed");
    EXPECT_EQ(verdict_of(by_both, "coverage")["outcome"], "met");
    EXPECT_EQ(verdict_of(by_both, "cell_size"), json());
    EXPECT_EQ(by_both["settings"]["target"], 30);
    EXPECT_EQ(run("report --job job.toml --threshold variation_percent=7 --exit-code").code, 3);
    EXPECT_EQ(run("report --job job.toml --threshold variation_percent=90 --exit-code").code, 0);
}

TEST_F(Report, StandardOutputTakesOneOfTheOutputs) {
    const outcome piped = run("report --job job.toml --document -");
    EXPECT_EQ(json::parse(piped.out), document_of("--job job.toml"));
    EXPECT_NE(piped.err.find("Verdicts"), std::string::npos);
    const outcome both = run("report --job job.toml --document - --json");
    EXPECT_EQ(both.code, 2);
    EXPECT_TRUE(both.says("both want standard output"));
    expect_refused("report --job job.toml",
                   {{"--document - -o -", "named for two outputs"},
                    {"--document lot.csv", "this is the file that is read"},
                    {"-o job.toml", "this is the file that is read"},
                    {"--cells cells.xyz", "cells.xyz"}});
}

TEST_F(Report, WrongWordsAreNamedWithTheirPlace) {
    write("wrong.toml", "[input]\nfiles = [\"lot.csv\"]\n\n[tresholds]\npreset = \"austria\"\n");
    expect_refused("report",
                   {{"", "FILE is required"},
                    {"gone.csv", "there is no such file"},
                    {"--job wrong.toml", "wrong.toml, line 4"},
                    {"--job gone.toml", "gone.toml: the job file cannot be read (No such file"},
                    {"--job .", ".: the job file cannot be read (Is a directory"},
                    {"lot.csv --preset austra", "did you mean austria"},
                    {"lot.csv --threshold cv=20", "there is no threshold \"cv\""},
                    {"lot.csv --threshold variation_percent", "KEY=NUMBER"},
                    {"lot.csv --lang xx -o page.html", "no language of the report"},
                    {"lot.csv --logo lot.csv -o page.html", "neither PNG nor JPEG nor SVG"}});
    EXPECT_FALSE(std::filesystem::exists(path("page.html")));
}

TEST_F(Report, InitWritesAJobThatRuns) {
    EXPECT_EQ(run("init lot.csv --tests lot-spots.csv --area lot-alignment.csv -o new.toml").code,
              0);
    EXPECT_EQ(run("init lot.csv -o new.toml").code, 2);
    EXPECT_EQ(run("init lot.csv -o new.toml --force").code, 0);
    EXPECT_EQ(run("init lot.csv -o -").out, app_test::text_of(path("new.toml")));
    const json document = document_of("--job new.toml");
    EXPECT_EQ(document["columns"]["value"]["name"], "LastCMV");
    // A name that is no UTF-8 would make a job that cannot be read.
    std::filesystem::copy(path("lot.csv"), folder / "stra\xdf"
                                                    "e.csv");
    const outcome refused = run("init 'stra\xdf"
                                "e.csv' -o third.toml");
    EXPECT_EQ(refused.code, 2);
    EXPECT_TRUE(refused.says("is no UTF-8 and cannot stand in a job file; rename it"));
    EXPECT_FALSE(std::filesystem::exists(path("third.toml")));
}

} // namespace
