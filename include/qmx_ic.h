/** \file
 * QMX_IC: numerical analyses for intelligent compaction (IC) data.
 *
 * A roller that compacts a road layer records its position, the number of the pass and a measured
 * value. The functions below compute with such records. All of them share these rules:
 *
 * - Return value: 1 (QMX_IC_SUCCESS) on success and 3 (QMX_IC_FAILURE) on failure.
 * - Event: on failure, and only then, the event record says why; after success it holds what the
 *   caller had put there. Texts in it are padded with blanks and have no terminator.
 * - Memory: all of it belongs to the caller, who provides every array in the stated length, and no
 *   pointer is kept after the return. Two things are kept: the fifteen statistics computed last, and
 *   the record of the spot test analysed last. See IC_PointsData_stats() for where they show.
 *   Working memory comes from `malloc` and `aligned_alloc`, the host's own where it replaces them,
 *   and is given back before the return. 64 KiB of stack are enough for any number of points.
 * - Threads: calls must not overlap, not even of different functions, since the library keeps its
 *   event state and work areas once per process. One call after another may come from any thread.
 * - Arithmetic: a call rounds to nearest, keeps subnormal numbers and traps no exception, whatever
 *   the host has set, which it finds unchanged; exception flags may have been raised.
 * - Processes: the child of a `fork` may call, unless a call was running in the parent. A signal may
 *   arrive in a call; its handler may neither call nor leave by `longjmp`, and no thread may be
 *   cancelled in a call. The locale is neither read nor set.
 * - Loading: the library may be called before `main` and until the process ends, from `atexit` and
 *   static destructors too. It may be unloaded between calls, which gives all memory back, and be
 *   loaded again. Copies under two names are two libraries, whose calls may overlap.
 * - Flags: 32-bit integers, 1 means yes, 2 means no.
 * - Index base: positions in results count from 0 or from 1, as each function says.
 * - Out of memory: every function may fail with `"memory could not be allocated"`, code 101.
 *   Remedy: free memory, or analyse a part of the lot at a time.
 * - Version: `QMX_IC_VERSION` is this header's as text, `QMX_IC_VERSION_NUMBER` as one number to
 *   compare; a later one with the same first number serves a host that was built with this one.
 *
 * The header is C99 and C++11. The records are little-endian with natural alignment; their sizes
 * and offsets are checked wherever this header is compiled.
 */
#ifndef QMX_IC_H
#define QMX_IC_H

#include <stddef.h>
#include <stdint.h>

/** The version of this header: three numbers, one number to compare (10203 is 1.2.3), and as text. A
 * change that a host would have to be compiled anew for raises the first number, and nothing else
 * does; the second one grows with additions. The build reads the version here.
 */
#define QMX_IC_VERSION_MAJOR 0
#define QMX_IC_VERSION_MINOR 1
#define QMX_IC_VERSION_PATCH 0
#define QMX_IC_VERSION_NUMBER                                                                      \
    (QMX_IC_VERSION_MAJOR * 10000 + QMX_IC_VERSION_MINOR * 100 + QMX_IC_VERSION_PATCH)
#define QMX_IC_TEXT_OF(number) #number
#define QMX_IC_VERSION_TEXT(major, minor, patch)                                                   \
    QMX_IC_TEXT_OF(major) "." QMX_IC_TEXT_OF(minor) "." QMX_IC_TEXT_OF(patch)
#define QMX_IC_VERSION                                                                             \
    QMX_IC_VERSION_TEXT(QMX_IC_VERSION_MAJOR, QMX_IC_VERSION_MINOR, QMX_IC_VERSION_PATCH)

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

/** Return values of every function. */
enum { QMX_IC_SUCCESS = 1, QMX_IC_FAILURE = 3 };
/** The two values of a flag. */
enum { QMX_IC_YES = 1, QMX_IC_NO = 2 };

