#include "report/page.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "report/maps.hpp"
#include "report/packing.hpp"
#include "report/page_template.hpp"
#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"

namespace qmx_report {
namespace {

using qmx_study::json;

constexpr std::size_t most_bytes = 4900000; // some way below 5 MB
constexpr std::size_t most_logo_bytes = 400000;
constexpr std::string_view mark = "{{DATA}}"; // where the template takes the data

// Text for a script element: nothing in it can end the element or begin a comment.
std::string embedded(const json& data) {
    const std::string plain = data.dump(-1, ' ', false, json::error_handler_t::replace);
    std::string safe;
    safe.reserve(plain.size());
    for (const char letter : plain) {
        if (letter == '<')
            safe += "\\u003c";
        else if (letter == '>')
            safe += "\\u003e";
        else if (letter == '&')
            safe += "\\u0026";
        else
            safe += letter;
    }
    return safe;
}

bool begins_with(std::string_view data, std::string_view beginning) {
    return data.substr(0, beginning.size()) == beginning;
}

std::string type_of_picture(std::string_view data) {
    if (begins_with(data, "\x89PNG\r\n")) return "image/png";
    if (begins_with(data, "\xFF\xD8\xFF")) return "image/jpeg";
    if (data.substr(0, 1000).find("<svg") != std::string_view::npos) return "image/svg+xml";
    return "";
}

json logo_of(const std::string& file) {
    if (file.empty()) return nullptr;
    const qmx_study::error_place place{"--logo", file, 0, ""};
    std::ifstream stream(qmx_study::path_of(file), std::ios::binary);
    const std::string data{std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad() || data.empty())
        throw qmx_study::usage_error(file + ": the logo cannot be read", place);
    const std::string type = type_of_picture(data);
    if (type.empty())
        throw qmx_study::usage_error(
            file + ": the logo is neither PNG nor JPEG nor SVG; name such a file", place);
    if (data.size() > most_logo_bytes)
        throw qmx_study::usage_error(file + ": the logo has " + std::to_string(data.size()) +
                                         " bytes; make it smaller than 400 000",
                                     place);
    const auto* first = reinterpret_cast<const std::uint8_t*>(data.data());
    return "data:" + type + ";base64," + base64({first, data.size()});
}

std::string joined_template() {
    std::string whole;
    for (const std::string_view piece : page_template()) whole += piece;
    return whole;
}

} // namespace

std::vector<std::string> languages() {
    return {"en", "de"};
}

bool can_make_pages() {
    return true;
}

void check(const page_options& options) {
    const std::vector<std::string> known = languages();
    if (std::find(known.begin(), known.end(), options.language) == known.end())
        throw qmx_study::usage_error("\"" + options.language +
                                         "\" is no language of the report; there are en and de",
                                     {"--lang", "", 0, ""});
    logo_of(options.logo);
}

std::string page_of(const json& document, const qmx_study::cell_table& cells,
                    const page_options& options) {
    check(options);
    const std::string frame = joined_template();
    const std::size_t at = frame.find(mark);
    json data = {{"language", options.language}, {"logo", logo_of(options.logo)}};
    data["document"] = document;
    const std::string fixed = embedded(data);

    // Maps that take too much room are drawn again with fewer pixels.
    map_limits limits;
    for (;;) {
        const std::string maps = embedded(maps_of(document, cells, limits));
        const std::size_t size = frame.size() + fixed.size() + maps.size();
        if (size > most_bytes && limits.strip_pixels > 20000) {
            const double room = std::max(0.1, static_cast<double>(most_bytes) -
                                                  static_cast<double>(frame.size() + fixed.size()));
            const double share =
                std::clamp(0.95 * room / static_cast<double>(maps.size()), 0.1, 0.8);
            limits.strip_pixels =
                static_cast<std::int64_t>(static_cast<double>(limits.strip_pixels) * share);
            limits.plan_pixels =
                static_cast<std::int64_t>(static_cast<double>(limits.plan_pixels) * share);
            continue;
        }
        std::string page;
        page.reserve(size + 32);
        page.append(frame, 0, at);
        page.append(fixed, 0, fixed.size() - 1); // without the closing brace
        page += ",\"maps\":";
        page += maps;
        page += '}';
        page.append(frame, at + mark.size());
        return page;
    }
}

} // namespace qmx_report
