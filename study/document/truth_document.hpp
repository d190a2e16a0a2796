// What an artificial lot was made from, as a document.
#pragma once

#include "study/document/json.hpp"
#include "study/generate/lot_files.hpp"

namespace qmx_study {

json truth_document(const generated_lot& made, const lot_settings& settings,
                    const damage_account& damaged_rows);

} // namespace qmx_study
