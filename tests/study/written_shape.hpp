// A geometry as a text, to be compared with another.
#pragma once

#include <string>

#include <fmt/format.h>

#include "study/table/shape.hpp"

namespace study_test {

// "POINT 1 2", a ring as "(0 0,1 0)", parts as "[...]".
inline std::string written(const qmx_study::shape& of) {
    std::string text = of.name + (of.is_empty ? " EMPTY" : "");
    if (of.kind == qmx_study::shape_kind::point && !of.is_empty)
        text += fmt::format(" {} {}", of.x, of.y);
    for (const qmx_study::ring& each : of.rings) {
        text += "(";
        for (std::size_t i = 0; i < each.x.size(); ++i)
            text += fmt::format("{}{} {}", i > 0 ? "," : "", each.x[i], each.y[i]);
        text += ")";
    }
    for (const qmx_study::shape& part : of.parts) text += "[" + written(part) + "]";
    return text;
}

} // namespace study_test
