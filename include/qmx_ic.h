/* QMX_IC: numerical analyses for intelligent compaction (IC) data.
 *
 * A roller that compacts a road layer records its position, the number of the pass and a measured
 * value. The functions below compute with such records. All of them share these rules:
 *
 *   - They return 1 on success and 3 on failure.
 *   - On failure, and only then, the event record says why; after success it holds what the caller
 *     had put there. Texts in it are padded with blanks and have no terminator.
 *   - All memory belongs to the caller, and no pointer is kept after the return. One thing is: the
 *     fifteen statistics computed last. See IC_PointsData_stats for where they show.
 *   - Calls must not overlap: the library keeps its event state and work areas once per process.
 *   - Flags are 32-bit integers: 1 means yes, 2 means no.
 *   - Every function may run out of memory: "memory could not be allocated", code 101.
 *
 * The header is C99 and C++11. The records are little-endian with natural alignment; their sizes
 * and offsets are checked wherever this header is compiled.                                      */
#ifndef QMX_IC_H
#define QMX_IC_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) || defined(__CYGWIN__)
#if defined(QMX_IC_BUILDING)
#define QMX_IC_API __declspec(dllexport)
#elif defined(QMX_IC_STATIC) /* linked into the program itself */
#define QMX_IC_API
#else
#define QMX_IC_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define QMX_IC_API __attribute__((visibility("default")))
#else
#define QMX_IC_API
#endif

#ifdef __cplusplus
#define QMX_IC_NOEXCEPT noexcept
#else
#define QMX_IC_NOEXCEPT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Return values of every function, and the two values of a flag. */
enum { QMX_IC_SUCCESS = 1, QMX_IC_FAILURE = 3 };
enum { QMX_IC_YES = 1, QMX_IC_NO = 2 };

/* One geo-referenced point of IC data, or one spot test. Never written to. */
typedef struct t_icdata {
    double d_x;         /* easting, in the caller's planar unit of length */
    double d_y;         /* northing, same unit */
    double d_val;       /* the measured value, or a pass count where pass counts are analysed */
    int32_t i_passno;   /* number of the roller's pass at this point, counted from 1 */
    int32_t i_reserved; /* fills the record to 32 bytes; never read */
} t_icdata;

/* Statistics, histogram and target test of one measure. Fields marked "in" are set by the caller of
 * ICdata_stats and keep their values, but for one case: with exactly 200 classes (greatest pass
 * count 199) x_target receives the final cumulative percentage, just before the target test reads
 * it. IC_PointsData_stats reads none of them and overwrites them all. */
typedef struct t_statsout {
    int32_t i_flag_target; /* in: 1 evaluates the target test, anything else skips it */
    int32_t i_target_met;  /* out: 1 the required percentage is reached, 2 it is not; unchanged
                              without a target test */
    int32_t i_numdata;     /* out: number of values analysed */
    float x_stat[15];      /* out, zero-based here: [0] mean, [1] variance (divisor n - 1), [2]
                              standard deviation, [3] skewness, [4] excess kurtosis, [5] minimum,
                              [6] maximum, [7] range, [8] coefficient of variation (a ratio), [9]
                              count of values that are numbers, [10] and [11] lower and upper 95
                              % confidence limit of the mean, [12] and [13] lower and upper 95 %
                              confidence limit of the variance, [14] 0.0. A NaN marks a statistic
                              that the values do not define */
    int32_t i_numbins;     /* out: meaningful entries of the next three arrays */
    float x_bin[200];      /* out: upper class limits, unit of the measure. Of pass counts
                              x_bin[i] == i, zero-based: the points with i passes are in class i */
    float x_freq[200];     /* out: share of the values in each class, percent */
    float x_cumfreq[200];  /* out: share up to and including each class, percent; entries past
                              the class limits of this call are left as they were */
    float x_target;        /* in: target value of the measure */
    float x_target_pct;    /* in: share of the values that must satisfy the target, percent */
    float x_achieved_pct;  /* out: share that does, percent; unchanged without a target test */
    float x_pctlevel[2];   /* in: two cumulative percentages to be read back as values */
    float x_pctvalue[2];   /* out: the measure at each of them; x_bin[0], the smallest value, for a
                              level below x_cumfreq[0]; unchanged for constant data */
} t_statsout;

/* A fitted polynomial. */
typedef struct t_fitout {
    int32_t i_degree; /* degree of the polynomial */
    float x_coef[10]; /* coefficients, constant term first; entries past i_degree are 0 */
    float x_rsq;      /* R-squared of the fit, percent */
} t_fitout;

