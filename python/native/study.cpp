// The part of the package that studies lots: what reads, analyses and writes is study/ and report/.
#include <memory>
#include <string>
#include <vector>

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <qmx_ic.h>

#include "report/page.hpp"
#include "study/analyses/polygon_filter.hpp"
#include "study/analyses/report.hpp"
#include "study/base/output_file.hpp"
#include "study/document/answer_parts.hpp"
#include "study/document/report_document.hpp"
#include "study/job/input_files.hpp"
#include "study/job/job_file.hpp"
#include "study/job/job_proposal.hpp"
#include "study/output/cell_file.hpp"
#include "study/output/report_tables.hpp"
#include "study/output/table_writer.hpp"
#include "study_settings.hpp"
#include "study_work.hpp"

namespace qmx_python {

using namespace qmx_study;
using namespace nb::literals;

namespace {

// Columns that live as long as an array that shows them.
template <class Number> nb::object column_of(const std::vector<Number>& numbers, nb::handle owner) {
    using column = nb::ndarray<nb::numpy, const Number, nb::ndim<1>>;
    return nb::cast(column(numbers.data(), {numbers.size()}, owner));
}

nb::str json_text(const json& document) {
    const std::string text = text_of(document);
    return nb::str(text.data(), text.size());
}

job_settings checked_settings(const std::string& job, const nb::dict& given) {
    try {
        return settings_from(job, given);
    } catch (...) {
        raise_as_python(direction::reads);
    }
}

struct read_lot_result {
    loaded_lot lot;
    std::vector<std::int64_t> rows; // of its points
};

std::shared_ptr<read_lot_result> read_points(const std::string& job, const nb::dict& given) {
    const job_settings settings = checked_settings(job, given);
    return run(direction::reads, [&](progress& shown) {
        const lot_conditions conditions{settings.filters, settings.traits};
        auto made = std::make_shared<read_lot_result>();
        made->lot = load(settings.reading, reading_needs{}, shown, &conditions);
        if (!settings.filters.polygon.empty())
            keep_points_inside(made->lot, settings.filters.polygon);
        std::string& unit = made->lot.data.value.unit;
        if (unit.empty()) unit = settings.value_unit;
        const record_numbers& records = made->lot.data.records;
        made->rows.assign(records.begin(), records.end());
        return made;
    });
}

struct study_result {
    lot_report report;
    json document;
};

std::shared_ptr<study_result> study_points(const std::string& job, const nb::dict& given,
                                           const std::string& now) {
    job_settings settings = checked_settings(job, given);
    if (settings.time_stamp.empty()) settings.time_stamp = now;
    return run(direction::reads, [&](progress& shown) {
        auto made = std::make_shared<study_result>();
        made->report = report_of(settings, shown);
        made->document = document_of(made->report.answer);
        return made;
    });
}

std::string page_of_study(const study_result& made, const std::string& language,
                          const std::string& logo) {
    return qmx_report::page_of(made.document, made.report.cells, {language, logo});
}

nb::bytes page(const study_result& made, const std::string& language, const std::string& logo) {
    const std::string text =
        run(direction::reads, [&](progress&) { return page_of_study(made, language, logo); });
    return nb::bytes(text.data(), text.size());
}

void refuse_inputs(const study_result& made, const std::string& output, const std::string& logo) {
    std::vector<std::string> inputs = input_files(made.report.answer.settings);
    if (!logo.empty()) inputs.push_back(logo);
    refuse_inputs_as_output(inputs, output);
}

void write_page(const study_result& made, const std::string& output, const std::string& language,
                const std::string& logo) {
    run(direction::writes, [&](progress&) {
        refuse_inputs(made, output, logo);
        write_output(output, page_of_study(made, language, logo));
        return true;
    });
}

void write_document(const study_result& made, const std::string& output) {
    run(direction::writes, [&](progress&) {
        refuse_inputs(made, output, "");
        write_output(output, text_of(made.document));
        return true;
    });
}

void write_tables(const study_result& made, const std::string& folder) {
    run(direction::writes, [&](progress&) {
        write_report_tables(folder, made.document);
        return true;
    });
}

void write_cell_file(const study_result& made, const std::string& output) {
    run(direction::writes, [&](progress& shown) {
        refuse_inputs(made, output, "");
        check_output_name(output);
        write_cells(output, made.report, shown);
        return true;
    });
}

// name -> [columns, rows as JSON text].
nb::dict tables(const study_result& made) {
    nb::dict all;
    for (const named_table& table : tables_of(made.document)) {
        json rows = json::array();
        for (const std::vector<json>& row : table.rows) rows.push_back(row);
        all[table.name.c_str()] = nb::make_tuple(json_text(table.columns), json_text(rows));
    }
    return all;
}

nb::dict cells(nb::handle self) {
    const cell_table& cells = nb::cast<const study_result&>(self).report.cells;
    nb::dict columns;
    columns["x"] = column_of(cells.x, self);
    columns["y"] = column_of(cells.y, self);
    columns["pass"] = column_of(cells.pass, self);
    columns["value"] = column_of(cells.value, self);
    columns["verdict"] = column_of(cells.verdict, self);
    columns["record"] = column_of(cells.records, self);
    return columns;
}

nb::object records(nb::handle self) {
    const lot& points = nb::cast<const read_lot_result&>(self).lot.data;
    using bytes = nb::ndarray<nb::numpy, const std::uint8_t, nb::shape<-1, 32>>;
    static_assert(sizeof(t_icdata) == 32);
    return nb::cast(bytes(reinterpret_cast<const std::uint8_t*>(points.points.data()),
                          {points.points.size(), sizeof(t_icdata)}, self));
}

nb::str account(const read_lot_result& made) {
    json document;
    add_reading(document, account_of(made.lot));
    return json_text(document);
}

nb::dict read_job_file(const std::string& file) {
    try {
        return settings_as_dict(read_job(file));
    } catch (...) {
        raise_as_python(direction::reads);
    }
}

std::string propose_job(const nb::dict& given, const std::string& job_file) {
    const job_settings known = checked_settings("", given);
    return run(direction::reads,
               [&](progress& shown) { return init_text(known, job_file, shown); });
}

nb::tuple file_hash(const std::string& file) {
    try {
        file_mark mark;
        {
            const nb::gil_scoped_release free;
            mark = mark_of_file(file);
        }
        return nb::make_tuple(mark.sha256, mark.bytes);
    } catch (...) {
        raise_as_python(direction::reads);
    }
}

nb::tuple languages() {
    nb::list all;
    for (const std::string& each : qmx_report::languages()) all.append(each);
    return nb::tuple(all);
}

} // namespace

} // namespace qmx_python

