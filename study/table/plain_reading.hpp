// A text read to its end: plain rows quickly, by several threads where that is wanted, all others one by one.
#pragma once

#include <cstdint>
#include <functional>

#include "study/table/plain_rows.hpp"
#include "study/table/table_file.hpp"

namespace qmx_study {

struct row_takers {
    // Rows in the order of the text, each with its numbers; the file's record is the last of them.
    std::function<void(const double* numbers, std::int64_t rows)> plain;
    std::function<void()> odd; // one row, which is the present record of the file
    std::function<void(double share)>
        on; // now and then: of the file that is read, 0 if it is not known
};

// From where the file stands. Throws usage_error when it cannot be read to its end.
void read_rows(table_file& file, const plain_layout& layout, int threads, const row_takers& takers);

} // namespace qmx_study
