"""Tables and arrays of every form become the same records; what cannot is refused by name, row and value."""

import pickle

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import library
import qmx_ic
from qmx_ic import POINT, columns

pandas = pytest.importorskip("pandas")

WHOLE = st.lists(st.integers(0, 100), min_size=1, max_size=40)
TYPES = ["f8", "f4", "i8", "i4", "i2", "i1", "u8", "u4", "u2", "u1", ">f8", ">f4", ">i4", ">u2", "f2", "longdouble", "q"]


def strided(array, step):
    wide = np.zeros(array.size * abs(step), array.dtype)
    view = wide[::step] if step > 0 else wide[::step][: array.size]
    view[:] = array
    return view


def unaligned(array):
    held = np.zeros(array.size, np.dtype({"names": ["v"], "formats": [array.dtype], "offsets": [1], "itemsize": 11 + array.itemsize}))
    held["v"] = array
    return held["v"]


def read_only(array):
    array = array.copy()
    array.flags.writeable = False
    return array


def nullable(kind):
    return lambda array: pandas.Series(array.astype(float)).astype(kind)


FORMS = {
    "as it is": lambda array: array,
    "every third": lambda array: strided(array, 3),
    "backwards": lambda array: strided(array, -2),
    "unaligned": unaligned,
    "read-only": read_only,
    "list": lambda array: array.tolist(),
    "masked, nothing hidden": lambda array: np.ma.array(array),
    "Series": lambda array: pandas.Series(array.astype(array.dtype.newbyteorder("=")).astype(float), index=range(5, 5 + array.size)),
    "Float64": nullable("Float64"),
    "Int64": nullable("Int64"),
    "float by pyarrow": nullable("double[pyarrow]"),
    "int by pyarrow": nullable("int32[pyarrow]"),
    "column of a matrix": lambda array: np.column_stack([array, array, array])[:, 1],
}


@settings(max_examples=150, deadline=None)
@given(WHOLE, st.sampled_from(TYPES), st.sampled_from(sorted(FORMS)), st.sampled_from(sorted(FORMS)))
def test_all_forms_give_the_same_records(numbers, kind, form, other):
    plain = np.array(numbers, float)
    array = FORMS[form](plain.astype(kind))
    passes = FORMS[other](plain.astype(kind))
    made = qmx_ic.to_records(x=array, y=passes, value=array, pass_=passes)
    assert made.dtype == POINT
    for name, wanted in (("d_x", plain), ("d_y", plain), ("d_val", plain), ("i_passno", plain)):
        assert made[name].tolist() == wanted.tolist()
    assert not made["i_reserved"].any()


@settings(max_examples=60, deadline=None)
@given(st.lists(st.floats(0, 1e6) | st.just(float("nan")), min_size=6, max_size=60))
def test_missing_values_are_left_out_and_counted(numbers):
    values = np.array(numbers)
    lacking = np.isnan(values)
    forms = [
        values,
        np.ma.array(np.where(lacking, 7.0, values), mask=lacking),
        pandas.Series(np.where(lacking, None, values)).astype("Float64"),
        pandas.Series(np.where(lacking, None, values)).astype("double[pyarrow]"),
    ]
    kept = library.records(0, np.random.default_rng(0))
    kept = np.zeros(int((~lacking).sum()), POINT)
    kept["d_val"] = values[~lacking]
    for form in forms:
        if kept.size < 3:
            with pytest.raises(qmx_ic.QmxIcError, match="less than 3"):
                qmx_ic.statistics(form)
            continue
        found = qmx_ic.statistics(form)
        assert (found.n, found.missing) == (kept.size, int(lacking.sum()))
        truth = library.statistics(kept)
        for name in ("x_stat", "x_freq", "x_bin"):
            assert found.record[name].tobytes() == truth[name].tobytes()


def test_records_that_fit_are_read_where_they_are():
    lot = library.records(500, np.random.default_rng(1))
    assert qmx_ic.to_records(lot) is lot and columns.points(lot, needs="xyvp") is lot
    fixed = read_only(lot)
    assert qmx_ic.to_records(fixed) is fixed
    for other in (lot[::2], lot[::-1], lot.astype(POINT.newbyteorder(">"))):
        made = qmx_ic.to_records(other)
        assert made.flags.c_contiguous and made["d_val"].tolist() == other["d_val"].tolist()
        assert made["i_passno"].tolist() == other["i_passno"].tolist()
        assert qmx_ic.statistics(other).mean == qmx_ic.statistics(made).mean


