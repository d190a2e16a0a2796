// A semivariogram by a k-d tree: the tree is built once for a call, every point searches its
// neighbours within reach, and a pair is counted from its earlier point. Positions, distances and
// sums in f64.
#include "qmx_ic.h"

#include <nanoflann.hpp>

#include <cmath>
#include <cstddef>
#include <vector>

namespace {

struct cloud {
    const t_icdata* points;
    std::size_t count;

    std::size_t kdtree_get_point_count() const { return count; }
    double kdtree_get_pt(std::size_t i, std::size_t axis) const {
        return axis == 0 ? points[i].d_x : points[i].d_y;
    }
    template <class Box> bool kdtree_get_bbox(Box&) const { return false; }
};

using tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, cloud>, cloud,
                                                 2, std::size_t>;

// Takes each neighbour as the search meets it: no list of neighbours is ever kept, which is faster
// than collecting one.
class lag_sums {
public:
    lag_sums(const t_icdata* points, double lag, double reach, std::size_t classes)
        : pairs(classes, 0.0), squares(classes, 0.0), points_(points), per_lag_(1 / lag),
          reach_(reach) {}

    void start(std::size_t i) { i_ = i; }
    bool addPoint(double squared, std::size_t j) {
        if (j > i_ && squared <= reach_) {
            const auto k = static_cast<std::size_t>(std::sqrt(squared) * per_lag_ + 0.5) + 1;
            const double difference = points_[i_].d_val - points_[j].d_val;
            pairs[k] += 1;
            squares[k] += difference * difference;
        }
        return true;
    }
    double worstDist() const { return reach_; }
    bool full() const { return true; }
    std::size_t size() const { return 0; }

    std::vector<double> pairs, squares;

private:
    const t_icdata* points_;
    double per_lag_, reach_;
    std::size_t i_ = 0;
};

} // namespace

// gamma [lags + 2]: element 1 is the class about distance 0, element k the one about k - 1 lags.
extern "C" void nanoflann_semivariogram(int32_t count, const t_icdata* points, int32_t lags,
                                        double lag, double* gamma) {
    const cloud all{points, static_cast<std::size_t>(count)};
    const tree index(2, all, nanoflann::KDTreeSingleIndexAdaptorParams(16));
    const double reach = (lags + 0.5) * lag;
    const auto classes = static_cast<std::size_t>(lags) + 2;
    lag_sums sums(points, lag, reach * reach, classes + 1); // one more for rounding at the reach
    const nanoflann::SearchParams unsorted(32, 0, false);
    for (std::size_t i = 0; i < all.count; ++i) {
        const double at[2] = {points[i].d_x, points[i].d_y};
        sums.start(i);
        index.radiusSearchCustomCallback(at, sums, unsorted);
    }
    for (std::size_t k = 0; k < classes; ++k)
        gamma[k] = sums.pairs[k] > 0 ? sums.squares[k] / (2 * sums.pairs[k]) : 0;
}
