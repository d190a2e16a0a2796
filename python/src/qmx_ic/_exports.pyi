from typing import Any

import numpy as np

_Array = np.ndarray[Any, np.dtype[Any]]
_Failure = tuple[str, str, int] | None

version: str
call_lock: Any
layouts: dict[str, tuple[int, tuple[tuple[str, int, int], ...]]]

def fill_records(
    out: _Array,
    x: _Array | None,
    y: _Array | None,
    value: _Array | None,
    pass_: _Array | None,
    pass_of_all: int,
) -> int: ...
def statistics(
    records: _Array,
    out: _Array,
    pass_counts: bool,
    below: bool,
    has_target: bool,
    target: float,
    target_percent: float,
    low_level: float,
    high_level: float,
) -> tuple[Any, ...]: ...
def compaction_curve(
    records: _Array, curve: _Array, max_pass: int, min_points: int, most_passes: int
) -> tuple[_Failure, int, int, int, tuple[float, ...], tuple[float, ...], float]: ...
def polynomial_curve(
    x: _Array, y: _Array, curve: _Array, degree: int, centre: bool
) -> tuple[bool, int, int, int, float]: ...
def semivariogram(
    records: _Array,
    lags: _Array,
    curve: _Array,
    origin: tuple[float, float] | None,
    nlag: int,
    lag: float,
    azimuth: float,
    tolerance: float,
    bandwidth: float,
    standardise: bool,
) -> tuple[Any, ...]: ...
def points_in_circle(
    x: _Array, y: _Array, indices: _Array, center_x: float, center_y: float, radius: float
) -> tuple[_Failure, int]: ...
def points_in_polygon(
    x: _Array, y: _Array, indices: _Array, outline: _Array
) -> tuple[_Failure, int]: ...
def spot_tests(
    data: _Array,
    tests: _Array,
    stats: _Array,
    in_line: _Array,
    predicted: _Array,
    radius: float,
    min_ic: int,
) -> tuple[_Failure, int, int, float, float, float]: ...
def coverage(
    data: _Array,
    bins: _Array,
    results: _Array,
    areas: tuple[tuple[_Array, bool], ...],
    mesh_x: float,
    mesh_y: float,
) -> tuple[_Failure, int, int]: ...
