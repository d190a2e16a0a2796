// How the rows of a lot look that can be taken straight out of the text.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "study/lot/column_choice.hpp"
#include "study/lot/row_survey.hpp"
#include "study/table/plain_rows.hpp"

namespace qmx_study {

// Where the numbers of a point stand among those of its row; -1 where it has none.
struct number_places {
    int x = -1, y = -1, pass = -1;
    std::vector<int> values; // of the candidates
};

struct quick_layout {
    plain_layout rows;
    number_places places;
};

// What is asked of the numbers of a row; beyond it the row is looked at carefully.
struct quick_demands {
    const column_choice& choice;
    bool reads_pass = false;
    double most_x = 0, most_y = 0; // in size
};

// For the present file of the source. Nothing where each row has to be looked at.
std::optional<quick_layout> quick_layout_of(table_source& source, const row_survey& survey,
                                            const quick_demands& demands);

} // namespace qmx_study
