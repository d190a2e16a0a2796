#include "study/table/vector_table.hpp"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

#include <cpl_error.h>
#include <cpl_string.h>
#include <fmt/format.h>
#include <ogrsf_frmts.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/table/column_batches.hpp"
#include "study/table/ogr_reference.hpp"
#include "study/table/text_input.hpp"

namespace qmx_study {

namespace {

std::string path_for_gdal(const std::string& file) {
    const std::string lower = lower_case(file);
    if (lower.starts_with("/vsi")) return file;
    if (lower.ends_with(".gz")) return "/vsigzip/" + file;
    return lower.ends_with(".zip") ? "/vsizip/" + file : file;
}

column_type type_of(OGRFieldType type) {
    if (type == OFTString) return column_type::text;
    const bool is_number = type == OFTInteger || type == OFTInteger64 || type == OFTReal;
    return is_number ? column_type::number : column_type::other;
}

ring ring_of(const OGRSimpleCurve& curve) {
    ring vertices;
    const int count = curve.getNumPoints();
    for (int i = 0; i < count; ++i) {
        vertices.x.push_back(curve.getX(i));
        vertices.y.push_back(curve.getY(i));
    }
    return vertices;
}

void convert(const OGRGeometry& from, shape& into) {
    const OGRwkbGeometryType type = wkbFlatten(from.getGeometryType());
    if (type == wkbPoint && !from.IsEmpty()) {
        const OGRPoint& point = *from.toPoint();
        return into.set_point(point.getX(), point.getY());
    }
    into = {};
    into.name = from.getGeometryName();
    into.is_empty = from.IsEmpty() != 0;
    if (type == wkbPoint) {
        into.kind = shape_kind::point;
    } else if (type == wkbLineString) {
        into.kind = shape_kind::line;
        into.rings.push_back(ring_of(*from.toLineString()));
    } else if (type == wkbPolygon) {
        into.kind = shape_kind::polygon;
        if (into.is_empty) return;
        for (const OGRLinearRing* const each : *from.toPolygon())
            into.rings.push_back(ring_of(*each));
    } else if (type == wkbMultiPoint || type == wkbMultiPolygon || type == wkbGeometryCollection) {
        into.kind = shape_kind::collection;
        for (const OGRGeometry* const part : *from.toGeometryCollection())
            convert(*part, into.parts.emplace_back());
    }
}

// A point in the plane or with further numbers that are left out, as nearly all are.
bool take_plain_point(std::string_view binary, shape& into) {
    constexpr std::size_t of_head = 5;
    constexpr std::uint32_t point = 1, point_with_height = 1001;
    constexpr char little_end = 1;
    if (std::endian::native != std::endian::little) return false;
    std::uint32_t kind = 0;
    double place[2];
    if (binary.size() < of_head + sizeof place || binary[0] != little_end) return false;
    std::memcpy(&kind, binary.data() + 1, sizeof kind);
    std::memcpy(place, binary.data() + of_head, sizeof place);
    if ((kind != point && kind != point_with_height) || std::isnan(place[0]) ||
        std::isnan(place[1]))
        return false;
    into.set_point(place[0], place[1]);
    return true;
}

// False where nothing is made of it.
bool convert_binary(std::string_view binary, shape& into) {
    if (take_plain_point(binary, into)) return true;
    OGRGeometry* made = nullptr;
    OGRGeometryFactory::createFromWkb(binary.data(), nullptr, &made, binary.size());
    const std::unique_ptr<OGRGeometry> geometry(made);
    if (geometry) convert(*geometry, into);
    return geometry != nullptr;
}

OGRLayer* layer_of(GDALDataset& dataset, const std::string& file, const std::string& wanted) {
    OGRLayer* layer = nullptr;
    std::string names;
    for (OGRLayer* const candidate : dataset.GetLayers()) {
        if (!names.empty()) names += ", ";
        names += candidate->GetName();
        if (!layer && (wanted.empty() || same_text(wanted, candidate->GetName())))
            layer = candidate;
    }
    if (!layer && wanted.empty())
        throw usage_error(fmt::format("{}: it holds no layer", file), {{}, file, 0, {}});
    if (!layer)
        throw usage_error(
            fmt::format("{}: it has no layer \"{}\"; its layers are: {}", file, wanted, names),
            {"--layer", file, 0, {}});
    if (wanted.empty() && dataset.GetLayerCount() > 1)
        throw usage_error(
            fmt::format("{}: it holds several layers; name one with --layer: {}", file, names),
            {"--layer", file, 0, {}});
    return layer;
}

} // namespace

struct vector_table::state {
    GDALDatasetUniquePtr dataset;
    OGRLayer* layer = nullptr;
    OGRFeatureUniquePtr feature;
    std::unique_ptr<column_batches> batches; // instead of features
    std::int64_t taken = 0;                  // records of them
    std::string file;
    file_stamp stamp;
    shape converted;

