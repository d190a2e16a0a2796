// Parts that the texts of several answers have in common.
#pragma once

#include <string>
#include <vector>

#include "study/lot/load.hpp"

namespace qmx_terminal {

// Whether two columns are a position of one unit, or a pair of two measures.
enum class head_of_positions { as_position, as_pair };

// What was read from a file and what was not: the head of every answer.
std::string reading_text(const qmx_study::reading_account& reading,
                         head_of_positions head = head_of_positions::as_position);

// An empty line and the notes; "" without any.
std::string notes_text(const std::vector<std::string>& notes);

std::string with_unit(const std::string& number, const std::string& unit);
std::string named_with_unit(const qmx_study::used_column& column); // "CMV [MPa]"

} // namespace qmx_terminal
