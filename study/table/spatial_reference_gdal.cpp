#include "study/table/ogr_reference.hpp"

#include <new>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>

#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

// Where GDAL finds no memory for something small it ends the program, unless this ends it before.
void CPL_STDCALL keep_error(CPLErr severity, CPLErrorNum number, const char* message) {
    const std::new_handler lack_of_memory = std::get_new_handler();
    if (severity == CE_Fatal && number == CPLE_OutOfMemory && lack_of_memory) lack_of_memory();
    CPLQuietErrorHandler(severity, number, message);
}

} // namespace

spatial_reference::spatial_reference(std::unique_ptr<description> known) : of(std::move(known)) {}
spatial_reference::~spatial_reference() = default;

std::string spatial_reference::name() const {
    const char* const text = of->system.GetName();
    return text ? text : "unnamed system";
}

bool spatial_reference::is_geographic() const {
    return of->system.IsGeographic() != 0;
}

bool spatial_reference::is_same_as(const spatial_reference& other) const {
    return of->system.IsSame(&other.of->system) != 0;
}

std::string spatial_reference::length_unit() const {
    if (is_geographic()) return "deg";
    const char* unit = nullptr;
    of->system.GetLinearUnits(&unit);
    std::string text = unit ? unit : "";
    if (same_text(text, "metre") || same_text(text, "meter")) return "m";
    if (same_text(text, "kilometre") || same_text(text, "kilometer")) return "km";
    if (same_text(text, "US survey foot")) return "US survey ft";
    if (same_text(text, "foot")) return "ft";
    return text;
}

void prepare_gdal() {
    static const bool is_ready = [] {
        CPLSetErrorHandler(keep_error);
        // Reading a packed file would else leave FILE.gz.properties beside it.
        CPLSetConfigOption("CPL_VSIL_GZIP_WRITE_PROPERTIES", "NO");
        return true;
    }();
    static_cast<void>(is_ready);
}

void prepare_formats() {
    prepare_gdal();
    static const bool is_ready = (GDALAllRegister(), true);
    static_cast<void>(is_ready);
}

coordinate_system copy_of(const OGRSpatialReference* system) {
    if (!system) return nullptr;
    auto copy = std::make_unique<spatial_reference::description>();
    copy->system = *system;
    copy->system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return std::make_shared<spatial_reference>(std::move(copy));
}

coordinate_system wgs84() {
    prepare_gdal();
    OGRSpatialReference system;
    system.importFromEPSG(4326);
    return copy_of(&system);
}

coordinate_system system_from_text(const std::string& text) {
    prepare_gdal();
    // GDAL reads a code up to its first character that is no digit.
    const std::string lower = lower_case(trimmed(text));
    if (lower.starts_with("epsg:") &&
        lower.find_first_not_of("0123456789+", 5) != std::string::npos)
        return nullptr;
    OGRSpatialReference system;
    if (system.SetFromUserInput(text.c_str()) != OGRERR_NONE) return nullptr;
    return copy_of(&system);
}

} // namespace qmx_study
