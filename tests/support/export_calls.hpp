// One ordinary call of each export: on lots that raise no floating-point exception and succeed.
#pragma once

#include "qmx_ic.h"
#include "support/test.hpp"

namespace support {

struct export_call {
    std::string name; // of the export, and what else there is to say
    long least_allocations;
    std::function<int32_t()> run;
};

// Ordinary lots: a roller's track with a smooth measure and noise, or pass counts; some passes; some
// spot tests, an alignment and an outline about it.
class ordinary_lot {
public:
    // Without a count some hundreds, at least 100 a pass.
    explicit ordinary_lot(unsigned seed, int points = 0) : random_(seed) {
        const int some = 600 + static_cast<int>(random_() % 2200);
        const int count = points > 0 ? points : some;
        indices_.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const double x = 0.3 * (i % 50) + 0.05 * unit(), y = 0.9 * (i / 50) + 0.05 * unit();
            const double value = 60 + 8 * std::sin(0.2 * x) + 5 * std::cos(0.3 * y) + 4 * unit();
            points_.push_back({x, y, value, 1 + static_cast<int32_t>(random_() % 4), 0});
            passes_.push_back({x, y, static_cast<double>(1 + random_() % 9), 1, 0});
            x_.push_back(x);
            y_.push_back(y);
            abscissas_.push_back(static_cast<float>(x));
            ordinates_.push_back(static_cast<float>(value));
        }
        for (int k = 0; k < 6; ++k)
            tests_.push_back({15 * unit(), 3 * unit(), 20 + 5 * unit(), k % 3 == 0 ? 1 : -1, 0});
        for (int k = 0; k < 200; ++k) {
            outline_x_.push_back(7.5 + 6 * std::cos(0.0314 * k) + 0.1 * unit());
            outline_y_.push_back(5 + 4 * std::sin(0.0314 * k) + 0.1 * unit());
        }
        areas_ = {{2, 4, {0, 15, 15, 0}, {0, 0, 40, 40}}, {1, 3, {3, 4, 3}, {3, 3, 4}}};
        statistics_.i_flag_target = 1;
        statistics_.x_target = 62;
        statistics_.x_target_pct = 70;
        statistics_.x_pctlevel[0] = 10;
        statistics_.x_pctlevel[1] = 90;
        pass_statistics_ = statistics_;
        pass_statistics_.x_target = 4;
        degree_ = static_cast<int32_t>(random_() % 7);
        settings_ = {
            6 + static_cast<int32_t>(random_() % 10), 0.6F, static_cast<float>(90 * unit()),
            random_() % 2 == 0 ? 90.0F : 30.0F,       20,   random_() % 2 == 0 ? 1 : 2};
    }

    std::vector<export_call> calls() {
        const auto n = static_cast<int32_t>(points_.size());
        std::vector<export_call> list;
        const auto add = [&](const char* name, long least_allocations, auto run) {
            list.push_back({name, least_allocations, run});
        };
        add("ICdata_stats", 1,
            [=, this] { return ICdata_stats(2, 2, n, points_.data(), &statistics_, &event); });
        add("ICdata_stats of passes", 1,
            [=, this] { return ICdata_stats(1, 2, n, passes_.data(), &pass_statistics_, &event); });
        add("IC_compact_curve_b", 2, [=, this] {
            return IC_compact_curve_b(4, 0, n, points_.data(), &found_, means_, curve_x_, curve_y_,
                                      &fit_, &event);
        });
        add("call_polycurvefit", 1, [=, this] {
            return call_polycurvefit(n, degree_, abscissas_.data(), ordinates_.data(), narrow_x_,
                                     polynomial);
        });
        add("IC_semivariogram", 4, [=, this] {
            return IC_semivariogram(n, points_.data(), &settings_, distance_, semivariance_, model_,
                                    curve_x_, curve_y_, summary_, &event);
        });
        add("find_points_in_circle", 0, [=, this] {
            return find_points_in_circle(n, 4, center_, x_.data(), y_.data(), &found_,
                                         indices_.data(), &event);
        });
        add("find_points_in_polygon", 1, [=, this] {
            return find_points_in_polygon(200, n, outline_x_.data(), outline_y_.data(), x_.data(),
                                          y_.data(), &found_, indices_.data(), &event);
        });
        add("IC_PointsData_stats", 3, [=, this] {
            return IC_PointsData_stats(n, 6, 1.2, points_.data(), tests_.data(), at_tests_, line_,
                                       &found_, list_, predicted_, &event);
        });
        add("IC_coverage", 1, [=, this] {
            return IC_coverage(mesh_, n, 2, 2, bins_, passes_.data(), areas_.data(), results_,
                               &event);
        });
        return list;
    }

    t_event event = {};
    float polynomial[100] = {}; // ordinates of call_polycurvefit

private:
    double unit() { return std::uniform_real_distribution<double>(0, 1)(random_); }

    std::mt19937 random_;
    std::vector<t_icdata> points_, passes_, tests_;
    std::vector<double> x_, y_, outline_x_, outline_y_;
    std::vector<float> abscissas_, ordinates_;
    std::vector<t_areaflt> areas_;
    std::vector<int32_t> indices_;
    t_statsout statistics_ = {}, pass_statistics_ = {}, at_tests_[6] = {};
    t_gamvset_user settings_ = {};
    t_fitout fit_ = {};
    t_passbin bins_[2] = {{1, 3}, {4, -1}};
    t_binresult results_[2] = {};
    int32_t found_ = 0, degree_ = 0, list_[6] = {};
    double means_[4], curve_x_[100], curve_y_[100], distance_[18], semivariance_[18], model_[2];
    double predicted_[6], center_[2] = {7, 4};
    float narrow_x_[100], summary_[4], line_[3], mesh_[2] = {0.3F, 0.9F};
};

} // namespace support
