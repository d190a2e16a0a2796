#include "study/table/column_batches.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include <cpl_error.h>
#include <cpl_string.h>
#include <ogr_recordbatch.h>

namespace qmx_study {

namespace {

// Bytes of a field whose texts or shapes lie one behind the other.
std::string_view piece_of(const ArrowArray& array, std::int64_t row) {
    const auto* const ends = static_cast<const std::int32_t*>(array.buffers[1]);
    const auto* const bytes = static_cast<const char*>(array.buffers[2]);
    return {bytes + ends[row], static_cast<std::size_t>(ends[row + 1] - ends[row])};
}

bool bit_of(const void* bits, std::int64_t row) {
    return (static_cast<const std::uint8_t*>(bits)[row / 8] >> (row % 8) & 1) != 0;
}

template <class number> number number_of(const ArrowArray& array, std::int64_t row) {
    return static_cast<const number*>(array.buffers[1])[row];
}

// What stands for a field's type among the columns, "" where a feature has to be asked: for dates, for small
// numbers, which are rounded there, and for truth values, which GDAL 3.6 gives wrongly.
const char* format_of(const OGRFieldDefn& field) {
    if (field.GetSubType() != OFSTNone) return "";
    switch (field.GetType()) {
    case OFTInteger: return "i";
    case OFTInteger64: return "l";
    case OFTReal: return "g";
    case OFTString: return "u";
    default: return "";
    }
}

} // namespace

struct column_batches::state {
    OGRLayer* layer = nullptr;
    ArrowArrayStream stream{};
    ArrowArray batch{};
    std::int64_t row = 0;
    bool has_failed = false;
    std::vector<int> place_of; // of each field among the columns, -1 where it is not wanted
    std::vector<char> formats; // of each field
    int geometry_place = -1;
    std::unique_ptr<OGRFeature> words; // writes a number as a feature does

    ~state() {
        if (batch.release) batch.release(&batch);
        if (stream.release) stream.release(&stream);
    }

    // Null where it is missing.
    const ArrowArray* column(int place, std::int64_t& at) const {
        if (place < 0) return nullptr;
        const ArrowArray& array = *batch.children[place];
        at = batch.offset + row + array.offset;
        const void* const is_there = array.buffers[0];
        return is_there && !bit_of(is_there, at) ? nullptr : &array;
    }
    int place(int field) const { return place_of[static_cast<std::size_t>(field)]; }

    // Whether the columns are those that were asked for.
    bool fits(const ArrowSchema& schema, bool with_geometry) {
        const OGRFeatureDefn& definition = *layer->GetLayerDefn();
        std::int64_t next = 0;
        for (std::size_t i = 0; i < place_of.size(); ++i) {
            if (place_of[i] < 0) continue;
            const OGRFieldDefn& field = *definition.GetFieldDefn(static_cast<int>(i));
            const char* const format = format_of(field);
            if (next == schema.n_children || *format == '\0') return false;
            const ArrowSchema& child = *schema.children[next];
            if (std::strcmp(child.name, field.GetNameRef()) != 0 ||
                std::strcmp(child.format, format) != 0)
                return false;
            formats[i] = *format;
            place_of[i] = static_cast<int>(next++);
        }
        if (with_geometry && definition.GetGeomFieldCount() > 0) {
            if (next == schema.n_children || std::strcmp(schema.children[next]->format, "z") != 0)
                return false;
            geometry_place = static_cast<int>(next++);
        }
        return next == schema.n_children;
    }

    bool next_batch() {
        if (batch.release) batch.release(&batch);
        batch = {};
        row = 0;
        CPLErrorReset();
        errno = 0;
        const int error = stream.get_next(&stream, &batch);
        if (errno == ENOMEM || error == ENOMEM) throw std::bad_alloc();
        has_failed = error != 0 || CPLGetLastErrorType() >= CE_Failure;
        return !has_failed && batch.release && batch.length > 0;
    }
};

column_batches::column_batches(std::unique_ptr<state> opened) : now(std::move(opened)) {}
column_batches::~column_batches() = default;

std::unique_ptr<column_batches> column_batches::of(OGRLayer& layer, const std::vector<int>& wanted,
                                                   bool with_geometry) {
    // Without a field GDAL 3.6 gives no shapes.
    const bool wants_fields =
        std::any_of(wanted.begin(), wanted.end(), [](int i) { return i >= 0; });
    if (!wants_fields || !layer.TestCapability(OLCFastGetArrowStream)) return nullptr;
    const auto fields = static_cast<std::size_t>(layer.GetLayerDefn()->GetFieldCount());
    auto made = std::make_unique<state>();
    made->layer = &layer;
    made->place_of.assign(fields, -1);
    made->formats.assign(fields, '\0');
    for (const int field : wanted)
        if (field >= 0) made->place_of[static_cast<std::size_t>(field)] = 0;
    CPLStringList options;
    options.SetNameValue("INCLUDE_FID", "NO");
    options.SetNameValue("MAX_FEATURES_IN_BATCH", "16384");
    if (!layer.GetArrowStream(&made->stream, options.List())) return nullptr;
    ArrowSchema schema{};
    if (made->stream.get_schema(&made->stream, &schema) != 0) return nullptr;
    const bool fits = made->fits(schema, with_geometry);
    if (schema.release) schema.release(&schema);
    if (!fits) return nullptr;
    made->words.reset(OGRFeature::CreateFeature(layer.GetLayerDefn()));
    return std::unique_ptr<column_batches>(new column_batches(std::move(made)));
}

bool column_batches::next() {
    if (++now->row < now->batch.length) return true;
    return now->next_batch();
}

bool column_batches::has_failed() const {
    return now->has_failed;
}

bool column_batches::is_missing(int column) const {
    std::int64_t row = 0;
    return now->column(now->place(column), row) == nullptr;
}

double column_batches::number(int column) const {
    std::int64_t row = 0;
    const ArrowArray* const array = now->column(now->place(column), row);
    if (!array) return 0;
    switch (now->formats[static_cast<std::size_t>(column)]) {
    case 'i': return number_of<std::int32_t>(*array, row);
    case 'l': return static_cast<double>(number_of<std::int64_t>(*array, row));
    case 'g': return number_of<double>(*array, row);
    default: return CPLAtof(std::string(text(column)).c_str());
    }
}

std::string_view column_batches::text(int column) const {
    std::int64_t row = 0;
    const ArrowArray* const array = now->column(now->place(column), row);
    if (!array) return {};
    OGRFeature& words = *now->words;
    switch (now->formats[static_cast<std::size_t>(column)]) {
    case 'i': words.SetField(column, number_of<std::int32_t>(*array, row)); break;
    case 'l':
        words.SetField(column, static_cast<GIntBig>(number_of<std::int64_t>(*array, row)));
        break;
    case 'g': words.SetField(column, number_of<double>(*array, row)); break;
    default: {
        const std::string_view all = piece_of(*array, row); // a feature ends it at a zero byte
        return all.substr(0, std::min(all.find('\0'), all.size()));
    }
    }
    return words.GetFieldAsString(column);
}

std::string_view column_batches::geometry() const {
    std::int64_t row = 0;
    const ArrowArray* const array = now->column(now->geometry_place, row);
    return array ? piece_of(*array, row) : std::string_view();
}

} // namespace qmx_study
