// The program's side of the module for GDAL.
#include "study/base/module_file.hpp"
#include "study/output/vector_output_calls.hpp"

namespace qmx_study {

namespace {

const vector_output_calls& output_module() {
    static const vector_output_calls& calls =
        calls_of_module<vector_output_calls>(vector_output_calls_name);
    return calls;
}

} // namespace

struct vector_output::state {
    vector_output* theirs;
    ~state() { output_module().close(theirs); }
};

void check_can_write(vector_format format, const std::string& output) {
    output_module().check(format, output);
}

vector_output::vector_output(vector_format format, const table_layout& layout,
                             const output_names& names)
    : now(new state{output_module().open(format, layout, names)}) {}

vector_output::~vector_output() = default;

void vector_output::text(std::size_t column, std::string_view value) {
    output_module().text(*now->theirs, column, value);
}
void vector_output::integer(std::size_t column, std::int64_t value) {
    output_module().integer(*now->theirs, column, value);
}
void vector_output::real(std::size_t column, double value) {
    output_module().real(*now->theirs, column, value);
}
void vector_output::end_row() {
    output_module().end_row(*now->theirs);
}
void vector_output::write_to(const piece_taker& take) {
    output_module().write_to(*now->theirs, take);
}

} // namespace qmx_study
