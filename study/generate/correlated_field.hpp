// A random field over places: ground that is stiffer here than there.
#pragma once

#include <cstdint>
#include <vector>

namespace qmx_study {

// Values of a stationary field of zero mean and covariance exp(-h / scale) at the places (x, y),
// Gaussian but for an excess kurtosis below 0.001. Distances much below `resolution` need not be
// told apart.
//
// Turning bands: 256 lines in space, of directions spread evenly over the half sphere, carry
// independent processes of covariance (1 - h / scale) exp(-h / scale); a place sums what the lines
// carry at its projections. Averaged over all seeds the covariance is exact; in one field it
// departs from it by about a hundredth.
// G. Matheron: The intrinsic random functions and their applications (1973).
// A. Mantoglou, J. L. Wilson: The turning bands method for simulation of random fields using line
// generation by a spectral method (1982).
std::vector<double> correlated_field(std::uint64_t seed, double scale, double resolution,
                                     const std::vector<double>& x, const std::vector<double>& y);

} // namespace qmx_study
