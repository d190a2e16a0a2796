"""Every function against a plain call of the same library on random data, and against plain formulas."""

import math

import numpy as np
import pytest

import library
import qmx_ic
from library import f64, i32

SQUARE = [(421_502.0, 4_864_202.0), (421_515.0, 4_864_203.0), (421_512.0, 4_864_216.0)]


@pytest.fixture(params=range(4))
def rng(request):
    return np.random.default_rng(request.param)


@pytest.mark.parametrize("pass_counts", [False, True])
@pytest.mark.parametrize("below", [False, True])
def test_statistics(rng, pass_counts, below):
    lot = library.records(int(rng.integers(3, 400)), rng)
    if pass_counts:
        lot["d_val"] = rng.integers(0, 9, lot.size)
        lot["d_val"][0] = 8
    target = 4.0 if pass_counts else 30.0
    truth = library.statistics(lot, pass_counts, below, target, 70, (5, 95))
    found = qmx_ic.statistics(
        lot, pass_counts=pass_counts, below=below, target=target, target_percent=70, levels=(5, 95)
    )
    assert found.record.tobytes() == truth.tobytes()
    names = "mean variance standard_deviation skewness excess_kurtosis minimum maximum range"
    stats = truth["x_stat"][0]
    assert [getattr(found, name) for name in names.split()] == stats[:8].tolist()
    limits = (found.mean_lower_95, found.mean_upper_95, found.variance_lower_95, found.variance_upper_95)
    assert (found.coefficient_of_variation, *limits) == tuple(stats[[8, 10, 11, 12, 13]].tolist())
    assert [found.low_value, found.high_value] == truth["x_pctvalue"][0].tolist()
    assert found.achieved_percent == truth["x_achieved_pct"][0]
    assert found.target_met == (truth["i_target_met"][0] == 1)
    assert found.class_limits.size == truth["i_numbins"][0]

    values = lot["d_val"]
    assert found.mean == pytest.approx(values.mean(), rel=1e-6)
    assert found.variance == pytest.approx(values.var(ddof=1), rel=1e-5)
    assert found.shares.sum() == pytest.approx(100, rel=1e-5)
    satisfied = values <= target if below else values >= target
    assert found.counted_percent == pytest.approx(100 * satisfied.mean())


def test_constant_values_have_no_levels_and_no_target_test():
    found = qmx_ic.statistics([7.0] * 5, target=6)
    assert (found.classes, found.mean, found.counted_percent) == (1, 7.0, 100.0)
    assert math.isnan(found.low_value) and math.isnan(found.achieved_percent)
    assert found.target_met is None


def test_target_of_a_full_histogram_is_withdrawn():
    counts = np.append(np.arange(1, 200), [199] * 50)
    found = qmx_ic.statistics(counts, pass_counts=True, target=100)
    assert found.classes == 200 and found.target_met is None and math.isnan(found.achieved_percent)
    assert found.record["x_target"][0] == 100
    assert found.counted_percent == pytest.approx(100 * np.mean(counts >= 100))


def test_compaction_curve(rng):
    lot = library.records(900, rng, passes=5)
    lot["d_val"] *= 1 - np.exp(-0.7 * lot["i_passno"])
    means, xy, fit, passes = np.zeros(5), np.zeros((2, 100)), np.zeros(12, np.float32), np.zeros(1, np.int32)
    returned, _ = library.call(
        "IC_compact_curve_b", i32(5), i32(100), i32(lot.size), lot, passes, means, xy[0], xy[1], fit
    )
    assert returned == 1
    found = qmx_ic.compaction_curve(lot)
    assert found.pass_means == tuple(means[: passes[0]].tolist())
    assert found.curve.tobytes() == xy.tobytes()
    assert found.coefficients == tuple(fit[1 : 2 + fit.view(np.int32)[0]].tolist())
    assert found.r_squared == fit[11]
    plain = [lot["d_val"][lot["i_passno"] == k].mean() for k in range(1, 6)]
    assert found.pass_means == pytest.approx(plain, rel=1e-6)
    growth = np.diff(plain) / plain[:-1] * 100
    below = np.flatnonzero(growth < 5)
    assert found.target_pass == (below[0] + 1 if below.size else None)


