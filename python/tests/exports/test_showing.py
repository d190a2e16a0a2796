"""How results show, list and draw themselves."""

import json
import subprocess
import sys

import numpy as np
import pytest

import calls
import qmx_ic

matplotlib = pytest.importorskip("matplotlib")
matplotlib.use("Agg")
pandas = pytest.importorskip("pandas")

NAMES = [
    "statistics", "constant", "pass_counts", "compaction_curve", "polynomial_curve", "semivariogram",
    "points_in_circle", "points_in_polygon", "spot_tests", "coverage",
]  # fmt: skip
FAILED = ["too_many_passes", "two_passes", "no_fit", "too_few_tests"]


def drawn(axes):
    """Numbers of points, lines and bars on the axes."""
    return sum(len(c.get_offsets()) for c in axes.collections), len(axes.lines), len(axes.patches)


@pytest.mark.parametrize("name", NAMES + FAILED)
def test_every_result_can_be_shown(name):
    result = calls.CALLS[name]()
    if name in FAILED:
        result = result.results
    kind = type(result).__name__
    assert repr(result).startswith(kind + ": ") and "nan" not in repr(result)
    assert kind in result._repr_html_() and result._repr_html_().endswith("</table>")
    listed = json.loads(json.dumps(result.to_dict(), allow_nan=False))
    assert listed and set(listed) == set(result._listed)
    assert isinstance(result.to_frame(), pandas.DataFrame)
    axes = result.plot()
    assert sum(drawn(axes)) + len(axes.texts) > 0 and axes.get_xlabel() and axes.get_ylabel()
    axes.figure.canvas.draw()
    assert result.plot(axes) is axes
    matplotlib.pyplot.close(axes.figure)
    with pytest.raises(AttributeError):
        setattr(result, type(result).__slots__[0], 3)


def test_drawings_hold_the_numbers():
    curve = calls.CALLS["compaction_curve"]()
    axes = curve.plot()
    assert np.allclose(axes.collections[0].get_offsets()[:, 1], curve.pass_means)
    assert np.allclose(axes.lines[0].get_ydata(), curve.y)
    counted = calls.CALLS["pass_counts"]()
    assert [bar.get_height() for bar in counted.plot().patches] == counted.shares.tolist()
    spots = calls.CALLS["spot_tests"]()
    assert drawn(spots.plot())[0] == np.count_nonzero(spots.counts)
    matplotlib.pyplot.close("all")


def test_frames_hold_the_numbers():
    spots = calls.CALLS["spot_tests"]()
    frame = spots.to_frame()
    assert frame["ic_values"].tolist() == spots.counts.tolist() and frame["in_line"].sum() == spots.pairs
    share = calls.CALLS["coverage"]().to_frame()
    assert share["passes"].tolist() == ["1", "2-"]


@pytest.mark.parametrize("module, call, extra", [("pandas", "to_frame", "frames"), ("matplotlib", "plot", "plots")])
def test_what_is_not_installed_is_named(module, call, extra):
    code = (
        f"import sys; sys.modules[{module!r}] = None; import qmx_ic\n"
        f"try: qmx_ic.statistics([1, 2, 3]).{call}()\n"
        "except ImportError as error: print(error)"
    )
    told = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True).stdout
    assert f"pip install 'qmx_ic[{extra}]'" in told


def test_nothing_is_hidden_in_a_repr():
    lot = [28.0, np.nan, 31.0, 35.0]
    assert repr(qmx_ic.statistics(lot, target=30, below=True)).endswith(
        "33.3333 % at or below 30 (90 % wanted); 1 rows without a value"
    )
