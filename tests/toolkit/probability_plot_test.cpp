// The report read back from its file.
#include "events/unit_table.hpp"
#include "support/expect_event.hpp"
#include "support/scratch_folder.hpp"
#include "toolkit/probability_plot.hpp"

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/normal.hpp>

using namespace qmx;

namespace {

struct report {
    i32 status = 0;
    std::vector<std::string> lines;
};

report report_on(const std::vector<f32>& data) {
    const support::scratch_folder folder;
    const std::string path = (folder.path() / "report.txt").string();
    const i32 unit = find_free_unit();
    EXPECT_EQ(connect_unit(unit, path, open_status::unknown), 0);
    report result;
    clear_event();
    result.status = norm_prob(view_of(data.data(), std::ssize(data)), unit);
    close_unit(unit);
    result.lines = support::lines_of(path);
    return result;
}

struct table_row {
    int number = 0, position = 0;
    f64 value = 0, uniform = 0, normal = 0;
};

std::vector<table_row> table_in(const report& written, std::size_t count) {
    std::vector<table_row> rows(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::istringstream line(written.lines.at(i + 1));
        line >> rows[i].number >> rows[i].position >> rows[i].value >> rows[i].uniform >>
            rows[i].normal;
        EXPECT_FALSE(line.fail()) << written.lines[i + 1];
    }
    return rows;
}

TEST(NormalProbabilityPlot, TablesTheSortedDataWithTheirMedians) {
    std::vector<f32> data;
    for (int i = 0; i < 25; ++i) data.push_back(static_cast<f32>((i * 7) % 25) * 1.5F - 10);
    data[3] = nan32;
    const report written = report_on(data);
    ASSERT_EQ(written.status, status_success);
    EXPECT_EQ(written.lines.at(0), "  No. org_idx  Sort_Data   UOSM      NOSM");
    const int n = 24;
    const std::vector<table_row> rows = table_in(written, n);
    const boost::math::normal_distribution<f64> normal;
    for (int i = 1; i <= n; ++i) {
        const table_row& row = rows[static_cast<std::size_t>(i - 1)];
        EXPECT_EQ(row.number, i);
        EXPECT_EQ(row.value, f64{data[static_cast<std::size_t>(row.position - 1)]});
        if (i > 1) {
            EXPECT_GT(row.value, rows[static_cast<std::size_t>(i - 2)].value);
        }
        // The i-th of n uniform order statistics has a beta distribution.
        const f64 median = boost::math::median(boost::math::beta_distribution<f64>(i, n + 1 - i));
        const bool is_end = i == 1 || i == n;
        EXPECT_NEAR(row.uniform, median, is_end ? 6e-7 : 5e-4) << i;
        EXPECT_NEAR(row.normal, boost::math::quantile(normal, row.uniform), 2e-5) << i;
        EXPECT_EQ(row.normal, -rows[static_cast<std::size_t>(n - i)].normal) << i;
    }
}

TEST(NormalProbabilityPlot, PlotsAndExplains) {
    const report written = report_on({3, 1, 2});
    ASSERT_EQ(written.status, status_success);
    const auto& lines = written.lines;
    const auto position_of = [&](std::string_view text) {
        return std::find_if(
                   lines.begin(), lines.end(),
                   [&](const std::string& line) { return line.find(text) != std::string::npos; }) -
               lines.begin();
    };
    const auto title = position_of("Normal Probability Plot");
    ASSERT_EQ(title, 4) << "below heading and table";
    EXPECT_EQ(lines.at(5), "Ordered Responses");
    const auto below = static_cast<std::size_t>(position_of("Normal Order Stat Medians"));
    i64 points = 0;
    for (std::size_t i = 7; i + 2 < below; ++i)
        points += std::count(lines[i].begin(), lines[i].end(), '*');
    EXPECT_EQ(points, 3);
    ASSERT_EQ(lines.size(), below + 1 + 29);
    EXPECT_EQ(lines[below + 1],
              "The Normal Probability plot is a graphical technique to investigate");
    EXPECT_EQ(lines[below + 3],
              "The data are plotted against a theoretical normal distribution in such ");
    EXPECT_EQ(lines[below + 14], "NB: UOSM - Uniformed Ordered Statistc Medians");
    EXPECT_EQ(lines[below + 17], "Possible Results: ");
    EXPECT_EQ(lines.back(), "                  i.e. more variance than expected. ");
}

TEST(NormalProbabilityPlot, ASingleValueStandsInTheMiddle) {
    const report written = report_on({nan32, 4.5F});
    EXPECT_EQ(written.status, status_success);
    const table_row row = table_in(written, 1)[0];
    EXPECT_EQ(row.position, 2);
    EXPECT_EQ(row.uniform, 0.5);
    EXPECT_EQ(row.normal, 0.0);
}

TEST(NormalProbabilityPlot, FailsWhereNothingCanBeDrawn) {
    const std::vector<f32> rows[] = {{}, {nan32, nan32}, {inf32, -inf32}};
    for (const auto& data : rows) {
        const report written = report_on(data);
        EXPECT_EQ(written.status, status_failure);
        support::expect_event("IMSL SCTP Error", "norm_prob");
        EXPECT_EQ(written.lines.size(), data.size() == 2 && data[0] == inf32 ? 3U : 1U);
    }
}

} // namespace
