#include "support/export_call.hpp"

#include <array>

namespace fuzz {

namespace {

constexpr int points = 26;

struct sound_lot {
    std::array<t_icdata, points> records{};
    std::array<double, points> x{}, y{};
    std::array<float, points> narrow_x{}, narrow_y{};
    sound_lot() {
        for (std::size_t i = 0; i < records.size(); ++i) {
            const double step = static_cast<double>(i);
            records[i] = {0.3 * static_cast<double>(i % 13), 0.5 * static_cast<double>(i / 13),
                          40 + static_cast<double>(i * i % 17), 1, 0};
            x[i] = records[i].d_x;
            y[i] = records[i].d_y;
            narrow_x[i] = static_cast<float>(step);
            narrow_y[i] = static_cast<float>(records[i].d_val);
        }
    }
};

} // namespace

void call_another(std::uint8_t which) {
    static const sound_lot lot;
    static t_statsout statistics, of_tests[3];
    static t_event event;
    static std::array<int32_t, points> indices;
    static double means[4], curve_x[100], curve_y[100], model[2], predicted[3];
    static float narrow_x[100], narrow_y[100], summary[4], line[3];
    int32_t found = 0;
    const t_icdata* const records = lot.records.data();
    if (which >= 60) return; // none, mostly
    switch (which % 9) {
    case 0: ICdata_stats(2, 2, points, records, &statistics, &event); break;
    case 1: ICdata_stats(1, 2, 2, records, &statistics, &event); break; // fails
    case 2: {
        t_fitout fit{};
        IC_compact_curve_b(4, 0, points, records, &found, means, curve_x, curve_y, &fit, &event);
        break; // fails: a pass takes 100 records
    }
    case 3:
        call_polycurvefit(points, 3, lot.narrow_x.data(), lot.narrow_y.data(), narrow_x, narrow_y);
        break;
    case 4:
        call_polycurvefit(points, 12, lot.narrow_x.data(), lot.narrow_y.data(), narrow_x, narrow_y);
        break;
    case 5: {
        const t_gamvset_user settings{0, 0.6F, 0, 90, 100, 1};
        IC_semivariogram(20, records, &settings, means, curve_y, model, curve_x, curve_y, summary,
                         &event);
        break; // fails
    }
    case 6: {
        const double outline_x[] = {1, 3, 2}, outline_y[] = {0, 1, 4};
        find_points_in_polygon(3, points, outline_x, outline_y, lot.x.data(), lot.y.data(), &found,
                               indices.data(), &event);
        break;
    }
    case 7:
        IC_PointsData_stats(points, 3, 1, records, records + 20, of_tests, line, &found,
                            indices.data(), predicted, &event);
        break;
    default: {
        const float mesh[] = {0.3F, 0.5F};
        const t_passbin bin{1, -1};
        t_binresult result{};
        IC_coverage(mesh, points, 1, 0, &bin, records, nullptr, &result, &event);
    }
    }
}

} // namespace fuzz
