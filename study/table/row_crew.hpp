// Several threads that take the plain rows out of the blocks of one text. The blocks come back in their
// order, so that what is made of them is the same with any number of threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "study/table/plain_rows.hpp"
#include "study/table/text_records.hpp"

namespace qmx_study {

struct taken_block {
    // A row that is not plain, and what precedes it.
    struct odd_row {
        std::int64_t rows_before = 0; // in the block
        std::size_t start = 0, end = 0;
    };
    std::string text;
    row_numbers numbers;
    std::int64_t rows = 0; // plain ones
    std::vector<odd_row> odd;
};

class row_crew {
public:
    // helpers: threads beside the caller's. Reads on where `text` has left off, and takes what it has
    // in memory first.
    row_crew(text_records& text, const plain_layout& layout, int helpers);
    ~row_crew();
    row_crew(const row_crew&) = delete;
    row_crew& operator=(const row_crew&) = delete;

    // The next block of the text, valid until the next call; null at the end.
    taken_block* next();

private:
    enum class state { waiting, in_work, done };
    struct job {
        taken_block block;
        state now = state::waiting;
        std::exception_ptr failure;
    };

    text_records& source;
    const plain_layout& layout;
    std::size_t most_ahead;
    std::string carried; // the start of a line whose end is not read yet
    bool is_at_end = false;

    std::mutex guard;
    std::condition_variable has_work, has_result;
    bool is_ending = false;
    std::deque<std::unique_ptr<job>> jobs; // in the order of the text
    std::vector<std::unique_ptr<job>> spare;
    std::unique_ptr<job> handed_out;
    std::vector<std::thread> threads;

    bool read_block(std::string& block);
    void read_ahead();
    // The first block that waits; false where none does. The lock is open meanwhile.
    bool take_waiting(std::unique_lock<std::mutex>& lock);
    void work();
    void take(job& each) const;
};

} // namespace qmx_study