/* Settings of a semivariogram; read only. */
typedef struct t_gamvset_user {
    int32_t i_nlag;       /* number of lags, 1 to 98; there are i_nlag + 2 lag classes */
    float x_xlag;         /* lag distance, unit of the coordinates, 0 or more; each class reaches
                             half of it to either side */
    float x_azm;          /* azimuth: direction of the search, degrees clockwise from north */
    float x_atol;         /* azimuth tolerance: half-angle of the search cone, degrees. 0 or less
                             means 45; 90 and more means omnidirectional, but not 270 to 450, where
                             its cosine is positive again: 360 rejects nearly every pair */
    float x_bandwh;       /* bandwidth: greatest distance of a pair's end from the axis of the
                             search, unit of the coordinates, 0 or more. It cuts an omnidirectional
                             search too: give it at least the extent of the lot there */
    int32_t i_standsills; /* 1: divide the semivariances by the variance of the data; 2: do not */
} t_gamvset_user;

/* One pass bin of a coverage call: pass counts from lower to upper, both inclusive. */
typedef struct t_passbin {
    int32_t i_pass_lower; /* lowest pass count of the bin */
    int32_t i_pass_upper; /* highest; -1: no upper end, taken as 10000 */
} t_passbin;

/* One area of the alignment, as a closed outline; the closing edge is implied. */
typedef struct t_areaflt {
    int32_t i_flag_exclusion; /* 1: excluded, its size is subtracted; 2: included, it is added */
    int32_t i_numvertices;    /* vertices in use, at most 10000; 0 or less contributes nothing */
    double d_vert_x[10000];   /* eastings of the vertices, in either sense of rotation */
    double d_vert_y[10000];   /* northings of the vertices */
} t_areaflt;

/* The result of one pass bin. -99.0 marks a value that was not computed. */
typedef struct t_binresult {
    float x_coverage;       /* compacted area in percent of the plan area */
    float x_compacted_area; /* points in the bin times the product of x_meshsize, in the square of
                               the unit of x_meshsize */
    float x_plan_area;      /* included less excluded areas, in the square of the unit of the
                               vertices; the same in every bin */
} t_binresult;

/* What went wrong. Written on failure only, and then wholly. */
typedef struct t_event {
    char c_description[256]; /* the message, padded with blanks, no terminator */
    char c_subfunc[256];     /* failing routine and its callers, innermost first, joined by "/",
                                cut at 256 characters */
    int32_t i_errcode;       /* 101, or 102 for the failures that say so below */
    int32_t i_errclass;      /* 2, a failure */
} t_event;