/** One geo-referenced point of IC data, or one spot test. Never written to. */
typedef struct t_icdata {
    double d_x;         /**< easting, in the caller's planar unit of length */
    double d_y;         /**< northing, same unit */
    double d_val;       /**< the measured value, or a pass count where pass counts are analysed */
    int32_t i_passno;   /**< number of the roller's pass at this point, counted from 1 */
    int32_t i_reserved; /**< fills the record to 32 bytes; never read */
} t_icdata;

/** Statistics, histogram and target test of one measure. Fields marked "in" are set by the caller
 * of ICdata_stats and keep their values, but for one case: with exactly 200 classes (greatest pass
 * count 199) x_target receives the final cumulative percentage, just before the target test reads
 * it. IC_PointsData_stats reads none of them and overwrites them all. */
typedef struct t_statsout {
    int32_t i_flag_target; /**< in: 1 evaluates the target test, anything else skips it */
    int32_t i_target_met;  /**< out: 1 the required percentage is reached, 2 it is not; unchanged
                              without a target test */
    int32_t i_numdata;     /**< out: number of values analysed */
    float x_stat[15];      /**< out, zero-based here: [0] mean, [1] variance (divisor n - 1), [2]
                              standard deviation, [3] skewness, [4] excess kurtosis, [5] minimum,
                              [6] maximum, [7] range, [8] coefficient of variation (a ratio), [9]
                              count of values that are numbers, [10] and [11] lower and upper 95
                              % confidence limit of the mean, [12] and [13] lower and upper 95 %
                              confidence limit of the variance, [14] 0.0. A NaN marks a statistic
                              that the values do not define */
    int32_t i_numbins;     /**< out: meaningful entries of the next three arrays */
    float x_bin[200];      /**< out: upper class limits, unit of the measure. Of pass counts
                              x_bin[i] == i, zero-based: the points with i passes are in class i */
    float x_freq[200];     /**< out: share of the values in each class, percent */
    float x_cumfreq[200];  /**< out: share up to and including each class, percent; entries past
                              the class limits of this call are left as they were */
    float x_target;        /**< in: target value of the measure */
    float x_target_pct;    /**< in: share of the values that must satisfy the target, percent */
    float x_achieved_pct;  /**< out: share that does, percent; unchanged without a target test */
    float x_pctlevel[2];   /**< in: two cumulative percentages to be read back as values */
    float x_pctvalue[2];   /**< out: the measure at each of them; x_bin[0], the smallest value, for
                              a level below x_cumfreq[0]; unchanged for constant data */
} t_statsout;

/** A fitted polynomial. */
typedef struct t_fitout {
    int32_t i_degree; /**< degree of the polynomial */
    float x_coef[10]; /**< coefficients, constant term first; entries past i_degree are 0 */
    float x_rsq;      /**< R-squared of the fit, percent */
} t_fitout;

/** Settings of a semivariogram; read only. */
typedef struct t_gamvset_user {
    int32_t i_nlag;       /**< number of lags, 1 to 98; there are i_nlag + 2 lag classes */
    float x_xlag;         /**< lag distance, unit of the coordinates, 0 or more; each class reaches
                             half of it to either side */
    float x_azm;          /**< azimuth: direction of the search, degrees clockwise from north */
    float x_atol;         /**< azimuth tolerance: half-angle of the search cone, degrees. 0 or less
                             means 45; 90 and more means omnidirectional, but not 270 to 450, where
                             its cosine is positive again: 360 rejects nearly every pair */
    float x_bandwh;       /**< bandwidth: greatest distance of a pair's end from the axis of the
                             search, unit of the coordinates, 0 or more. It cuts an omnidirectional
                             search too: give it at least the extent of the lot there */
    int32_t i_standsills; /**< 1: divide the semivariances by the variance of the data; 2: do not */
} t_gamvset_user;

/** One pass bin of a coverage call: pass counts from lower to upper, both inclusive. */
typedef struct t_passbin {
    int32_t i_pass_lower; /**< lowest pass count of the bin */
    int32_t i_pass_upper; /**< highest; -1: no upper end, taken as 10000 */
} t_passbin;

