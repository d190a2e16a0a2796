// The positions of records: from two columns, or from the geometry.
#pragma once

#include <functional>

#include "study/lot/column_choice.hpp"
#include "study/lot/field_reader.hpp"

namespace qmx_study {

class position_reader {
public:
    position_reader(const table_source& source, const column_choice& choice,
                    const reading_needs& needs, const row_survey& survey);

    // Of the present record. A row that need not have a position loses it here without being dropped;
    // false where it is dropped.
    bool read(t_icdata& point, drop_counter& drops);
    // The further points of a record with several: they share its value and its pass, and count as
    // rows of their own. `count` is called for each, `add` for those that are sound.
    void for_further_points(const t_icdata& first, drop_counter& drops,
                            const std::function<void()>& count,
                            const std::function<void(const t_icdata&)>& add) const;

    double most_x() const; // in size, of a position on earth
    double most_y() const;

    field_reader x, y;

private:
    const table_source& source;
    const column_choice& choice;
    const reading_needs& needs;

    bool is_sound(const t_icdata& point, drop_counter& counter) const;
    const shape* first_point() const;
};

} // namespace qmx_study
