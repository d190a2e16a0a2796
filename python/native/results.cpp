#include "results.hpp"

#include <unordered_map>
#include <utility>
#include <vector>

#include <structmember.h>

namespace nb = nanobind;

namespace qmx_python {

namespace {

// Where the slots of a class lie in its objects, in the order of their declaration.
const std::vector<Py_ssize_t>& slots_of(nb::handle type) {
    static auto& known = *new std::unordered_map<PyObject*, std::vector<Py_ssize_t>>;
    if (const auto found = known.find(type.ptr()); found != known.end()) return found->second;
    std::vector<Py_ssize_t> offsets;
    for (const nb::handle name : type.attr("__slots__")) {
        const nb::object slot = nb::getattr(type, name);
        if (Py_TYPE(slot.ptr()) != &PyMemberDescr_Type)
            throw nb::type_error("a field of a result is no slot");
        offsets.push_back(reinterpret_cast<PyMemberDescrObject*>(slot.ptr())->d_member->offset);
    }
    Py_INCREF(type.ptr()); // so that no other class takes its address
    return known.emplace(type.ptr(), std::move(offsets)).first->second;
}

// An object of a frozen class with slots, which its own constructor fills one costly step at a time. Its
// fields: what an analysis found, without the failure that stands first there, then what was asked.
nb::object make(nb::handle type, const nb::tuple& found, const nb::tuple& asked) {
    auto* const of = reinterpret_cast<PyTypeObject*>(type.ptr());
    const std::vector<Py_ssize_t>& slots = slots_of(type);
    if (slots.size() + 1 != found.size() + asked.size())
        throw nb::type_error("a result has other fields");
    nb::object made = nb::steal(of->tp_alloc(of, 0));
    if (!made.is_valid()) throw nb::python_error();
    auto slot = slots.begin();
    const auto fill_from = [&](const nb::tuple& values, std::size_t first) {
        for (std::size_t k = first; k < values.size(); ++k, ++slot)
            *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(made.ptr()) + *slot) =
                Py_NewRef(PyTuple_GET_ITEM(values.ptr(), static_cast<Py_ssize_t>(k)));
    };
    fill_from(found, 1);
    fill_from(asked, 0);
    return made;
}

} // namespace

void bind_results(nb::module_& module) {
    module.def("make", &make);
}

} // namespace qmx_python