/** One area of the alignment, as a closed outline; the closing edge is implied. */
typedef struct t_areaflt {
    int32_t i_flag_exclusion; /**< 1: excluded, its size is subtracted; 2: included, it is added */
    int32_t i_numvertices;    /**< vertices in use, at most 10000; 0 or less contributes nothing */
    double d_vert_x[10000];   /**< eastings of the vertices, in either sense of rotation */
    double d_vert_y[10000];   /**< northings of the vertices */
} t_areaflt;

/** The result of one pass bin. -99.0 marks a value that was not computed. */
typedef struct t_binresult {
    float x_coverage;       /**< compacted area in percent of the plan area */
    float x_compacted_area; /**< points in the bin times the product of x_meshsize, in the square of
                               the unit of x_meshsize */
    float x_plan_area;      /**< included less excluded areas, in the square of the unit of the
                               vertices; the same in every bin */
} t_binresult;

/** What went wrong. Written on failure only, and then wholly. */
typedef struct t_event {
    char c_description[256]; /**< the message, padded with blanks, no terminator */
    char c_subfunc[256];     /**< failing routine and its callers, innermost first, joined by "/",
                                cut at 256 characters */
    int32_t i_errcode;       /**< 101, or 102 for the failures that say so below */
    int32_t i_errclass;      /**< 2, a failure */
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

/** Statistics of one measure: fifteen statistics, a histogram with cumulative percentages, the
 * value at two percent levels, and a target test.
 *
 * Constant data (steps of at most 1.1920929E-07) give one class with 100 percent; the percent
 * levels and the target test are then skipped. Pass counts up to P give i_numbins = P + 1, class i
 * (zero-based) holding the points with i passes; a continuous measure gives 21 classes, of which
 * class 0 holds the values equal to the smallest. Percent levels and target are read by linear
 * interpolation in the first 20 of these 21, or all P + 1; outside of them the nearest end holds.
 *
 * \param[in] i_flag_pass   1: the values are pass counts (classes 0, 1, 2, ... up to the largest);
 *                          anything else: a continuous measure (21 limits, 20 equal steps)
 * \param[in] i_flag_below  1: the target counts values at or below it; anything else: values above
 *                          it. For pass counts the target is first lowered by 1, so that with
 *                          "above" it means "at least so many passes"
 * \param[in] i_numdata     records in t_data, at least 3
 * \param[in] t_data        [i_numdata]; only d_val is read, narrowed to 32 bits. A NaN is skipped
 *                          by the statistics, but leaves the whole histogram 0. The percent levels
 *                          and the target test, read from that histogram, then mean nothing: take
 *                          NaN values out first
 * \param[in,out] t_out     see t_statsout. Zeroed first: i_numdata, x_stat, i_numbins, x_bin,
 *                          x_freq. The other outputs keep the caller's values where this call does
 *                          not set them
 * \param[out] t_evt        written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * - `"Data points are less than 3. aborted."` (101): i_numdata is below 3; t_out is untouched.
 *   Remedy: give at least three records; widen the selection where it leaves fewer.
 * - `"High pass counts causing histogram intervals exceeding the maximum 200"` (101): i_flag_pass
 *   is 1 and a value is 200 or more, or infinite; t_out holds the statistics. Remedy: with 1 for
 *   i_flag_pass give pass counts, not the measure; cap counts at 198, which changes mean and
 *   maximum.
 * - `"x_y size is not correct"` (101): i_flag_pass is 1 and no value reaches 1; t_out holds the
 *   statistics, and i_numbins is 1 or less. Remedy: count passes from 1, and leave out points
 *   without one.
 *
 * \par Units
 * Statistics, class limits, target and values at percent levels are in the unit of d_val, the
 * variance in its square; the coefficient of variation is a ratio. Shares are percent.
 * \par Index base
 * Classes count from 0.
 * \par Precision
 * All results are in 32-bit arithmetic; limits by the Student t and chi-squared distributions.
 * \since 0.1.0
 */
QMX_IC_API int32_t ICdata_stats(int32_t i_flag_pass, int32_t i_flag_below, int32_t i_numdata,
                                const t_icdata* t_data, t_statsout* t_out,
                                t_event* t_evt) QMX_IC_NOEXCEPT;

/** Mean measure against pass number, with a fitted quadratic: how a layer gains with each pass.
 *
 * With N of 1 there is nothing to fit: the polynomial is 0, also where infinite values make the mean
 * infinite or NaN.
 *
 * \param[in] i_maxpassno   highest pass number that the data may hold, at least 2; entries in
 *                          d_passmean
 * \param[in] i_mindata     fewest records that there must be
 * \param[in] i_numdata     records in t_data; 0 or less is none
 * \param[in] t_data        [i_numdata]; d_val and i_passno are read. A record whose d_val is NaN is
 *                          left out of the mean but counts towards the 100 of its pass; a pass of
 *                          nothing else has the mean 0
 * \param[out] i_numpasses  N, the passes that went into the curve: those before the first with
 *                          fewer than 100 records, which may be a missing pass number. Left alone
 *                          by the first four failures below
 * \param[out] d_passmean   [i_maxpassno] entry k - 1: mean of pass k, in 32-bit precision; 0 past N
 * \param[out] d_curvex     [100] pass numbers 1 + i * (N - 1) / 100 for i = 0 to 99; 0 on failure
 * \param[out] d_curvey     [100] the quadratic there, held between the smallest and the largest
 *                          entry of d_passmean (with N below i_maxpassno these include 0); 0 on
 *                          failure
 * \param[out] t_fit        the quadratic; 0 on failure
 * \param[out] t_evt        written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * Checked in this order:
 * - `"i_maxpassno should be more than 2 for compaction curve analysis"` (101): i_maxpassno is below
 *   2; 2 is accepted. Remedy: give the highest pass number that the data may hold, 3 or more for a
 *   curve.
 * - `"not sufficient data"` (101): i_numdata is below i_mindata. Remedy: give the records of all
 *   passes, or lower i_mindata.
 * - `"IC data should always contain pass no. 1"` (101): the smallest pass number is not 1, or there
 *   are no records. Remedy: give the records of all passes, not only the last of each cell, and
 *   number passes from 1.
 * - `"IC data consist of pass no. > max passes"` (101): a pass number exceeds i_maxpassno. Remedy:
 *   raise i_maxpassno and the length of d_passmean, or leave out the later passes.
 * - `"No sufficient data existed for any pass no."` (101): pass 1 has fewer than 100 records;
 *   i_numpasses is 0. Remedy: give more records; the means of thinner passes are for the host to
 *   compute.
 * - `"x or y data contains NaN"` (102): infinite values make the mean of a pass NaN; i_numpasses
 *   and d_passmean are written. Remedy: leave out records whose value is not finite.
 * - `"error calling imsl drcurv"` (101): a mean is infinite, the means are equal or lie on a line,
 *   or N is 2; i_numpasses and d_passmean are written. Remedy: use the means as they are; a
 *   quadratic takes three passes of 100 records each whose means bend.
 *
 * \par Units
 * Means and curve are in the unit of d_val, abscissas in passes, x_rsq in percent.
 * \par Index base
 * Pass numbers count from 1; pass k is in entry k - 1.
 * \par Precision
 * Means of the values in 32-bit precision, rounded correctly; the fit by orthogonal polynomials.
 * \since 0.1.0
 */
QMX_IC_API int32_t IC_compact_curve_b(int32_t i_maxpassno, int32_t i_mindata, int32_t i_numdata,
                                      const t_icdata* t_data, int32_t* i_numpasses,
                                      double* d_passmean, double* d_curvex, double* d_curvey,
                                      t_fitout* t_fit, t_event* t_evt) QMX_IC_NOEXCEPT;

/** A polynomial through data, evaluated at 100 abscissas. There is no event record: a failure shows
 * in the return value alone, with both outputs untouched.
 *
 * A negative degree or a single point with a number for abscissa is no failure: the polynomial is
 * 0, over the range of the abscissas that are numbers. No data is no failure either, but has no
 * range: abscissas are NaN or infinite, and ordinates NaN with a degree of 1 or more, else 0.
 *
 * \param[in] i_npoints  points in s_xdata and s_ydata; 0 or less is none
 * \param[in] i_degree   degree of the polynomial, at most 9
 * \param[in] s_xdata    [i_npoints] abscissas in any order
 * \param[in] s_ydata    [i_npoints] ordinates
 * \param[out] s_xcurve  [100] evenly spaced abscissas from the smallest of the data to the largest
 * \param[out] s_ycurve  [100] ordinates; one below 0 is given as 0
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * None has a text:
 * - `degree above 9`: i_degree is 10 or more. Remedy: ask for a lower degree; 2 or 3 serves most
 *   data.
 * - `NaN in the data`: an abscissa or ordinate is NaN. Remedy: leave out such points.
 * - `constant data`: all abscissas or all ordinates are equal. Remedy: there is nothing to fit;
 *   draw the constant.
 * - `too few abscissas`: there are no more distinct abscissas than the degree. Remedy: lower the
 *   degree, or give more points.
 * - `perfect fit below the degree`: a lower degree fits the data perfectly. Remedy: ask for that
 *   degree.
 *
 * \par Units
 * Those of the data.
 * \par Precision
 * Orthogonal polynomials (Forsythe 1957) in 64-bit arithmetic; the curve is the sum of ascending
 * powers, so abscissas far from 0 against their range cost digits: centre them first.
 * \since 0.1.0
 */
QMX_IC_API int32_t call_polycurvefit(int32_t i_npoints, int32_t i_degree, const float* s_xdata,
                                     const float* s_ydata, float* s_xcurve,
                                     float* s_ycurve) QMX_IC_NOEXCEPT;

/** How the measured value varies with the distance between points: the experimental semivariogram,
 * an exponential model fitted to it, and range, sill and nugget read off the model's curve.
 *
 * All outputs are zeroed first (the first two if i_nlag + 2 is positive).
 *
 * Both of the model's parameters are bounded above by the greatest semivariance g, the range below
 * by 1 and the sill by 0.05. Where that leaves no room the upper bound holds: with g below 1 the
 * range is g, with g below 0.05 the sill is g too. With standardised semivariances the range often
 * sits on such a bound.
 *
 * Repeated places: the search for a pair's lag class starts from the class found last. After a pair
 * of points in one place (in 32 bits) the next pairs of that point may find no class; they are then
 * not counted, and the results depend on the order of the records. On a public set of 216 points
 * with 38 repeated places 3 to 5 % of the pairs are not counted, and semivariances move by up to
 * 13 %. The remedy is one record a place: merge or choose the records of each grid cell first.
 *
 * \param[in] i_ndata        records in t_data; 0 or less is none
 * \param[in] t_data         [i_ndata]; d_x, d_y and d_val are read and narrowed to 32 bits; the
 *                           variance of i_standsills is that of the 64-bit values. Values beyond
 *                           1e21 to either side are in no pair, but in that variance.
 *                           Subtract a local origin first: at a northing of 4,860,000 m positions
 *                           step by 0.5 m. One record a place: see above
 * \param[in] t_gamvset      the settings
 * \param[out] x_lagdist     [i_nlag + 2] mean distance of the pairs of each lag class. Entry 0:
 *                           coincident points, each point with itself among them; entry k: the
 *                           class about (k - 1) * x_xlag. A class without pairs has 0
 * \param[out] x_gamma       [i_nlag + 2] semivariance of each lag class, 0 without pairs
 * \param[out] x_modelcoef   [2] practical range a and sill c of the model `c * (1 - exp(-3 h / a))`
 * \param[out] x_fitlag      [100] distances of the model's curve
 * \param[out] x_fitgamma    [100] the model there
 * \param[out] s_fitsummary  [4] of 32 bits: range, sill, sill less nugget, nugget, read off the
 *                           curve where it flattens below 5 degrees in the unit square. Not the
 *                           model's parameters
 * \param[out] t_evt         written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * After all but the last the outputs hold zeros:
 * - `"t_gamvset_user%i_standsills has to be either 1 or 2"` (101): i_standsills is something else.
 *   Remedy: set 1 to standardise, 2 not to.
 * - `"i_nlag + 2 exceeds the maximum 100 lag classes"` (101): i_nlag is above 98. Remedy: ask for
 *   at most 98 lags, with a greater x_xlag.
 * - `"nlag is too small: check parameters"` (101): i_nlag is below 1. Remedy: ask for at least one
 *   lag.
 * - `"xlag is too small: check parameter file"` (101): x_xlag is negative. Remedy: give a lag
 *   distance above 0, such as two or three cells.
 * - `"horizontal bandwidth is too small"` (101): x_bandwh is negative. Remedy: give the extent of
 *   the lot, or the half-width of the strip that is searched.
 * - `"Only the curvefit fails"` (101): no model could be fitted, as where all semivariances are 0;
 *   x_lagdist and x_gamma stand, the rest is 0. Remedy: use the experimental semivariogram; check
 *   that the values vary and that the lags reach pairs.
 *
 * \par Units
 * Distances are in the unit of the coordinates, semivariances and sills in the square of the unit
 * of d_val, or in multiples of the variance where i_standsills is 1.
 * \par Index base
 * Lag classes count from 0, which holds the coincident points.
 * \par Precision
 * Pairs in range are found through a grid, and everything is summed in the order of a plain
 * double loop, so that the numbers are that loop's to the last bit on every processor. The fit is a
 * bounded trust-region least squares in 32 bits.
 * \since 0.1.0
 */
QMX_IC_API int32_t IC_semivariogram(int32_t i_ndata, const t_icdata* t_data,
                                    const t_gamvset_user* t_gamvset, double* x_lagdist,
                                    double* x_gamma, double* x_modelcoef, double* x_fitlag,
                                    double* x_fitgamma, float* s_fitsummary,
                                    t_event* t_evt) QMX_IC_NOEXCEPT;

/** Selects the points inside or on a circle.
 *
 * \param[in] i_numpoints  points in d_x and d_y; 0 or less selects nothing and leaves i_indices
 *                         alone
 * \param[in] d_radius     length, unit of the coordinates; its sign has no effect
 * \param[in] d_center     [2] easting, northing
 * \param[in] d_x          [i_numpoints] eastings; a point with a NaN is never inside
 * \param[in] d_y          [i_numpoints] northings, likewise
 * \param[out] i_found     number of points selected
 * \param[out] i_indices   [i_numpoints] ZERO-based positions, ascending; entries past i_found are 0
 * \param[out] t_evt       written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * None of its own.
 * \par Units
 * Radius, centre and points share one planar unit of length.
 * \par Index base
 * Positions count from 0.
 * \par Precision
 * `dx*dx + dy*dy <= r*r` in 64-bit arithmetic, in this order, no square root.
 * \since 0.1.0
 */
QMX_IC_API int32_t find_points_in_circle(int32_t i_numpoints, double d_radius,
                                         const double* d_center, const double* d_x,
                                         const double* d_y, int32_t* i_found, int32_t* i_indices,
                                         t_event* t_evt) QMX_IC_NOEXCEPT;

/** Selects the points inside a polygon.
 *
 * A point on the outline belongs to the polygon on level and upright edges with the interior to the
 * right or below (left and top of a rectangle), not on the others. On a slanting edge the rounding
 * of the formula below settles it, either way. A self-crossing outline is read by the even-odd
 * rule.
 *
 * \param[in] i_numvertices  vertices in d_vertexx and d_vertexy; 0 or less selects nothing
 * \param[in] i_numpoints    points in d_x and d_y; 0 or less selects nothing and leaves i_indices
 *                           alone
 * \param[in] d_vertexx      [i_numvertices] eastings, in either sense of rotation; the closing edge
 *                           is implied, a repeated first vertex does no harm
 * \param[in] d_vertexy      [i_numvertices] northings
 * \param[in] d_x            [i_numpoints] eastings; a point with a NaN is never inside
 * \param[in] d_y            [i_numpoints] northings, likewise
 * \param[out] i_found       number of points selected
 * \param[out] i_indices     [i_numpoints] ZERO-based positions, ascending; entries past i_found are
 *                           0
 * \param[out] t_evt         written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * None of its own.
 * \par Units
 * Vertices and points share one planar unit of length.
 * \par Index base
 * Positions count from 0.
 * \par Precision
 * Crossing parity in 64-bit arithmetic over half-open edges; an edge from (xi, yi) to (xj, yj) that
 * straddles y counts when `(x - xi) - ((y - yi) * (xj - xi)) / (yj - yi) < 0`.
 * \since 0.1.0
 */
QMX_IC_API int32_t find_points_in_polygon(int32_t i_numvertices, int32_t i_numpoints,
                                          const double* d_vertexx, const double* d_vertexy,
                                          const double* d_x, const double* d_y, int32_t* i_found,
                                          int32_t* i_indices, t_event* t_evt) QMX_IC_NOEXCEPT;

/** Relates spot tests to the IC data around them: statistics of the IC values near each test, and
 * the line through the pairs of spot value and IC mean.
 *
 * A spot test with one IC value has no statistics of its own. Its x_stat is left over from the last
 * analysis of two values or more in this process: of the spot test before or, for the first one, of
 * the previous call of ICdata_stats, IC_compact_curve_b or this function (0 if there was none). Its
 * mean, and the line through it, are then wrong: leave such tests out and call again, or widen
 * d_radius. Past class 0 the histogram of a test with one value or with constant values is that of
 * the spot test before (for the first one, the last of the previous call), and so is x_pctvalue.
 *
 * \param[in] i_numdata     records in t_data
 * \param[in] i_numtests    records in t_tests and t_stats, entries in i_validlist and d_predict
 * \param[in] d_radius      of the circle around each spot test, rim included, unit of the
 *                          coordinates; its sign has no effect
 * \param[in] t_data        [i_numdata] the IC data
 * \param[in] t_tests       [i_numtests] the spot tests. One with a negative i_passno is matched
 *                          with the IC data of all passes, any other with those of that very pass
 * \param[out] t_stats      [i_numtests] one record per spot test, its "in" fields not read. Where
 *                          IC data were found the whole record is overwritten by the statistics of
 *                          a continuous measure: the flags, the target fields and x_pctlevel read
 *                          0, and x_pctvalue holds the smallest value, the one at level 0.
 *                          Elsewhere i_numdata is 0, both target flags are 2, all else 0 but
 *                          x_pctlevel and x_pctvalue, which stay
 * \param[out] x_regress    [3] intercept, slope, R-squared in percent:
 *                          IC mean = intercept + slope * d_val
 * \param[out] i_numvalid   spot tests with IC data
 * \param[out] i_validlist  [i_numtests] their ONE-based positions, ascending; entries past
 *                          i_numvalid are left alone
 * \param[out] d_predict    [i_numtests] the line's value at each of them, in 32-bit precision; 0
 *                          for the others
 * \param[out] t_evt        written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * - `"point tests data is < 3, not sufficient for regression"` (101): there are fewer than 3 spot
 *   tests; t_stats, i_numvalid and i_validlist are complete, x_regress and d_predict 0. Remedy: use
 *   the statistics, or bring at least three spot tests for a line.
 * - `"valid point tests data is < 3, not sufficient for regression"` (101): fewer than 3 spot tests
 *   have IC data; outputs as above. Remedy: widen d_radius, give a negative i_passno to match all
 *   passes, or check that both data share one coordinate system.
 * - `"error calling imsl drcurv"` (101): the regression fails, as where no pair of spot value and
 *   IC mean holds two numbers. Remedy: leave out spot tests and records whose value is NaN.
 *
 * \par Units
 * Statistics are in the unit of d_val of t_data; the slope is that unit over the unit of the spot
 * tests.
 * \par Index base
 * Positions in i_validlist count from 1; those in t_stats and d_predict follow t_tests.
 * \par Precision
 * Matches where `dx*dx + dy*dy <= r*r` in 64-bit arithmetic; least squares by orthogonal reduction;
 * statistics as those of ICdata_stats().
 * \since 0.1.0
 */
QMX_IC_API int32_t IC_PointsData_stats(int32_t i_numdata, int32_t i_numtests, double d_radius,
                                       const t_icdata* t_data, const t_icdata* t_tests,
                                       t_statsout* t_stats, float* x_regress, int32_t* i_numvalid,
                                       int32_t* i_validlist, double* d_predict,
                                       t_event* t_evt) QMX_IC_NOEXCEPT;

/** Coverage of an alignment, bin by bin of pass counts.
 *
 * \param[in] x_meshsize   [2] mesh of the data grid, in the unit of the vertices of t_areas; the
 *                         product is the area that one point stands for
 * \param[in] i_num_point  records in t_data; 0 or less is none
 * \param[in] i_num_bins   records in t_bins and t_results; 0 or less is none
 * \param[in] i_num_areas  records in t_areas; 0 or less is none
 * \param[in] t_bins       [i_num_bins] pass counts of each bin. A point belongs to the first bin
 *                         that holds its count
 * \param[in] t_data       [i_num_point]; d_val is the pass count, truncated toward zero; what is
 *                         not within 32 bits counts as -2147483648. Positions are not looked at:
 *                         select the points first
 * \param[in] t_areas      [i_num_areas] outlines of the alignment, included and excluded. Overlaps
 *                         count twice
 * \param[out] t_results   [i_num_bins] one per bin; -99.0 where nothing was computed. An alignment
 *                         area of 0 gives an infinite coverage, or NaN for a bin without points
 * \param[out] t_evt       written on failure only
 * \return 1, or 3 on failure.
 *
 * \par Failures
 * - `"t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)"` (101): an area has
 *   another flag; the results are untouched. Remedy: set 1 for an excluded area, 2 for an included
 *   one.
 * - `"t_areaflt(i)%i_numvertices is greater than allowed maximum 10000"` (101): an area has more
 *   vertices; the results are untouched. Remedy: thin the outline, or split it into several areas.
 * - `"current area is negative"` (101): rounding leaves the area of a sliver of nearly collinear
 *   vertices negative; all results hold -99.0. Remedy: leave out slivers, and subtract a local
 *   origin from the vertices.
 *
 * \par Units
 * x_coverage is percent; x_compacted_area is in the square of the unit of x_meshsize, x_plan_area
 * in the square of the unit of the vertices, which have to be the same.
 * \par Precision
 * Coverage = 100 * (points * mesh area / alignment area) in 64-bit arithmetic, narrowed;
 * the area of an outline by the shoelace formula.
 * \since 0.1.0
 */
QMX_IC_API int32_t IC_coverage(const float* x_meshsize, int32_t i_num_point, int32_t i_num_bins,
                               int32_t i_num_areas, const t_passbin* t_bins, const t_icdata* t_data,
                               const t_areaflt* t_areas, t_binresult* t_results,
                               t_event* t_evt) QMX_IC_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