@pytest.mark.parametrize("centre", [False, True])
def test_polynomial_curve(rng, centre):
    x = 100 + rng.uniform(0, 8, 60)
    y = 20 + 3 * (x - 104) - 0.5 * (x - 104) ** 2 + rng.normal(0, 1, 60)
    middle = (x.min() + x.max()) / 2 if centre else 0.0
    curve = np.zeros((2, 100), np.float32)
    narrow = (x - middle).astype(np.float32), y.astype(np.float32)
    assert library.call("call_polycurvefit", i32(60), i32(3), *narrow, curve[0], curve[1])[0] == 1
    found = qmx_ic.polynomial_curve(x=x, y=y, degree=3, centre=centre)
    assert found.y.tobytes() == curve[1].astype(float).tobytes()
    assert found.x.tobytes() == (curve[0].astype(float) + middle).tobytes()
    assert found.centre == middle
    if centre:
        polynomial = np.polynomial.Polynomial.fit(x, y, 3)
        assert found.y == pytest.approx(np.maximum(polynomial(found.x), 0), abs=1e-3)


@pytest.mark.parametrize("options", [{}, {"azimuth": 30.0, "bandwidth": 3.0}, {"standardise": True}])
def test_semivariogram(rng, options):
    lot = library.records(300, rng)
    lot["d_val"] += 20 * np.sin(lot["d_x"] / 3)
    found = qmx_ic.semivariogram(lot, lag=1.5, nlag=6, **options)
    assert found.origin == (round(found.origin[0]), round(found.origin[1]))
    local = lot.copy()
    local["d_x"] -= found.origin[0]
    local["d_y"] -= found.origin[1]
    tolerance = 22.5 if "azimuth" in options else 90
    returned, _, lags, curve, model, reading = library.semivariogram(
        local, 6, 1.5, options.get("azimuth", 0), tolerance, found.bandwidth, "standardise" in options
    )
    assert returned == 1
    assert found.lags.tobytes() == lags.tobytes() and found.curve.tobytes() == curve.tobytes()
    assert [found.practical_range, found.sill] == model.tolist()
    read = [found.read_range, found.read_sill, found.read_partial_sill, found.read_nugget]
    assert read == reading.tolist()
    if not options:  # all directions: the pairs, one by one
        x, y, v = (local[name].astype(np.float32).astype(float) for name in ("d_x", "d_y", "d_val"))
        first, second = np.triu_indices(lot.size, 1)
        apart = np.hypot(x[first] - x[second], y[first] - y[second])
        halved = (v[first] - v[second]) ** 2 / 2
        inside = np.abs(apart - 3) < 0.75
        assert found.semivariances[3] == pytest.approx(halved[inside].mean(), rel=1e-2)
        assert found.distances[3] == pytest.approx(apart[inside].mean(), rel=1e-2)


def test_failed_fit_keeps_the_lags():
    north, east = np.mgrid[0:10, 0:10].astype(float)
    with pytest.raises(qmx_ic.QmxIcError) as caught:
        qmx_ic.semivariogram(x=east.ravel(), y=north.ravel(), value=[7.0] * 100, lag=1, nlag=4)
    error = caught.value
    assert (error.description, error.code) == ("Only the curvefit fails", 101)
    assert "/" in error.path and error.path == error.path.strip()
    assert error.results.distances[2] > 0 and not error.results.has_model
    assert math.isnan(error.results.practical_range)


def test_warnings_of_a_semivariogram():
    rng = np.random.default_rng(2)
    lot = library.records(200, rng)
    twice = np.concatenate([lot, lot[:7]])
    with pytest.warns(UserWarning, match="7 records"):
        assert qmx_ic.semivariogram(twice, lag=2, nlag=5).repeated == 7
    with pytest.warns(UserWarning) as warned:
        qmx_ic.semivariogram(lot, lag=2, nlag=5, origin=(0, 0))
    assert any("step by 0.5" in str(one.message) for one in warned)


def test_origin_stands_against_points_astray():
    lot = library.records(300, np.random.default_rng(3))
    lot["d_x"][5] = lot["d_y"][5] = 0
    with pytest.warns(UserWarning):
        found = qmx_ic.semivariogram(lot, lag=2, nlag=5)
    assert abs(found.origin[0] - 421_510) < 5 and abs(found.origin[1] - 4_864_210) < 5


