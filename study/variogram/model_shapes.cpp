#include "study/variogram/model_shapes.hpp"

#include "study/base/portable_math.hpp"

namespace qmx_study {

using portable::exponential_decay;

const char* name_of(model_shape shape) {
    switch (shape) {
    case model_shape::exponential: return "exponential";
    case model_shape::spherical: return "spherical";
    case model_shape::gaussian: return "Gaussian";
    case model_shape::matern_3_2: return "Matérn 3/2";
    case model_shape::matern_5_2: break;
    }
    return "Matérn 5/2";
}

const char* key_of(model_shape shape) {
    switch (shape) {
    case model_shape::exponential: return "exponential";
    case model_shape::spherical: return "spherical";
    case model_shape::gaussian: return "gaussian";
    case model_shape::matern_3_2: return "matern_3_2";
    case model_shape::matern_5_2: break;
    }
    return "matern_5_2";
}

double practical_range_of_scale(model_shape shape) {
    switch (shape) {
    case model_shape::exponential: return 3;
    case model_shape::spherical: return 1;
    case model_shape::gaussian: return 1.7320508075688773; // root of 3
    case model_shape::matern_3_2: return 4.749031386012702;
    case model_shape::matern_5_2: break;
    }
    return 5.924462618951796;
}

double saturation(double x) {
    if (x > 0.125) return 1 - exponential_decay(-x);
    double term = 1, sum = 1; // (1 - exp(-x)) / x by its series
    for (int k = 2; k <= 12; ++k) sum += term *= -x / k;
    return x * sum;
}

double rise(model_shape shape, double distance) {
    const double u = distance * practical_range_of_scale(shape);
    switch (shape) {
    case model_shape::exponential: return saturation(u);
    case model_shape::spherical: return u < 1 ? u * (3 - u * u) / 2 : 1;
    case model_shape::gaussian: return saturation(u * u);
    case model_shape::matern_3_2: return saturation(u) - u * exponential_decay(-u);
    case model_shape::matern_5_2: break;
    }
    return saturation(u) - (u + u * u / 3) * exponential_decay(-u);
}

double rise_by_log_distance(model_shape shape, double distance) {
    const double u = distance * practical_range_of_scale(shape);
    switch (shape) {
    case model_shape::exponential: return u * exponential_decay(-u);
    case model_shape::spherical: return u < 1 ? 3 * u * (1 - u * u) / 2 : 0;
    case model_shape::gaussian: return 2 * u * u * exponential_decay(-u * u);
    case model_shape::matern_3_2: return u * u * exponential_decay(-u);
    case model_shape::matern_5_2: break;
    }
    return u * u * (1 + u) / 3 * exponential_decay(-u);
}

} // namespace qmx_study