def test_tables_by_name():
    lot = library.records(400, np.random.default_rng(2), passes=2)
    names = {"East": "d_x", "North": "d_y", "CMV": "d_val", "Pass": "i_passno"}
    table = {name: lot[field].copy() for name, field in names.items()}
    structured = np.rec.fromarrays(table.values(), names=list(table))
    options = {"x": "East", "y": "North", "value": "CMV", "pass_": "Pass"}
    for data in (table, pandas.DataFrame(table), structured, pandas.DataFrame(table).convert_dtypes()):
        assert qmx_ic.to_records(data, **options).tobytes() == lot.tobytes()
    with pytest.raises(KeyError, match="'cmv'.*East, North, CMV, Pass"):
        qmx_ic.statistics(pandas.DataFrame(table), value="cmv")
    with pytest.raises(TypeError, match="value= *; the columns are East|value=; the columns are East"):
        qmx_ic.statistics(table)


@pytest.mark.parametrize(
    "passes, message",
    [
        ([1, 2.5, 3], "row 1 .*2.5 is no whole number"),
        ([1, 2, 2**31], "row 2 .*2147483648 is no whole number of 32 bits"),
        (np.array([1, 2, 2**63], np.uint64), "row 2 .*is no whole number of 32 bits"),
        ([np.inf, 1, 2], "row 0 .*inf"),
        ([1, np.nan, 2], "row 1 .*missing"),
        (np.ma.array([1, 2, 3], mask=[0, 0, 1]), "row 2 .*missing"),
        (pandas.array([1, None, 3], dtype="Int64"), "row 1 .*missing"),
        (pandas.Series([1, 2, None], dtype="int64[pyarrow]"), "row 2 .*missing"),
        ([1, 2], "3 rows and column pass has 2"),
        ([[1, 2, 3]], "2 dimensions"),
    ],
)
def test_passes_that_are_none(passes, message):
    with pytest.raises(ValueError, match=message):
        qmx_ic.compaction_curve(value=[1.0, 2, 3], pass_=passes)


@pytest.mark.parametrize("numbers", [["a", "b", "c"], [1, None, 3], np.array([1j, 2, 3]), np.array([1, 2, 3], "M8[s]"),
                                     pandas.Series(["1", "2", "3"]), np.array([object()] * 3)])
def test_what_holds_no_numbers(numbers):
    with pytest.raises(TypeError, match="column 'value' holds .* not numbers"):
        qmx_ic.statistics({"value": numbers})


@pytest.mark.parametrize(
    "call, message",
    [
        (lambda v: qmx_ic.statistics([1, 2, np.inf, 4]), "row 2 .*inf is too large"),
        (lambda v: qmx_ic.statistics([1, 2, 1e39]), "row 2 .*1e\\+39"),
        (lambda v: qmx_ic.statistics([1, 2.5, 3], pass_counts=True), "row 1 .*2.5 is no pass count"),
        (lambda v: qmx_ic.coverage([1, 0.5], area=[(0, 0), (1, 0), (1, 1)], mesh=1), "row 1 .*0.5"),
        (lambda v: qmx_ic.semivariogram(x=[0, np.nan, 2], y=v, value=v, lag=1, nlag=2), "row 1 .*not finite"),
        (lambda v: qmx_ic.semivariogram(x=v, y=v, value=[1, 2, 1e19], lag=1, nlag=2), "row 2 .*1e\\+19"),
        (lambda v: qmx_ic.points_in_circle(x=v, y=[1.0], center=(0, 0), radius=1), "3 rows and column y has 1"),
        (lambda v: qmx_ic.points_in_circle(x=np.ma.array(v, mask=[0, 1, 0]), y=v, center=(0, 0), radius=1), "row 1"),
        (lambda v: qmx_ic.points_in_polygon(x=v, y=v, polygon=[(0, 0), (1, np.nan), (1, 1)]), "vertex 1"),
        (lambda v: qmx_ic.points_in_polygon(x=v, y=v, polygon=[(0, 0), (1, 1)]), "3 vertices"),
        (lambda v: qmx_ic.polynomial_curve(x=v, y=[1, 2, 1e40]), "y of row 2"),
        (lambda v: qmx_ic.polynomial_curve(x=v, y=v, degree=10), "degree=10"),
        (lambda v: qmx_ic.semivariogram(x=v, y=v, value=v, lag=1, nlag=99), "nlag=99"),
        (lambda v: qmx_ic.semivariogram(x=v, y=v, value=v, lag=1, nlag=9, tolerance=20), "needs an azimuth"),
        (lambda v: qmx_ic.semivariogram(x=v, y=v, value=v, lag=1, nlag=9, azimuth=0, tolerance=360), "tolerance=360"),
        (lambda v: qmx_ic.spot_tests({"x": v, "y": v, "value": v}, {"x": [1, np.inf], "y": [1, 2], "value": [1, 2]}, radius=1), "spot test 1"),
    ],
)
def test_what_an_analysis_refuses(call, message):
    with pytest.raises(ValueError, match=message):
        call([1.0, 2.0, 3.0])


