from typing import Any, TypeVar

import numpy as np

_Array = np.ndarray[Any, np.dtype[Any]]
_Columns = tuple[_Array | None, _Array | None, _Array | None, _Array | None, int]
_Points = _Array | _Columns
_Result = TypeVar("_Result")
_Failure = tuple[str, str, int] | None

version: str
call_lock: Any
layouts: dict[str, tuple[int, tuple[tuple[str, int, int], ...]]]

def rows_of(columns: _Columns) -> int: ...
def fill_records(out: _Array, columns: _Columns) -> None: ...
def make(type: type[_Result], found: tuple[Any, ...], asked: tuple[Any, ...]) -> _Result: ...
def plain_columns(data: dict[Any, Any], needed: str, pass_of_all: int) -> _Columns | None: ...
def statistics(
    points: _Points,
    pass_counts: bool,
    below: bool,
    has_target: bool,
    target: float,
    target_percent: float,
    low_level: float,
    high_level: float,
) -> tuple[Any, ...]: ...
def compaction_curve(
    points: _Points, max_pass: int, min_points: int, most_passes: int
) -> tuple[_Failure, int, int, int, tuple[float, ...], tuple[float, ...], float, bytes]: ...
def polynomial_curve(
    x: _Array, y: _Array, degree: int, centre: bool
) -> tuple[int | None, int, int, float, bytes]: ...
def semivariogram(
    points: _Points,
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
    data: _Points, tests: _Array, radius: float, min_ic: int
) -> tuple[_Failure, int, int, float, float, float, bool, bytes, bytes, bytes]: ...
def coverage(
    data: _Points,
    bins: tuple[tuple[int, int], ...],
    areas: tuple[tuple[_Array, bool], ...],
    mesh_x: float,
    mesh_y: float,
    target_bin: tuple[int, int] | None,
) -> tuple[_Failure, int, int, float, tuple[float, ...], tuple[float, ...], float]: ...
