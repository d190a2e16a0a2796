// A setting that makes no sense, named by the option that carries it on the command line.
#pragma once

#include <string>
#include <utility>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

// rest: of the message, which begins with the option: ": {} is no percentage", " needs --target".
template <class... Values>
usage_error wrong_option(std::string option, fmt::format_string<Values...> rest,
                         Values&&... values) {
    const std::string message = option + fmt::format(rest, std::forward<Values>(values)...);
    return usage_error(message, error_place{std::move(option), {}, 0, {}});
}

} // namespace qmx_study