def test_selections(rng):
    lot = library.records(500, rng)
    x, y = np.ascontiguousarray(lot["d_x"]), np.ascontiguousarray(lot["d_y"])
    found, indices = np.zeros(1, np.int32), np.zeros(500, np.int32)
    center = np.array([421_510.0, 4_864_210.0])
    library.call("find_points_in_circle", i32(500), f64(4), center, x, y, found, indices)
    inside = qmx_ic.points_in_circle(lot, center=tuple(center), radius=4)
    assert inside.indices.tolist() == indices[: found[0]].tolist()
    assert inside.mask.tolist() == ((x - center[0]) ** 2 + (y - center[1]) ** 2 <= 16).tolist()

    outline = np.array(SQUARE)
    vx, vy = (np.ascontiguousarray(outline[:, k]) for k in (0, 1))
    library.call("find_points_in_polygon", i32(3), i32(500), vx, vy, x, y, found, indices)
    shape = {"type": "Polygon", "coordinates": [[*SQUARE, SQUARE[0]]]}
    for polygon in (SQUARE, outline, np.asfortranarray(outline), shape):
        inside = qmx_ic.points_in_polygon(x=x, y=y, polygon=polygon)
        assert inside.indices.tolist() == indices[: found[0]].tolist()
    assert 0 < inside.count < 500


def lot_with_tests(rng, radius):
    """Points, and tests with two values or more, one value and none."""
    lot = library.records(160, rng, passes=2)
    tests = lot[::10].copy()
    tests["d_val"] = 3 * tests["d_val"] + rng.normal(0, 1, tests.size)
    tests["i_passno"][::3] = -1
    tests["d_x"][-2:] += 1000
    tests["d_x"][-4:-2] -= 500
    lone = tests[-4:-2].copy()
    lone["d_val"] = [31.25, 28.5]
    lone["i_passno"] = np.maximum(lone["i_passno"], 1)
    return np.concatenate([lot, lone]), tests


def test_spot_tests(rng):
    lot, tests = lot_with_tests(rng, 2.5)
    found = qmx_ic.spot_tests(lot, tests, radius=2.5)
    near = (lot["d_x"][None] - tests["d_x"][:, None]) ** 2 + (lot["d_y"][None] - tests["d_y"][:, None]) ** 2 <= 6.25
    near &= (tests["i_passno"][:, None] < 0) | (tests["i_passno"][:, None] == lot["i_passno"][None])
    assert found.counts.tolist() == near.sum(axis=1).tolist()
    assert found.by_pass and set(found.counts[-4:]) == {0, 1}
    for k, inside in enumerate(near):
        values = lot["d_val"][inside]
        if values.size == 0:
            assert math.isnan(found.means[k]) and found.statistics["i_numdata"][k] == 0
        else:
            assert found.means[k] == pytest.approx(values.mean(), rel=1e-6)
        if values.size > 2:
            lone = library.statistics(lot[inside])
            assert found.statistics["x_stat"][k].tobytes() == lone["x_stat"][0].tobytes()
            assert found.statistics["x_cumfreq"][k].tobytes() == lone["x_cumfreq"][0].tobytes()
        assert math.isnan(found.coefficients_of_variation[k]) == (values.size < 2)

    enough = found.counts >= 2
    assert found.in_line.tolist() == enough.tolist()
    alone = tests.copy()  # the tests in the line alone, by the plain call
    alone["d_x"][~enough] = np.nan
    returned, _, stats, line, predicted = library.spot_tests(lot, alone, 2.5)
    assert returned == 1
    assert [found.intercept, found.slope, found.r_squared] == line.tolist()
    assert found.predicted[enough].tobytes() == predicted[enough].tobytes()
    assert np.isnan(found.predicted[~enough]).all()
    slope, intercept = np.polyfit(found.values[enough], found.means[enough], 1)
    assert [found.slope, found.intercept] == pytest.approx([slope, intercept], rel=1e-4)
    assert found.r == pytest.approx(np.corrcoef(found.values[enough], found.means[enough])[0, 1], rel=1e-4)


