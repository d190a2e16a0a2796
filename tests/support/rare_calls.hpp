// Calls of the exports on lots that take the rarest roads: windows of scattered rows and their repeated
// sums, pairs that the kernel does not take, the raster of a polygon and its finer rows, fits in more
// digits than two numbers have, spot tests in batches. All succeed.
#pragma once

#include "qmx_ic.h"
#include "support/export_calls.hpp"
#include "support/made_lots.hpp"

namespace support {

class rare_lots {
public:
    rare_lots() {
        scatter();
        make_outlines();
        make_fits();
        make_spots();
        make_passes();
    }

    // `least_allocations` is what the road in question takes: without it there are fewer.
    std::vector<export_call> calls() {
        std::vector<export_call> list = semivariograms();
        for (export_call& call : selections()) list.push_back(call);
        for (export_call& call : others()) list.push_back(call);
        return list;
    }

    // All that the last call may have written, as one list of numbers.
    std::vector<double> outputs() const {
        std::vector<double> all;
        const auto add = [&](const auto& values) {
            all.insert(all.end(), std::begin(values), std::end(values));
        };
        add(distance_), add(semivariance_), add(model_), add(curve_x_), add(curve_y_),
            add(summary_);
        add(indices_), add(narrow_x_), add(narrow_y_), add(means_), add(fit_.x_coef), add(line_);
        add(list_), add(predicted_);
        for (const t_binresult& each : results_)
            add(std::array{each.x_coverage, each.x_compacted_area, each.x_plan_area});
        for (const t_statsout& each : at_tests_) add(each.x_stat), add(each.x_freq);
        return all;
    }
    // So that the next call starts with the same records.
    void reset() {
        std::fill_n(distance_, 100, 7), std::fill_n(semivariance_, 100, 7),
            std::fill_n(model_, 2, 7);
        std::fill_n(curve_x_, 100, 7), std::fill_n(curve_y_, 100, 7), std::fill_n(summary_, 4, 7);
        std::fill(indices_.begin(), indices_.end(), 7);
        std::fill_n(narrow_x_, 100, 7), std::fill_n(narrow_y_, 100, 7), std::fill_n(means_, 12, 7);
        std::fill_n(line_, 3, 7), fit_ = {};
        std::fill(list_.begin(), list_.end(), 7),
            std::fill(predicted_.begin(), predicted_.end(), 7);
        std::fill(results_.begin(), results_.end(), t_binresult{7, 7, 7});
        std::memset(at_tests_.data(), 0, at_tests_.size() * sizeof(t_statsout));
    }

    t_event event = {};

private:
    double unit() { return make_.whole(0, 1 << 20) / 1048576.0; }

    void scatter() {
        for (int i = 0; i < 1200; ++i) {
            const double x = 100 * unit(), y = 100 * unit();
            const double noise = unit() + unit();
            shuffled_.push_back({x, y, 40 + 9 * noise, 1, 0});
            // Values that grow without end carry each sum past a power of two again and again.
            wild_.push_back({x, y, std::ldexp(1 + unit(), i / 12 % 60), 1, 0});
            infinite_.push_back({x, y, i == 900 ? inf64 : 40 + noise, 1, 0});
            // Two rollers that write in turn.
            alternating_.push_back(
                {0.3 * (i / 2 % 200), (i % 2 == 0 ? 0 : 70) + 0.9 * (i / 400), 40 + noise, 1, 0});
        }
        few_.assign(shuffled_.begin(), shuffled_.begin() + 200);
    }
    void make_outlines() {
        for (int i = 0; i < 20000; ++i) {
            const double along = 1000 * unit();
            x_.push_back(along);
            y_.push_back(2 * along + 4 * unit());
        }
        // A long slanting strip with ragged sides.
        for (int i = 0; i <= 1000; ++i) {
            strip_x_.push_back(i);
            strip_y_.push_back(2 * i + unit());
        }
        for (int i = 1000; i >= 0; --i) {
            strip_x_.push_back(i);
            strip_y_.push_back(2 * i + 3 + unit());
        }
        // A comb whose teeth all run over the whole height.
        for (int i = 0; i < 3000; ++i) {
            comb_x_.push_back(i / 3.0);
            comb_y_.push_back(i % 2 == 0 ? 0 : 2000);
        }
    }
    void make_fits() {
        // Abscissas so far apart that two numbers do not hold a coefficient.
        for (int i = 0; i < 40; ++i) {
            far_x_.push_back(std::ldexp(i % 2 == 0 ? 1.0F : -1.5F, 3 * i - 60));
            far_y_.push_back(static_cast<float>(40 + unit() * i));
        }
    }
    void make_spots() {
        for (int i = 0; i < 500; ++i) spot_data_.push_back({unit(), unit(), 40 + 9 * unit(), 1, 0});
        for (int i = 0; i < 200; ++i) spot_tests_.push_back({unit(), unit(), 20 + unit(), -1, 0});
        at_tests_.resize(spot_tests_.size());
        list_.resize(spot_tests_.size());
        predicted_.resize(spot_tests_.size());
    }
    void make_passes() {
        for (int i = 0; i < 2400; ++i) {
            // Pass 9 has too few records, and values of all magnitudes are added digit by digit.
            const int pass = i % 100 == 7 ? 9 : 1 + i % 8;
            const double value = 40 + 9 * (pass - pass * pass / 24.0) + unit();
            passes_.push_back({0, 0, i % 10 == 3 ? std::ldexp(value, -40) : value, pass, 0});
        }
        areas_.resize(2);
        for (t_areaflt& area : areas_) {
            area.i_flag_exclusion = 2;
            area.i_numvertices = 10000;
            for (int k = 0; k < 10000; ++k) {
                // Clockwise: the pairs are turned round.
                area.d_vert_x[k] = 500 * std::cos(-6.283185307179586 * k / 10000);
                area.d_vert_y[k] = 500 * std::sin(-6.283185307179586 * k / 10000);
            }
        }
        for (int k = 0; k < 600; ++k) bins_.push_back({300 - k % 300, 300 + k % 300});
        bins_.push_back({20000, 2000000000});
        results_.resize(bins_.size());
    }

