#include "arrays.hpp"

#include <algorithm>
#include <array>

namespace nb = nanobind;

namespace qmx_python {

namespace {

struct known_type {
    const char* name;
    number_type type;
    PyObject* object; // NumPy's one object of this type, alive as long as NumPy is
};

constexpr std::size_t known_types = 11;

const std::array<known_type, known_types>& types() {
    static const auto table = [] {
        std::array<known_type, known_types> made{{{"float64", number_type::f64, nullptr},
                                                  {"int64", number_type::i64, nullptr},
                                                  {"float32", number_type::f32, nullptr},
                                                  {"int32", number_type::i32, nullptr},
                                                  {"int16", number_type::i16, nullptr},
                                                  {"int8", number_type::i8, nullptr},
                                                  {"uint64", number_type::u64, nullptr},
                                                  {"uint32", number_type::u32, nullptr},
                                                  {"uint16", number_type::u16, nullptr},
                                                  {"uint8", number_type::u8, nullptr},
                                                  {"bool", number_type::truth, nullptr}}};
        const nb::object dtype = nb::module_::import_("numpy").attr("dtype");
        for (known_type& one : made) one.object = dtype(one.name).release().ptr();
        return made;
    }();
    return table;
}

} // namespace

held_array::held_array(nb::handle array, bool is_written) {
    const int wanted = is_written ? PyBUF_STRIDES | PyBUF_WRITABLE : PyBUF_STRIDES;
    if (PyObject_GetBuffer(array.ptr(), &view_, wanted) != 0) throw nb::python_error();
    if (view_.ndim > 2) {
        PyBuffer_Release(&view_);
        throw nb::value_error("an array has more dimensions than are read");
    }
}

bool held_array::lies_side_by_side(std::size_t alignment) const {
    return PyBuffer_IsContiguous(&view_, 'C') != 0 &&
           (view_.len == 0 || reinterpret_cast<std::uintptr_t>(view_.buf) % alignment == 0);
}

void held_array::check_layout(std::size_t size, std::size_t alignment) const {
    if (static_cast<std::size_t>(view_.itemsize) != size || !lies_side_by_side(alignment))
        throw nb::type_error("the array does not have the layout that the library reads");
}

number_type number_type_of(nb::handle array) {
    const nb::object type = array.attr("dtype");
    for (const known_type& one : types())
        if (one.object == type.ptr()) return one.type;
    for (const known_type& one : types()) {
        const int is_equal = PyObject_RichCompareBool(one.object, type.ptr(), Py_EQ);
        if (is_equal < 0) throw nb::python_error();
        if (is_equal == 1) return one.type;
    }
    throw nb::type_error("the array holds no numbers in the machine's byte order");
}

bool is_plain_column(nb::handle array) {
    const nb::object type = array.attr("dtype");
    const auto& known = types();
    return std::any_of(known.begin(), known.end(),
                       [&](const known_type& one) { return one.object == type.ptr(); }) &&
           nb::cast<int>(array.attr("ndim")) == 1;
}

double_column::double_column(nb::handle array) : column_(array) {
    const std::size_t rows = column_.memory.rows();
    if (column_.type == number_type::f64 && column_.memory.lies_side_by_side(sizeof(double))) {
        numbers_ = {reinterpret_cast<const double*>(column_.memory.base()), rows};
        return;
    }
    made_.resize(rows);
    for_each_number(column_, 0, rows, [&](std::size_t row, auto number) {
        made_[row] = static_cast<double>(number);
    });
    numbers_ = made_;
}

} // namespace qmx_python
