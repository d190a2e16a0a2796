// Makes a page of a document and its cells, without the program:
//
//   make_page DOCUMENT.json CELLS.csv PAGE.html [LANGUAGE [LOGO]]
//
// CELLS.csv has the columns x,y,pass,value,verdict; "-" stands for none.
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <string>

#include "report/page.hpp"

namespace {

qmx_study::cell_table cells_of(const std::string& file) {
    qmx_study::cell_table cells;
    if (file == "-") return cells;
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    while (std::getline(stream, line)) {
        double x = 0, y = 0, value = 0;
        int pass = 0, verdict = 0;
        if (std::sscanf(line.c_str(), "%lf,%lf,%d,%lf,%d", &x, &y, &pass, &value, &verdict) != 5)
            throw std::runtime_error(file + ": not x,y,pass,value,verdict: " + line);
        cells.x.push_back(x);
        cells.y.push_back(y);
        cells.pass.push_back(pass);
        cells.value.push_back(value);
        cells.verdict.push_back(static_cast<std::uint8_t>(verdict));
    }
    return cells;
}

} // namespace

int main(int count, char** words) try {
    if (count < 4) {
        std::fputs("make_page DOCUMENT.json CELLS.csv PAGE.html [LANGUAGE [LOGO]]\n", stderr);
        return 2;
    }
    std::ifstream stream(words[1]);
    const auto document = qmx_study::json::parse(stream);
    const qmx_study::cell_table cells = cells_of(words[2]);
    qmx_report::page_options options;
    if (count > 4) options.language = words[4];
    if (count > 5) options.logo = words[5];
    const std::clock_t begin = std::clock();
    const std::string page = qmx_report::page_of(document, cells, options);
    std::printf("%zu cells, %zu bytes, %.3f s\n", cells.size(), page.size(),
                static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    std::ofstream(words[3], std::ios::binary) << page;
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
}