    std::vector<export_call> semivariograms() {
        const auto of = [&](const char* name, const std::vector<t_icdata>& lot, t_gamvset_user set,
                            long allocations) {
            return export_call{name, allocations, [=, this, &lot] {
                                   set_ = set;
                                   return IC_semivariogram(count_of(lot), lot.data(), &set_,
                                                           distance_, semivariance_, model_,
                                                           curve_x_, curve_y_, summary_, &event);
                               }};
        };
        return {of("IC_semivariogram, windows of scattered rows", shuffled_, {8, 2, 0, 90, 1000, 2},
                   14),
                of("IC_semivariogram, repeated sums", wild_, {8, 2, 0, 90, 1000, 2}, 14),
                of("IC_semivariogram, a cone and bands", shuffled_, {10, 1.5F, 30, 20, 9, 1}, 14),
                of("IC_semivariogram, two rollers in turn", alternating_,
                   {12, 1.5F, 0, 90, 1000, 2}, 12),
                of("IC_semivariogram, not for the kernel", infinite_, {8, 2, 30, 30, 1000, 2}, 9),
                of("IC_semivariogram, any distance", few_, {4, 1e25F, 0, 90, 1e30F, 2}, 4)};
    }
    std::vector<export_call> selections() {
        const auto of = [&](const char* name, const std::vector<double>& x,
                            const std::vector<double>& y, long allocations) {
            return export_call{name, allocations, [=, this, &x, &y] {
                                   return find_points_in_polygon(
                                       count_of(x), count_of(x_), x.data(), y.data(), x_.data(),
                                       y_.data(), &found_, indices_.data(), &event);
                               }};
        };
        indices_.resize(x_.size());
        return {of("find_points_in_polygon, finer rows", strip_x_, strip_y_, 12),
                of("find_points_in_polygon, a comb", comb_x_, comb_y_, 10)};
    }
    std::vector<export_call> others() {
        return {{"call_polycurvefit, lost digits", 12,
                 [this] {
                     return call_polycurvefit(count_of(far_x_), 9, far_x_.data(), far_y_.data(),
                                              narrow_x_, narrow_y_);
                 }},
                {"IC_PointsData_stats, batches", 14,
                 [this] {
                     return IC_PointsData_stats(count_of(spot_data_), count_of(spot_tests_), 2,
                                                spot_data_.data(), spot_tests_.data(),
                                                at_tests_.data(), line_, &found_, list_.data(),
                                                predicted_.data(), &event);
                 }},
                {"IC_compact_curve_b, slow sums", 5,
                 [this] {
                     return IC_compact_curve_b(12, 0, count_of(passes_), passes_.data(), &found_,
                                               means_, curve_x_, curve_y_, &fit_, &event);
                 }},
                {"IC_coverage, many bins", 6, [this] {
                     return IC_coverage(mesh_, count_of(passes_), count_of(bins_), 2, bins_.data(),
                                        passes_.data(), areas_.data(), results_.data(), &event);
                 }}};
    }

    number_maker make_{20};
    std::vector<t_icdata> shuffled_, few_, wild_, infinite_, alternating_, spot_data_, spot_tests_,
        passes_;
    std::vector<double> x_, y_, strip_x_, strip_y_, comb_x_, comb_y_;
    std::vector<float> far_x_, far_y_;
    std::vector<t_areaflt> areas_;
    std::vector<t_passbin> bins_;
    t_gamvset_user set_ = {};
    double distance_[100], semivariance_[100], model_[2], curve_x_[100], curve_y_[100], means_[12];
    float summary_[4], narrow_x_[100], narrow_y_[100], line_[3], mesh_[2] = {0.3F, 0.3F};
    std::vector<int32_t> indices_, list_;
    std::vector<double> predicted_;
    std::vector<t_binresult> results_;
    std::vector<t_statsout> at_tests_;
    t_fitout fit_ = {};
    int32_t found_ = 0;
};

} // namespace support
