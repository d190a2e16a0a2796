#include "study/document/columns_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

json document_of(const columns_answer& answer) {
    json document = new_document("columns");
    add_reading(document, answer.reading);
    json list = json::array();
    for (const column_contents& column : answer.columns) {
        const bool numbers = column.numbers > 0;
        list.push_back({{"name", column.name},
                        {"taken_as", text_or_null(column.taken_as)},
                        {"content", column.content()},
                        {"numbers", column.numbers},
                        {"texts", column.texts},
                        {"missing", column.missing},
                        {"smallest", numbers ? number_or_null(column.smallest) : json(nullptr)},
                        {"largest", numbers ? number_or_null(column.largest) : json(nullptr)},
                        {"unit", text_or_null(column.unit)},
                        {"example", text_or_null(column.example)}});
    }
    document["file_columns"] = list;
    document["output"] = text_or_null(answer.output);
    return document;
}

} // namespace qmx_study
