// The module's side: what vector_output_calls.hpp names.
#include "study/output/vector_output_calls.hpp"

namespace qmx_study {

extern "C" __attribute__((visibility("default")))
const vector_output_calls qmx_ic_vector_output_calls{
    check_can_write,
    [](vector_format format, const table_layout& layout, const output_names& names) {
        return new vector_output(format, layout, names);
    },
    [](vector_output* output) { delete output; },
    [](vector_output& output, std::size_t column, std::string_view value) {
        output.text(column, value);
    },
    [](vector_output& output, std::size_t column, std::int64_t value) {
        output.integer(column, value);
    },
    [](vector_output& output, std::size_t column, double value) { output.real(column, value); },
    [](vector_output& output) { output.end_row(); },
    [](vector_output& output, const piece_taker& take) { output.write_to(take); },
};

} // namespace qmx_study
