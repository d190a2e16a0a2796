// The experimental semivariogram as a plain loop over all pairs: the truth for the pair search. It shares
// nothing with the library but the parameter record.
#pragma once

#include "qmx_ic.h"
#include "semivariogram/search/gamv_variables.hpp"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace literal {

struct sums {
    std::vector<double> np, dis, gam; // element k is lag class k; element 0 is not used
    double sill = -999.0;
};

inline std::int32_t floor_to_integer(float value) {
    const float down = std::floor(value);
    if (!(down >= -2147483648.0F && down < 2147483648.0F)) return INT32_MIN;
    return static_cast<std::int32_t>(down);
}

// Counts, distance sums and measure sums of all lag classes.
inline sums accumulate(const qmx::t_gamvset& set, const std::vector<t_icdata>& data) {
    const float EPSLON = 1.0e-20F;
    const float PI = 3.1415927F;
    const std::size_t maxdat = data.size();
    const std::int32_t nlag = set.nlag;
    const std::int32_t nclasses = nlag + 2;
    const float xlag = set.xlag;
    float xltol = set.xltol;
    if (xltol < 0) xltol = xlag * 0.5F;

    std::vector<float> x(maxdat), y(maxdat), vr(maxdat);
    for (std::size_t i = 0; i < maxdat; ++i) {
        x[i] = static_cast<float>(data[i].d_x);
        y[i] = static_cast<float>(data[i].d_y);
        vr[i] = static_cast<float>(data[i].d_val);
    }
    sums result;
    const std::size_t elements = static_cast<std::size_t>(nclasses) + 1;
    result.np.assign(elements, 0.0);
    result.dis.assign(elements, 0.0);
    result.gam.assign(elements, 0.0);
    if (maxdat > 0) {
        double sum = 0, squares = 0;
        for (const t_icdata& record : data) {
            sum += record.d_val;
            squares += record.d_val * record.d_val;
        }
        const double n = static_cast<double>(maxdat);
        const double mean = sum / n;
        result.sill = squares / n - mean * mean;
    }

    if (xltol <= 0) xltol = xlag * 0.5F;
    // Correctly rounded, so that no C library decides about a bit.
    const auto cosine = [](float angle) { return static_cast<float>(std::cos(double{angle})); };
    const auto sine = [](float angle) { return static_cast<float>(std::sin(double{angle})); };
    const float azmuth = ((90.0F - set.azm) * PI) / 180.0F;
    const float uvxazm = cosine(azmuth);
    const float uvyazm = sine(azmuth);
    const float csatol = set.atol <= 0 ? 0.70710677F : cosine((set.atol * PI) / 180.0F);
    const float declin = ((90.0F - set.dip) * PI) / 180.0F;
    const float uvzdec = cosine(declin);
    const float uvhdec = sine(declin);
    const float csdtol = set.dtol <= 0 ? 0.70710677F : cosine((set.dtol * PI) / 180.0F);
    const float cutoff = ((static_cast<float>(nlag) + 0.5F) - EPSLON) * xlag;
    const float dismxs = cutoff * cutoff;

    float lastdist = 0;
    std::int32_t lastlag = 0;
    for (std::size_t i = 0; i < maxdat; ++i) {
        lastlag = 2;
        for (std::size_t j = i; j < maxdat; ++j) {
            const float dx = x[j] - x[i];
            const float dy = y[j] - y[i];
            const float hs = dx * dx + dy * dy;
            if (hs > dismxs) continue;
            // A distance that is not a number lies in no class.
            const float h = std::isnan(hs) ? hs : std::sqrt(hs > 0 ? hs : 0.0F);
            std::int32_t k = 0;
            if (h <= EPSLON) {
                k = 1;
            } else {
                std::int32_t start = lastlag + floor_to_integer((h - lastdist) / xlag);
                if (start < 2) start = 2; // what lies below fails the test
                for (k = start; k <= nclasses; ++k) {
                    const float centre = xlag * static_cast<float>(k - 2);
                    if (centre - xltol <= h && h <= centre + xltol) break;
                }
                if (k > nclasses) continue;
                lastlag = k;
            }
            lastdist = h;

            float dxy = h;
            const float dcazm = dxy < EPSLON ? 1.0F : (uvxazm * dx + uvyazm * dy) / dxy;
            if (std::fabs(dcazm) < csatol) continue;
            float band = uvxazm * dy - uvyazm * dx;
            if (std::fabs(band) > set.bandwh) continue;
            if (dcazm < 0) dxy = -dxy;
            float dcdec = 0;
            if (k != 1) {
                dcdec = (uvhdec * dxy) / h;
                if (std::fabs(dcdec) < csdtol) continue;
            }
            band = -(uvzdec * dxy);
            if (std::fabs(band) > set.bandwd) continue;
            const bool omni = set.atol >= 90;
            float vrh = vr[j], vrt = vr[i];
            if (dcazm >= 0 && dcdec >= 0) {
                vrh = vr[i];
                vrt = vr[j];
            }
            if (vrt < set.tmin || vrh < set.tmin || vrt > set.tmax || vrh > set.tmax) continue;
            const std::size_t c = static_cast<std::size_t>(k);
            const float difference = vrh - vrt;
            const float measure = difference * difference;
            result.np[c] += 1.0;
            result.dis[c] += static_cast<double>(h);
            result.gam[c] += static_cast<double>(measure);
            if (omni && vrt >= set.tmin && vrh >= set.tmin && vrt < set.tmax && vrh < set.tmax) {
                result.np[c] += 1.0;
                result.dis[c] += static_cast<double>(h);
                result.gam[c] += static_cast<double>(measure);
            }
        }
    }
    return result;
}

// The means in place of the sums.
inline sums means(const qmx::t_gamvset& set, sums result) {
    for (std::size_t k = 1; k < result.np.size(); ++k) {
        if (!(result.np[k] > 0)) continue;
        const double rnum = static_cast<double>(static_cast<float>(result.np[k]));
        result.dis[k] = result.dis[k] / rnum;
        result.gam[k] = result.gam[k] / rnum;
        if (set.isill == 1 && result.sill > 0) result.gam[k] = result.gam[k] / result.sill;
        result.gam[k] = result.gam[k] * 0.5;
    }
    return result;
}

} // namespace literal