    bool next_feature() {
        CPLErrorReset();
        errno = 0;
        feature.reset(layer->GetNextFeature());
        if (errno == ENOMEM) throw std::bad_alloc(); // a part of it may be left out
        return feature != nullptr;
    }

    // Where the batches end early, the features tell why, and what there is besides.
    bool go_on_with_features() {
        batches.reset();
        layer->ResetReading();
        for (; taken > 0; --taken)
            if (!next_feature()) return false;
        return next_feature();
    }
};

vector_table::vector_table(const std::string& file, const std::string& layer)
    : now(std::make_unique<state>()) {
    refuse_damaged_gzip(file);
    now->file = file;
    now->stamp = stamp_of_file(file);
    prepare_formats();
    CPLErrorReset();
    errno = 0;
    now->dataset.reset(GDALDataset::Open(path_for_gdal(file).c_str(), GDAL_OF_VECTOR));
    if (!now->dataset) refuse_unknown_format(file, CPLGetLastErrorMsg());
    format_name = now->dataset->GetDriver()->GetDescription();
    now->layer = layer_of(*now->dataset, file, layer);
    row_count = now->layer->GetFeatureCount(FALSE);
    const OGRFeatureDefn& definition = *now->layer->GetLayerDefn();
    for (int i = 0; i < definition.GetFieldCount(); ++i)
        column_list.push_back({definition.GetFieldDefn(i)->GetNameRef(),
                               type_of(definition.GetFieldDefn(i)->GetType())});
    is_spatial = now->layer->GetGeomType() != wkbNone && definition.GetGeomFieldCount() > 0;
    reference = copy_of(now->layer->GetSpatialRef());
    if (errno == ENOMEM) throw std::bad_alloc();
}

vector_table::~vector_table() = default;

void vector_table::rewind() {
    now->batches.reset();
    in_batches = false;
    now->layer->SetIgnoredFields(nullptr);
    now->layer->ResetReading();
}

void vector_table::rewind_for(const std::vector<int>& wanted, bool with_geometry) {
    now->batches.reset();
    now->taken = 0;
    CPLStringList ignored;
    for (std::size_t i = 0; i < column_list.size(); ++i)
        if (std::find(wanted.begin(), wanted.end(), static_cast<int>(i)) == wanted.end())
            ignored.AddString(column_list[i].name.c_str());
    if (!with_geometry) ignored.AddString("OGR_GEOMETRY");
    ignored.AddString("OGR_STYLE");
    now->layer->SetIgnoredFields(const_cast<const char**>(ignored.List()));
    now->layer->ResetReading();
    if (format_name == "GPKG")
        now->batches = column_batches::of(*now->layer, wanted, with_geometry);
    in_batches = now->batches != nullptr;
    if (!in_batches) now->layer->ResetReading();
}

bool vector_table::next() {
    bool is_whole = false;
    if (now->batches) {
        if (now->batches->next()) {
            ++now->taken;
            return true;
        }
        is_whole = !now->batches->has_failed() && now->taken >= row_count;
        in_batches = is_whole;
    }
    if (!is_whole) {
        if (now->batches ? now->go_on_with_features() : now->next_feature()) return true;
        if (CPLGetLastErrorType() >= CE_Failure) reason = CPLGetLastErrorMsg();
    }
    if (is_changed()) reason = changed_while_read;
    return false;
}

bool vector_table::is_changed() const {
    return stamp_of_file(now->file) != now->stamp;
}

bool vector_table::is_missing(int column) const {
    if (now->batches) return now->batches->is_missing(column);
    return !now->feature->IsFieldSetAndNotNull(column);
}

std::string_view vector_table::text(int column) const {
    if (now->batches) return now->batches->text(column);
    return is_missing(column) ? std::string_view() : now->feature->GetFieldAsString(column);
}

double vector_table::number(int column) const {
    if (now->batches) return now->batches->number(column);
    return now->feature->GetFieldAsDouble(column);
}

const shape* vector_table::geometry() const {
    if (now->batches) {
        const std::string_view binary = now->batches->geometry();
        return binary.data() && convert_binary(binary, now->converted) ? &now->converted : nullptr;
    }
    const OGRGeometry* const geometry = now->feature->GetGeometryRef();
    if (!geometry) return nullptr;
    convert(*geometry, now->converted);
    return &now->converted;
}

void refuse_unknown_format(const std::string& file, const std::string& reason) {
    throw usage_error(
        fmt::format("{}: no table of points was recognised{}{}; delimited text needs a name that "
                    "ends in .csv, .tsv or .txt",
                    file, reason.empty() ? "" : ": ", reason),
        {{}, file, 0, {}});
}

} // namespace qmx_study
