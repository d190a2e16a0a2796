// NumPy arrays as plain memory, through the buffer protocol: no copy, nothing of NumPy's own headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <nanobind/nanobind.h>

namespace qmx_python {

// The memory of an array for as long as this lives.
class held_array {
public:
    explicit held_array(nanobind::handle array, bool is_written = false);
    ~held_array() { PyBuffer_Release(&view_); }
    held_array(const held_array&) = delete;
    held_array& operator=(const held_array&) = delete;

    std::size_t rows() const {
        return view_.ndim > 0 ? static_cast<std::size_t>(view_.shape[0]) : 1;
    }
    std::ptrdiff_t stride() const { return view_.ndim > 0 ? view_.strides[0] : view_.itemsize; }
    const char* base() const { return static_cast<const char*>(view_.buf); }

    bool lies_side_by_side(std::size_t alignment) const;
    // The array as records side by side; throws TypeError where it is something else.
    template <class Record> std::span<Record> as() const {
        check_layout(sizeof(Record), alignof(Record));
        const std::size_t bytes = static_cast<std::size_t>(view_.len);
        return {static_cast<Record*>(view_.buf), bytes / sizeof(Record)};
    }

private:
    void check_layout(std::size_t size, std::size_t alignment) const;
    Py_buffer view_{};
};

// A new bytes object with room for `count` records, to be written before Python sees it.
template <class Record> class new_bytes {
public:
    explicit new_bytes(std::size_t count)
        : object_(nanobind::steal(PyBytes_FromStringAndSize(
              nullptr, static_cast<Py_ssize_t>(count * sizeof(Record))))) {
        if (!object_.is_valid()) throw nanobind::python_error();
        records_ = {reinterpret_cast<Record*>(PyBytes_AS_STRING(object_.ptr())), count};
        __builtin_memset(static_cast<void*>(records_.data()), 0, records_.size_bytes());
    }
    std::span<Record> records() const { return records_; }
    const nanobind::object& object() const { return object_; }

private:
    nanobind::object object_;
    std::span<Record> records_;
};

// Types of numbers that columns are read from without NumPy's help.
enum class number_type { f64, f32, i64, i32, i16, i8, u64, u32, u16, u8, truth };

// Throws TypeError for an array of anything else.
number_type number_type_of(nanobind::handle array);

// Whether an array has one dimension and, to the letter, one of these types.
bool is_plain_column(nanobind::handle array);

// A column of numbers at any stride.
struct number_column {
    held_array memory;
    number_type type;
    explicit number_column(nanobind::handle array) : memory(array), type(number_type_of(array)) {}
};

// A column as doubles side by side: where it is, or converted.
class double_column {
public:
    explicit double_column(nanobind::handle array);
    std::span<const double> numbers() const { return numbers_; }

private:
    number_column column_;
    std::vector<double> made_;
    std::span<const double> numbers_;
};

// convert(row, number) for the rows from first to last - 1, with the column's own type of number.
template <class Convert>
void for_each_number(const number_column& column, std::size_t first, std::size_t last,
                     Convert convert) {
    const auto walk = [&]<class Number>(Number) {
        const std::ptrdiff_t stride = column.memory.stride();
        const char* at = column.memory.base() + static_cast<std::ptrdiff_t>(first) * stride;
        for (std::size_t row = first; row < last; ++row, at += stride) {
            Number number;
            __builtin_memcpy(&number, at, sizeof number);
            convert(row, number);
        }
    };
    switch (column.type) {
    case number_type::f64: return walk(double{});
    case number_type::f32: return walk(float{});
    case number_type::i64: return walk(std::int64_t{});
    case number_type::i32: return walk(std::int32_t{});
    case number_type::i16: return walk(std::int16_t{});
    case number_type::i8: return walk(std::int8_t{});
    case number_type::u64: return walk(std::uint64_t{});
    case number_type::u32: return walk(std::uint32_t{});
    case number_type::u16: return walk(std::uint16_t{});
    case number_type::u8:
    case number_type::truth: return walk(std::uint8_t{});
    }
}

} // namespace qmx_python
