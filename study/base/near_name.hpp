// What somebody meant who wrote a name that is not known.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

// The known name that is nearest to a given one, by letters to change, add, drop or exchange, or the
// first that begins with it; "" where none is near.
std::string nearest_name(std::string_view given, const std::vector<std::string>& known);

} // namespace qmx_study
