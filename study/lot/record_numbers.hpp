// The numbers of the records of a lot's points. Nearly all points follow one another in the file: runs of
// them are kept, not each.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace qmx_study {

class record_numbers {
    struct run {
        std::size_t first_place;
        std::int64_t first_record;
        bool operator==(const run&) const = default;
    };

public:
    // Going on to the next place takes no search.
    class const_iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = std::int64_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::int64_t*;
        using reference = std::int64_t;

        const_iterator() = default;
        const_iterator(const record_numbers& from, std::size_t start) : of(&from), place(start) {
            find_run();
        }
        std::int64_t operator*() const { return of->record_in(run_at, place); }
        std::int64_t operator[](difference_type n) const { return *(*this + n); }
        const_iterator& operator++() {
            ++place;
            if (run_at + 1 < of->runs.size() && of->runs[run_at + 1].first_place == place) ++run_at;
            return *this;
        }
        const_iterator operator++(int) {
            const const_iterator before = *this;
            ++*this;
            return before;
        }
        const_iterator& operator--() { return *this += -1; }
        const_iterator& operator+=(difference_type n) {
            place = static_cast<std::size_t>(static_cast<difference_type>(place) + n);
            find_run();
            return *this;
        }
        const_iterator& operator-=(difference_type n) { return *this += -n; }
        friend const_iterator operator+(const_iterator at, difference_type n) { return at += n; }
        friend const_iterator operator-(const_iterator at, difference_type n) { return at -= n; }
        friend difference_type operator-(const const_iterator& a, const const_iterator& b) {
            return static_cast<difference_type>(a.place) - static_cast<difference_type>(b.place);
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) {
            return a.place == b.place;
        }
        friend auto operator<=>(const const_iterator& a, const const_iterator& b) {
            return a.place <=> b.place;
        }

    private:
        const record_numbers* of = nullptr;
        std::size_t place = 0;
        std::size_t run_at = 0;
        void find_run() { run_at = of->run_of(place); }
    };

    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    std::int64_t operator[](std::size_t place) const { return record_in(run_of(place), place); }
    std::int64_t back() const { return record_in(runs.size() - 1, count - 1); }
    const_iterator begin() const { return {*this, 0}; }
    const_iterator end() const { return {*this, count}; }
    bool operator==(const record_numbers&) const = default;

    void push_back(std::int64_t record) { append(record, 1); }
    // Records that follow one another.
    void append(std::int64_t first, std::size_t more) {
        if (more == 0) return;
        if (empty() || back() + 1 != first) runs.push_back({count, first});
        count += more;
    }
    // Those of others, from one place to before another.
    void append_part(const record_numbers& others, std::size_t first, std::size_t end) {
        if (first == end) return;
        for (std::size_t at = others.run_of(first); first < end; ++at) {
            const std::size_t behind =
                at + 1 < others.runs.size() ? others.runs[at + 1].first_place : others.count;
            const std::size_t more = std::min(end, behind) - first;
            append(others.record_in(at, first), more);
            first += more;
        }
    }
    void shrink_to_fit() { runs.shrink_to_fit(); }

private:
    std::vector<run> runs;
    std::size_t count = 0;

    std::int64_t record_in(std::size_t index, std::size_t place) const {
        return runs[index].first_record +
               static_cast<std::int64_t>(place - runs[index].first_place);
    }
    std::size_t run_of(std::size_t place) const {
        const auto behind =
            std::upper_bound(runs.begin(), runs.end(), place,
                             [](std::size_t at, const run& each) { return at < each.first_place; });
        return behind == runs.begin() ? 0 : static_cast<std::size_t>(behind - runs.begin()) - 1;
    }
};

} // namespace qmx_study
