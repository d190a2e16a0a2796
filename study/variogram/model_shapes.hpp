// The shapes that the field fits to semivariograms: how the semivariance rises from its nugget to its
// sill. N. Cressie: Statistics for Spatial Data (1993), 2.3; M. L. Stein: Interpolation of Spatial
// Data (1999), 2.7, for the Matérn class.
#pragma once

#include <array>

namespace qmx_study {

// Matérn with the smoothness 3/2 and 5/2: between the exponential, 1/2, and the Gaussian, infinite.
enum class model_shape { exponential, spherical, gaussian, matern_3_2, matern_5_2 };

inline constexpr std::array all_shapes = {model_shape::exponential, model_shape::spherical,
                                          model_shape::gaussian, model_shape::matern_3_2,
                                          model_shape::matern_5_2};

const char* name_of(model_shape shape); // for a reader: "Matérn 3/2"
const char* key_of(model_shape shape);  // for a document: "matern_3_2"

// The practical range of a model whose scale is 1, as the formulas have it: exponential
// 1 - exp(-h / scale), Gaussian 1 - exp(-(h / scale)^2), spherical (3 h / scale - (h / scale)^3) / 2,
// Matérn 1 - (1 + u) exp(-u) and 1 - (1 + u + u^2 / 3) exp(-u) with u = h / scale. At the practical
// range the spherical model reaches its sill, and the others 1 - exp(-3), 95 % of the rise.
double practical_range_of_scale(model_shape shape);

// 1 - exp(-x) for x of 0 and more, without loss of digits near 0; the same bits on every machine.
double saturation(double x);

// The share of the rise, 0 to 1, at a distance given in practical ranges.
double rise(model_shape shape, double distance);
// Its derivative by the logarithm of the distance.
double rise_by_log_distance(model_shape shape, double distance);

} // namespace qmx_study