def test_empty_tables():
    for nothing in ([], np.array([]), np.zeros(0, POINT), pandas.DataFrame({"value": []}), pandas.Series([], dtype=object)):
        with pytest.raises(qmx_ic.QmxIcError, match="Data points are less than 3"):
            qmx_ic.statistics(nothing)
    assert qmx_ic.points_in_circle(x=[], y=[], center=(0, 0), radius=1).count == 0
    assert qmx_ic.coverage([], area=[(0, 0), (1, 0), (1, 1)], mesh=1).shares == (0.0,)
    with pytest.raises(qmx_ic.QmxIcError) as caught:
        qmx_ic.spot_tests(np.zeros(0, POINT), np.zeros(0, POINT), radius=1)
    assert caught.value.results.counts.size == 0


def test_polygons_of_every_form():
    outer, inner = [(0.0, 0.0), (4.0, 0.0), (4.0, 4.0), (0.0, 4.0)], [(1.0, 1.0), (2.0, 1.0), (2.0, 2.0), (1.0, 2.0)]
    shapely = pytest.importorskip("shapely")
    ask = lambda area, exclude: qmx_ic.coverage([1, 2], area=area, exclude=exclude, mesh=np.float32(1)).plan_area  # noqa: E731
    shape = shapely.Polygon(outer)
    for area in (outer, np.array(outer), [outer], [np.array(outer)], shape, [shape], shape.__geo_interface__):
        for exclude in (inner, [shapely.Polygon(inner)], np.array([inner])):
            assert ask(area, exclude) == 15
    with pytest.raises(ValueError, match="Polygon with 2 rings"):
        ask(shapely.Polygon(outer, [inner]), None)
    with pytest.raises(qmx_ic.QmxIcError, match="size of the area is 0"):
        ask(inner, [inner])
    with pytest.raises(qmx_ic.QmxIcError, match="greater than allowed maximum 10000"):
        ask(np.random.default_rng(1).normal(0, 1, (10001, 2)), None)


def test_pairs_without_a_number_are_left_out():
    x, y = np.arange(9.0), np.array([1, 3, 4, 4, 5, 7, 6, 8, 9.0])
    whole = qmx_ic.polynomial_curve(x=x, y=y, degree=np.int64(1))
    more = np.append(x, [np.nan, 100]), np.ma.array(np.append(y, [50, 60]), mask=[0] * 10 + [1])
    lacking = qmx_ic.polynomial_curve(x=more[0], y=more[1], degree=1)
    assert (lacking.n, lacking.missing) == (9, 2) and lacking.curve.tobytes() == whole.curve.tobytes()


def test_results_and_errors_survive_a_process():
    result = pickle.loads(pickle.dumps(qmx_ic.statistics([1, 2, 4], target=2)))
    assert repr(result) == repr(qmx_ic.statistics([1, 2, 4], target=2))


def test_errors_survive_a_process():
    with pytest.raises(qmx_ic.QmxIcError) as caught:
        qmx_ic.compaction_curve(value=np.arange(400.0), pass_=np.repeat([1, 2], 200))
    error = pickle.loads(pickle.dumps(caught.value))
    assert (error.description, error.path, error.code) == (caught.value.description, caught.value.path, caught.value.code)
    assert error.results.pass_means == caught.value.results.pass_means == (99.5, 299.5)
