// What is read a second time, for names of tracks and of spot tests: a file that changed in between would
// give names of other rows.
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/analyses/grid.hpp"
#include "study/base/errors.hpp"
#include "study/lot/load.hpp"
#include "study/shapes/spot_reader.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;

// Two machines side by side, with the name of the first; a line that no analysis uses stands last.
std::string two_tracks(const char* first) {
    std::string text = "Name,x_m,y_m,CMV\n";
    for (int k = 0; k < 40; ++k)
        text += fmt::format("{},{},1,5\nB,{},7,7\n", k < 20 ? "A" : first, k, k);
    return text + "B,1,1,?\n";
}

loaded_lot loaded(const temporary_file& file) {
    reading_options options;
    options.file = file.name();
    progress quiet;
    reading_needs needs;
    needs.position = need::required;
    return load(options, needs, quiet);
}

template <class Work> std::string message_of(Work work) {
    try {
        work();
        return "";
    } catch (const usage_error& error) {
        return error.what();
    }
}

TEST(SecondReading, OfAFileThatChangedIsRefused) {
    for (const bool is_changed : {false, true}) {
        SCOPED_TRACE(is_changed);
        const temporary_file file(".csv", two_tracks("A"));
        loaded_lot lot = loaded(file);
        loaded_lot tests = loaded(file);
        if (is_changed) file.write(two_tracks("C 2"));
        grid_question question;
        question.cell = 0.5;
        question.drum_width = 2;
        question.track = "Name";
        progress quiet;
        const std::string words =
            is_changed ? file.name() + ": the file was changed while it was being read; try again "
                                       "when it is complete"
                       : "";
        EXPECT_EQ(message_of([&] { analyse(question, lot, quiet); }), words);
        EXPECT_EQ(message_of([&] { spot_names(*tests.table.source, tests.data); }), words);
    }
}

} // namespace
