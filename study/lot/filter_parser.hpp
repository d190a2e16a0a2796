// The text of a filter read into its tree.
#pragma once

#include <functional>
#include <string_view>

#include "study/lot/filter_expression.hpp"

namespace qmx_study {

// Throws usage_error with what is wrong and where.
filter_expression::node
parse_filter(std::string_view text,
             const std::function<filter_expression::column(std::string_view)>& column_named);

} // namespace qmx_study