def test_single_values_enter_the_line_as_they_are(rng):
    lot, tests = lot_with_tests(rng, 2.5)
    found = qmx_ic.spot_tests(lot, tests, radius=2.5, min_ic=1)
    used = found.counts >= 1
    assert found.in_line.tolist() == used.tolist() and (found.counts == 1).sum() >= 2
    assert found.means[-4:-2].tolist() == [31.25, 28.5]
    slope, intercept = np.polyfit(found.values[used], found.means[used], 1)
    assert [found.slope, found.intercept] == pytest.approx([slope, intercept], rel=1e-4)


def test_tests_without_a_value_are_matched_but_not_in_the_line(rng):
    lot, tests = lot_with_tests(rng, 2.5)
    lacking = tests.copy()
    lacking["d_val"][1] = np.nan
    far = tests.copy()
    far["d_x"][1] += 9e6
    found, other = (qmx_ic.spot_tests(lot, one, radius=2.5) for one in (lacking, far))
    assert found.counts[1] > 1 and not found.in_line[1]
    assert (found.intercept, found.slope, found.r_squared) == (other.intercept, other.slope, other.r_squared)


@pytest.mark.parametrize("kept, text", [(slice(0, 2), "point tests data is < 3"), (slice(-4, None), "valid point tests")])
def test_too_few_spot_tests_keep_their_statistics(kept, text):
    lot, tests = lot_with_tests(np.random.default_rng(5), 2.5)
    with pytest.raises(qmx_ic.QmxIcError, match=text) as caught:
        qmx_ic.spot_tests(lot, tests[kept], radius=2.5)
    whole = qmx_ic.spot_tests(lot, tests, radius=2.5)
    results = caught.value.results
    assert results.counts.tolist() == whole.counts[kept].tolist()
    assert results.statistics.tobytes() == whole.statistics[kept].tobytes()
    assert math.isnan(results.slope) and "no line" in repr(results)


def test_passes_are_matched_only_where_both_have_them():
    lot, tests = lot_with_tests(np.random.default_rng(6), 2.5)
    bare = {"x": lot["d_x"], "y": lot["d_y"], "value": lot["d_val"]}
    for found in (
        qmx_ic.spot_tests(bare, tests, radius=2.5),
        qmx_ic.spot_tests(lot, tests, radius=2.5, any_pass=True),
        qmx_ic.spot_tests(lot, {"x": tests["d_x"], "y": tests["d_y"], "value": tests["d_val"]}, radius=2.5),
    ):
        assert not found.by_pass and found.counts[1] > 5
    assert tests["i_passno"].max() == 2  # the caller's array is as it was


def test_coverage(rng):
    counts = rng.integers(0, 8, 400)
    bins = [(1, 2), (3, 3), (5, None)]
    areas = [(SQUARE, False), ([(421_504.0, 4_864_204.0), (421_506.0, 4_864_204.0), (421_506.0, 4_864_206.0)], True)]
    plain = [(1, 2), (3, 3), (5, -1)]
    truth = library.coverage(counts, (0.3, 0.5), plain, areas)
    found = qmx_ic.coverage(
        counts, area=SQUARE, exclude=[areas[1][0]], mesh=(0.3, 0.5), bins=bins, target_passes=4
    )
    assert found.coverage.tobytes() == truth[:, 0].tobytes()
    assert found.compacted_area.tobytes() == truth[:, 1].tobytes()
    assert found.plan_area == truth[0, 2]
    achieved = library.coverage(counts, (0.3, 0.5), [(4, -1)], areas)[0, 0]
    assert found.achieved == achieved and found.target_met == (achieved >= 90)
    assert found.compacted_area[0] == pytest.approx(0.15 * np.isin(counts, [1, 2]).sum(), rel=1e-6)
    assert found.bin_names == ("1-2", "3", "5-")


def test_bins_that_nobody_named():
    area = [(0, 0), (9, 0), (9, 9), (0, 9)]
    ask = lambda counts, **more: qmx_ic.coverage(counts, area=area, mesh=1, **more).bin_names  # noqa: E731
    assert ask([1, 1, 4, 2, 0]) == ("1", "2", "4")
    assert ask(np.arange(1, 20)) == (*(str(k) for k in range(1, 10)), "10-")
    assert ask([1, 2], target_passes=3) == ("1-2", "3-")
    assert ask([1, 2], target_passes=1) == ("1-",)
    assert ask([0, 0]) == ("1-",)
