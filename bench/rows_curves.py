"""Rows of bench/compare: statistics, compaction curve, coverage and polynomials."""

import numpy as np

import calls
import peers
from calls import address
from timing import Row


def close(a, b):
    return np.allclose(a, b, rtol=1e-5)


def statistics_rows(count):
    call = calls.statistics(count)
    points = call.points

    def numpy_by_hand():
        v = np.ascontiguousarray(points["d_val"])
        mean = v.mean()
        d = v - mean
        d2 = d * d
        m2 = d2.mean()
        skewness, excess = (d2 * d).mean() / m2**1.5, (d2 * d2).mean() / m2**2 - 3
        v.min(), v.max()
        np.histogram(v, 20)
        np.percentile(v, [10, 90])
        return mean, m2 * count / (count - 1), skewness, excess

    def scipy_describe():
        v = np.ascontiguousarray(points["d_val"])
        described = peers.scipy.stats.describe(v)
        np.histogram(v, 20)
        peers.scipy.stats.scoreatpercentile(v, [10, 90])
        return described.mean, described.variance, described.skewness, described.kurtosis

    def gsl_summary():
        result = np.zeros(9)
        peers.compiled["peer_gsl"].gsl_summary(count, address(points), address(result))
        return result[:4]

    def plain_loop():
        moments, histogram, percentiles = np.zeros(4), np.zeros(21), np.zeros(2)
        peers.compiled["plain_loops"].plain_statistics(
            count, address(points), address(moments), address(histogram), address(percentiles)
        )
        return moments

    them = {"NumPy by hand": numpy_by_hand}
    if peers.scipy:
        them["SciPy describe"] = scipy_describe
    if "peer_gsl" in peers.compiled:
        them["GSL"] = gsl_summary
    if "plain_loops" in peers.compiled:
        them["plain loop"] = plain_loop

    def moments_agree(ours, theirs):
        return np.allclose(ours[[0, 1, 3, 4]], theirs, rtol=1e-4, atol=1e-4)

    yield Row("statistics, histogram, read-backs", count, call.run, them, moments_agree)


def compaction_rows(count):
    call = calls.compaction(count)
    points = call.points

    def numpy_bincount():
        number, values = points["i_passno"], points["d_val"]
        found = np.bincount(number, values)[1:] / np.bincount(number)[1:]
        fitted = np.polyfit(np.arange(1, call.last + 1), found, 2)
        at = 1 + np.arange(100) * ((call.last - 1) / 100)
        return np.clip(np.polyval(fitted, at), found.min(), found.max())

    them = {"bincount, polyfit": numpy_bincount}
    if "plain_loops" in peers.compiled:
        curve = numpy_bincount()

        def only_reads():
            peers.compiled["plain_loops"].only_reads_records(count, address(points))
            return curve

        them["only reading"] = only_reads
    yield Row("compaction curve", count, call.run, them, close)


def coverage_rows(count):
    for bins in (3, 200):
        call = calls.coverage(count, bins)

        def numpy_digitize(call=call):
            edges = np.append(call.limits[:, 0], call.limits[-1, 1] + 1)
            at = np.digitize(call.points["d_val"], edges)
            return np.bincount(at, minlength=call.bins + 2)[1:-1]

        def plain_loop(call=call):
            counts = np.zeros(call.bins, np.int32)
            peers.compiled["plain_loops"].plain_bins(
                call.bins, count, address(call.limits), address(call.points), address(counts)
            )
            return counts

        them = {"digitize, bincount": numpy_digitize}
        if "plain_loops" in peers.compiled:
            them["plain loop"] = plain_loop
        yield Row(f"coverage by {bins} bins", count, call.run, them, np.array_equal)


def polynomial_rows(count):
    for degree, order in ((2, "ascending"), (5, "ascending"), (5, "shuffled"), (9, "ascending")):
        call = calls.polynomial(count, degree, order)

        def numpy_polynomial(call=call):
            x = call.x.astype(np.float64)
            fitted = np.polynomial.Polynomial.fit(x, call.y.astype(np.float64), call.degree)
            return fitted(x.min() + np.arange(100) * ((x.max() - x.min()) / 99))

        def gsl_multifit(call=call):
            curve = np.zeros(100)
            peers.compiled["peer_gsl"].gsl_polynomial(
                count, call.degree, address(call.x), address(call.y), 100, address(curve)
            )
            return curve

        them = {"numpy.polynomial": numpy_polynomial}
        if "peer_gsl" in peers.compiled:
            them["GSL multifit"] = gsl_multifit
        yield Row(f"polynomial of degree {degree}, {order}", count, call.run, them, close)