NB_MODULE(_study, module) {
    using namespace qmx_python;
    module.attr("version") = QMX_IC_VERSION;
    module.attr("makes_pages") = qmx_report::can_make_pages();
    module.def("languages", &languages);
    module.def("presets", &presets_as_dict);
    module.def("read", &read_points, "job"_a, "given"_a);
    module.def("study", &study_points, "job"_a, "given"_a, "now"_a);
    module.def("read_job", &read_job_file, "file"_a);
    module.def("propose_job", &propose_job, "given"_a, "job_file"_a);
    module.def("file_hash", &file_hash, "file"_a);

    nb::class_<read_lot_result>(module, "LotData")
        .def("records", [](nb::handle self) { return records(self); })
        .def("rows",
             [](nb::handle self) {
                 return column_of(nb::cast<const read_lot_result&>(self).rows, self);
             })
        .def("account", &account);
    nb::class_<study_result>(module, "StudyData")
        .def("document", [](const study_result& made) { return json_text(made.document); })
        .def("page", &page, "language"_a, "logo"_a)
        .def("write_page", &write_page, "output"_a, "language"_a, "logo"_a)
        .def("write_document", &write_document, "output"_a)
        .def("write_tables", &write_tables, "folder"_a)
        .def("write_cells", &write_cell_file, "output"_a)
        .def(
            "refuse_inputs",
            [](const study_result& made, const std::string& output) {
                run(direction::writes, [&](progress&) {
                    refuse_inputs(made, output, "");
                    return true;
                });
            },
            "output"_a)
        .def("tables", &tables)
        .def("cells", [](nb::handle self) { return cells(self); })
        .def("language",
             [](const study_result& made) { return made.report.answer.settings.language; })
        .def("logo", [](const study_result& made) { return made.report.answer.settings.logo; });
}