/* Refuses to compile where a record does not have the agreed layout (packing options, say). */
#if defined(__cplusplus)
#define QMX_IC_LAYOUT(condition, name) static_assert(condition, #name)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define QMX_IC_LAYOUT(condition, name) _Static_assert(condition, #name)
#else
#define QMX_IC_LAYOUT(condition, name) typedef char qmx_ic_layout_##name[(condition) ? 1 : -1]
#endif
#define QMX_IC_AT(record, field, offset)                                                           \
    QMX_IC_LAYOUT(offsetof(record, field) == (offset), record##_##field)

QMX_IC_LAYOUT(sizeof(t_icdata) == 32, t_icdata_size);
QMX_IC_AT(t_icdata, d_x, 0);
QMX_IC_AT(t_icdata, d_y, 8);
QMX_IC_AT(t_icdata, d_val, 16);
QMX_IC_AT(t_icdata, i_passno, 24);
QMX_IC_AT(t_icdata, i_reserved, 28);

QMX_IC_LAYOUT(sizeof(t_statsout) == 2504, t_statsout_size);
QMX_IC_AT(t_statsout, i_flag_target, 0);
QMX_IC_AT(t_statsout, i_target_met, 4);
QMX_IC_AT(t_statsout, i_numdata, 8);
QMX_IC_AT(t_statsout, x_stat, 12);
QMX_IC_AT(t_statsout, i_numbins, 72);
QMX_IC_AT(t_statsout, x_bin, 76);
QMX_IC_AT(t_statsout, x_freq, 876);
QMX_IC_AT(t_statsout, x_cumfreq, 1676);
QMX_IC_AT(t_statsout, x_target, 2476);
QMX_IC_AT(t_statsout, x_target_pct, 2480);
QMX_IC_AT(t_statsout, x_achieved_pct, 2484);
QMX_IC_AT(t_statsout, x_pctlevel, 2488);
QMX_IC_AT(t_statsout, x_pctvalue, 2496);

QMX_IC_LAYOUT(sizeof(t_fitout) == 48, t_fitout_size);
QMX_IC_AT(t_fitout, i_degree, 0);
QMX_IC_AT(t_fitout, x_coef, 4);
QMX_IC_AT(t_fitout, x_rsq, 44);

QMX_IC_LAYOUT(sizeof(t_gamvset_user) == 24, t_gamvset_user_size);
QMX_IC_AT(t_gamvset_user, i_nlag, 0);
QMX_IC_AT(t_gamvset_user, x_xlag, 4);
QMX_IC_AT(t_gamvset_user, x_azm, 8);
QMX_IC_AT(t_gamvset_user, x_atol, 12);
QMX_IC_AT(t_gamvset_user, x_bandwh, 16);
QMX_IC_AT(t_gamvset_user, i_standsills, 20);

QMX_IC_LAYOUT(sizeof(t_passbin) == 8, t_passbin_size);
QMX_IC_AT(t_passbin, i_pass_lower, 0);
QMX_IC_AT(t_passbin, i_pass_upper, 4);

QMX_IC_LAYOUT(sizeof(t_areaflt) == 160008, t_areaflt_size);
QMX_IC_AT(t_areaflt, i_flag_exclusion, 0);
QMX_IC_AT(t_areaflt, i_numvertices, 4);
QMX_IC_AT(t_areaflt, d_vert_x, 8);
QMX_IC_AT(t_areaflt, d_vert_y, 80008);

QMX_IC_LAYOUT(sizeof(t_binresult) == 12, t_binresult_size);
QMX_IC_AT(t_binresult, x_coverage, 0);
QMX_IC_AT(t_binresult, x_compacted_area, 4);
QMX_IC_AT(t_binresult, x_plan_area, 8);

QMX_IC_LAYOUT(sizeof(t_event) == 520, t_event_size);
QMX_IC_AT(t_event, c_description, 0);
QMX_IC_AT(t_event, c_subfunc, 256);
QMX_IC_AT(t_event, i_errcode, 512);
QMX_IC_AT(t_event, i_errclass, 516);

#undef QMX_IC_AT
#undef QMX_IC_LAYOUT

/* Statistics of one measure: fifteen statistics, a histogram with cumulative percentages, the value
 * at two percent levels, and a target test.
 *
 * in   i_flag_pass   1: the values are pass counts (classes 0, 1, 2, ... up to the largest);
 *                    anything else: a continuous measure (21 limits, 20 equal steps)
 *      i_flag_below  1: the target counts values at or below it; anything else: values above it.
 *                    For pass counts the target is first lowered by 1, so that with "above" it
 *                    means "at least so many passes"
 *      i_numdata     records in t_data, at least 3
 *      t_data        [i_numdata]; only d_val is read, narrowed to 32 bits. A NaN is skipped by the
 *                    statistics, but leaves the whole histogram 0. The percent levels and the target
 *                    test, read from that histogram, then mean nothing: take NaN values out first
 * i/o  t_out         see t_statsout. Zeroed first: i_numdata, x_stat, i_numbins, x_bin, x_freq. The
 *                    other outputs keep the caller's values where this call does not set them
 * out  t_evt         written on failure only
 *
 * Constant data (steps of at most 1.1920929E-07) give one class with 100 percent; the percent
 * levels and the target test are then skipped. Pass counts up to P give i_numbins = P + 1, class i
 * (zero-based) holding the points with i passes; a continuous measure gives 21 classes, of which
 * class 0 holds the values equal to the smallest. Percent levels and target are read by linear
 * interpolation in the first 20 of these 21, or all P + 1; outside of them the nearest end holds.
 *
 * Failures (code 101): "Data points are less than 3. aborted.", with t_out untouched; "High pass
 * counts causing histogram intervals exceeding the maximum 200", for pass counts of 200 and more;
 * "x_y size is not correct", for pass counts below 1, with i_numbins of 1 or less. After the last
 * two t_out holds the statistics.
 * Method: all results in 32-bit arithmetic; limits by the Student t and chi-squared distributions. */
QMX_IC_API int32_t ICdata_stats(int32_t i_flag_pass, int32_t i_flag_below, int32_t i_numdata,
                                const t_icdata* t_data, t_statsout* t_out,
                                t_event* t_evt) QMX_IC_NOEXCEPT;

/* Mean measure against pass number, with a fitted quadratic: how a layer gains with each pass.
 *
 * in   i_maxpassno  highest pass number that the data may hold, at least 2; entries in d_passmean
 *      i_mindata    fewest records that there must be
 *      i_numdata    records in t_data; 0 or less is none
 *      t_data       d_val and i_passno are read. A record whose d_val is NaN is left out of the mean
 *                   but counts towards the 100 of its pass; a pass of nothing else has the mean 0
 * out  i_numpasses  N, the passes that went into the curve: those before the first with fewer than
 *                   100 records, which may be a missing pass number. Left alone by the first four
 *                   failures below
 *      d_passmean   [i_maxpassno] entry k - 1: mean of pass k, in 32-bit precision; 0 past N
 *      d_curvex     [100] pass numbers 1 + i * (N - 1) / 100 for i = 0 to 99; 0 on failure
 *      d_curvey     [100] the quadratic there, held between the smallest and the largest entry of
 *                   d_passmean (with N below i_maxpassno these include 0); 0 on failure
 *      t_fit        the quadratic; 0 on failure
 *      t_evt        written on failure only
 *
 * Failures (code 101), in this order: "i_maxpassno should be more than 2 for compaction curve
 * analysis" (2 is accepted), "not sufficient data", "IC data should always contain pass no. 1", "IC
 * data consist of pass no. > max passes", "No sufficient data existed for any pass no." (N is 0),
 * and from the fit, with i_numpasses and d_passmean written: "x or y data contains NaN", code 102,
 * where infinite values make the mean of a pass NaN; "error calling imsl drcurv" where a mean is
 * infinite, the means are equal or lie on a line, or N is 2. With N of 1 there is nothing to fit: the polynomial is 0.
 * Method: means of the values in 32-bit precision, rounded correctly; the fit by orthogonal
 * polynomials.                                                                                   */
QMX_IC_API int32_t IC_compact_curve_b(int32_t i_maxpassno, int32_t i_mindata, int32_t i_numdata,
                                      const t_icdata* t_data, int32_t* i_numpasses,
                                      double* d_passmean, double* d_curvex, double* d_curvey,
                                      t_fitout* t_fit, t_event* t_evt) QMX_IC_NOEXCEPT;

/* A polynomial through data, evaluated at 100 abscissas. There is no event record: a failure shows in
 * the return value alone, with both outputs untouched.
 *
 * in   i_npoints  points in s_xdata and s_ydata; 0 or less is none
 *      i_degree   degree of the polynomial, at most 9
 *      s_xdata    [i_npoints] abscissas in any order
 *      s_ydata    [i_npoints] ordinates
 * out  s_xcurve   [100] evenly spaced abscissas from the smallest of the data to the largest
 *      s_ycurve   [100] ordinates; one below 0 is given as 0
 *
 * Fails for a degree above 9, a NaN, constant abscissas or ordinates, fewer distinct abscissas than
 * the degree asks for, and data that a lower degree fits perfectly. A negative degree or a single
 * point with a number for abscissa is no failure: the polynomial is 0, over the range of the
 * abscissas that are numbers. No data is no failure either, but has no range: abscissas are NaN or
 * infinite, and ordinates NaN with a degree of 1 or more, else 0.
 * Method: orthogonal polynomials (Forsythe 1957) in 64-bit arithmetic; the curve is the sum of
 * ascending powers, so abscissas far from 0 against their range cost digits: centre them first. */
QMX_IC_API int32_t call_polycurvefit(int32_t i_npoints, int32_t i_degree, const float* s_xdata,
                                     const float* s_ydata, float* s_xcurve,
                                     float* s_ycurve) QMX_IC_NOEXCEPT;

/* How the measured value varies with the distance between points: the experimental semivariogram, an
 * exponential model fitted to it, and range, sill and nugget read off the model's curve.
 *
 * in   i_ndata       records in t_data; 0 or less is none
 *      t_data        d_x, d_y and d_val are read and narrowed to 32 bits. Subtract a local origin
 *                    first: at a northing of 4,860,000 m positions step by 0.5 m. One record a place:
 *                    see below
 *      t_gamvset     the settings
 * out  x_lagdist     [i_nlag + 2] mean distance of the pairs of each lag class. Entry 0: coincident
 *                    points, each point with itself among them; entry k: the class about
 *                    (k - 1) * x_xlag. A class without pairs has 0
 *      x_gamma       [i_nlag + 2] semivariance of each lag class, 0 without pairs
 *      x_modelcoef   [2] practical range a and sill c of the model c * (1 - exp(-3 h / a))
 *      x_fitlag      [100] distances of the model's curve
 *      x_fitgamma    [100] the model there
 *      s_fitsummary  [4] of 32 bits: range, sill, sill less nugget, nugget, read off the curve where
 *                    it flattens below 5 degrees in the unit square. Not the model's parameters
 *      t_evt         written on failure only
 *
 * All outputs are zeroed first (the first two if i_nlag + 2 is positive). Failures (code 101):
 *   "t_gamvset_user%i_standsills has to be either 1 or 2"
 *   "i_nlag + 2 exceeds the maximum 100 lag classes"
 *   "nlag is too small: check parameters", "xlag is too small: check parameter file",
 *   "horizontal bandwidth is too small": all with zeros in the outputs
 *   "Only the curvefit fails": x_lagdist and x_gamma stand, the rest is 0
 * Both of the model's parameters are bounded above by the greatest semivariance g, the range below
 * by 1 and the sill by 0.05. Where that leaves no room the upper bound holds: with g below 1 the
 * range is g, with g below 0.05 the sill is g too. With standardised semivariances the range often
 * sits on such a bound.
 * Repeated places: the search for a pair's lag class starts from the class found last. After a pair
 * of points in one place (in 32 bits) the next pairs of that point may find no class; they are then
 * not counted, and the results depend on the order of the records. On a public set of 216 points
 * with 38 repeated places 3 to 5 % of the pairs are not counted, and semivariances move by up to
 * 13 %. The remedy is one record a place: merge or choose the records of each grid cell first.
 * Method: pairs in range are found through a grid, and everything is summed in the order of a plain
 * double loop, so that the numbers are that loop's to the last bit on every processor. The fit is a
 * bounded trust-region least squares in 32 bits.                                                 */
QMX_IC_API int32_t IC_semivariogram(int32_t i_ndata, const t_icdata* t_data,
                                    const t_gamvset_user* t_gamvset, double* x_lagdist,
                                    double* x_gamma, double* x_modelcoef, double* x_fitlag,
                                    double* x_fitgamma, float* s_fitsummary,
                                    t_event* t_evt) QMX_IC_NOEXCEPT;

/* Selects the points inside or on a circle.
 *
 * in   i_numpoints  points in d_x and d_y; 0 or less selects nothing and leaves i_indices alone
 *      d_radius     length, unit of the coordinates; its sign has no effect
 *      d_center     [2] easting, northing
 *      d_x, d_y     [i_numpoints] eastings, northings; a NaN is never inside
 * out  i_found      number of points selected
 *      i_indices    [i_numpoints] ZERO-based positions, ascending; entries past i_found are 0
 *      t_evt        written on failure only
 *
 * Failures: none of its own.
 * Method: dx*dx + dy*dy <= r*r in 64-bit arithmetic, in this order, no square root.              */
QMX_IC_API int32_t find_points_in_circle(int32_t i_numpoints, double d_radius,
                                         const double* d_center, const double* d_x,
                                         const double* d_y, int32_t* i_found, int32_t* i_indices,
                                         t_event* t_evt) QMX_IC_NOEXCEPT;

/* Selects the points inside a polygon.
 *
 * in   i_numvertices  vertices in d_vertexx and d_vertexy; 0 or less selects nothing
 *      i_numpoints    points in d_x and d_y; 0 or less selects nothing and leaves i_indices alone
 *      d_vertexx, d_vertexy
 *                     [i_numvertices] eastings, northings, in either sense of rotation; the closing
 *                     edge is implied, a repeated first vertex does no harm
 *      d_x, d_y       [i_numpoints] eastings, northings; a point with a NaN is never inside
 * out  i_found        number of points selected
 *      i_indices      [i_numpoints] ZERO-based positions, ascending; entries past i_found are 0
 *      t_evt          written on failure only
 *
 * A point on the outline belongs to the polygon on level and upright edges with the interior to the
 * right or below (left and top of a rectangle), not on the others. On a slanting edge the rounding
 * of the formula below settles it, either way. A self-crossing outline is read by the even-odd
 * rule. Failures: none of its own.
 * Method: crossing parity in 64-bit arithmetic over half-open edges; an edge from (xi, yi) to
 * (xj, yj) that straddles y counts when (x - xi) - ((y - yi) * (xj - xi)) / (yj - yi) < 0.       */
QMX_IC_API int32_t find_points_in_polygon(int32_t i_numvertices, int32_t i_numpoints,
                                          const double* d_vertexx, const double* d_vertexy,
                                          const double* d_x, const double* d_y, int32_t* i_found,
                                          int32_t* i_indices, t_event* t_evt) QMX_IC_NOEXCEPT;

/* Relates spot tests to the IC data around them: statistics of the IC values near each test, and the
 * line through the pairs of spot value and IC mean.
 *
 * in   i_numdata    records in t_data
 *      i_numtests   records in t_tests and t_stats, entries in i_validlist and d_predict
 *      d_radius     of the circle around each spot test, rim included, unit of the coordinates; its
 *                   sign has no effect
 *      t_data       the IC data
 *      t_tests      the spot tests. One with a negative i_passno is matched with the IC data of all
 *                   passes, any other with those of that very pass
 * out  t_stats      one record per spot test, its "in" fields not read. Where IC data were found the
 *                   whole record is overwritten by the statistics of a continuous measure: the flags,
 *                   the target fields and x_pctlevel read 0, and x_pctvalue holds the smallest value,
 *                   the one at level 0. Elsewhere i_numdata is 0, both target flags are 2, all else 0
 *                   but x_pctlevel and x_pctvalue, which stay
 *      x_regress    [3] intercept, slope, R-squared in percent: IC mean = intercept + slope * d_val
 *      i_numvalid   spot tests with IC data
 *      i_validlist  their ONE-based positions, ascending; entries past i_numvalid are left alone
 *      d_predict    the line's value at each of them, in 32-bit precision; 0 for the others
 *      t_evt        written on failure only
 *
 * Failures (code 101): "point tests data is < 3, not sufficient for regression" for fewer than 3
 * spot tests; "valid point tests data is < 3, not sufficient for regression" for fewer than 3 with
 * IC data. After both, t_stats, i_numvalid and i_validlist are complete, x_regress and d_predict 0.
 * "error calling imsl drcurv" where the regression fails.
 * A spot test with one IC value has no statistics of its own. Its x_stat is left over from the last
 * analysis of two values or more in this process: of the spot test before or, for the first one, of
 * the previous call of ICdata_stats, IC_compact_curve_b or this function (0 if there was none). Its
 * mean, and the line through it, are then wrong: leave such tests out and call again, or widen
 * d_radius. Past class 0 the histogram of a test with one value or with constant values is that of
 * the spot test before, and so is x_pctvalue.
 * Method: matches where dx*dx + dy*dy <= r*r in 64-bit arithmetic; least squares by orthogonal
 * reduction.                                                                                     */
QMX_IC_API int32_t IC_PointsData_stats(int32_t i_numdata, int32_t i_numtests, double d_radius,
                                       const t_icdata* t_data, const t_icdata* t_tests,
                                       t_statsout* t_stats, float* x_regress, int32_t* i_numvalid,
                                       int32_t* i_validlist, double* d_predict,
                                       t_event* t_evt) QMX_IC_NOEXCEPT;

/* Coverage of an alignment, bin by bin of pass counts.
 *
 * in   x_meshsize   [2] mesh of the data grid, in the unit of the vertices of t_areas; the product is
 *                   the area that one point stands for
 *      i_num_point  records in t_data
 *      i_num_bins   records in t_bins and t_results
 *      i_num_areas  records in t_areas; counts of 0 or less mean none
 *      t_bins       pass counts of each bin. A point belongs to the first bin that holds its count
 *      t_data       d_val is the pass count, truncated toward zero; what is not within 32 bits
 *                   counts as -2147483648. Positions are not looked at: select the points first
 *      t_areas      outlines of the alignment, included and excluded. Overlaps count twice
 * out  t_results    one per bin; -99.0 where nothing was computed. An alignment area of 0 gives an
 *                   infinite coverage, or NaN for a bin without points
 *      t_evt        written on failure only
 *
 * Failures (code 101): "t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)" and
 * "t_areaflt(i)%i_numvertices is greater than allowed maximum 10000", with the results untouched;
 * "current area is negative", for a sliver of nearly collinear vertices, with -99.0 in all results.
 * Method: coverage = 100 * (points * mesh area / alignment area) in 64-bit arithmetic, narrowed;
 * the area of an outline by the shoelace formula.                                                */
QMX_IC_API int32_t IC_coverage(const float* x_meshsize, int32_t i_num_point, int32_t i_num_bins,
                               int32_t i_num_areas, const t_passbin* t_bins, const t_icdata* t_data,
                               const t_areaflt* t_areas, t_binresult* t_results,
                               t_event* t_evt) QMX_IC_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
