"""Columns of tables and plain arrays as the library's records.

A table is whatever gives a column for a name: a DataFrame, a mapping, a structured array. A masked or
missing value (NA) is NaN; a masked or missing position or pass number is an error that names the row.
"""

from __future__ import annotations

from typing import Any, NoReturn

import numpy as np

from qmx_ic import _exports
from qmx_ic.records import POINT

__all__ = ["Column", "records"]

Column = Any
"""The name of a column, or the numbers themselves: an array, a Series, a list."""

Array = np.ndarray[Any, np.dtype[Any]]

_NATIVE = frozenset(
    np.dtype(name)
    for name in "f8 f4 i8 i4 i2 i1 u8 u4 u2 u1 ?".split()
)
_FLOAT64 = np.dtype(np.float64)
_RECORD_NAMES = {"x": "d_x", "y": "d_y", "value": "d_val", "pass": "i_passno"}


def _refuse_type(name: str, what: str) -> NoReturn:
    raise TypeError(
        f"column {name!r} holds {what}, not numbers; convert it first, such as with .astype(float)"
    )


def _refuse_missing(name: str, missing: Array, what: str) -> None:
    if missing.any():
        row = int(np.argmax(missing))
        raise ValueError(
            f"column {name!r}, row {row} (the first is 0): the {what} is missing; leave the row out"
        )


def _from_extension(held: Any, name: str) -> Array:
    """A pandas Series or array whose type is not NumPy's: nullable, or kept by pyarrow."""
    if getattr(held.dtype, "kind", "O") not in "iufb":
        _refuse_type(name, f"values of type {held.dtype}")
    return np.asarray(held.to_numpy(dtype=np.float64, na_value=np.nan))


def _array(numbers: Any, name: str, role: str) -> Array:
    """One dimension of numbers in a type that the compiled part reads, without a copy where possible."""
    if type(numbers) is not np.ndarray:
        if isinstance(numbers, np.ma.MaskedArray):
            if role != "value":
                _refuse_missing(name, np.ma.getmaskarray(numbers), role)
                numbers = numbers.data
            elif numbers.dtype.kind in "iufb":
                numbers = np.ma.filled(numbers.astype(np.float64), np.nan)
            else:
                _refuse_type(name, f"values of type {numbers.dtype}")
        elif hasattr(numbers, "dtype") and not isinstance(numbers.dtype, np.dtype):
            numbers = _from_extension(numbers, name)
        numbers = np.asarray(numbers)
    if numbers.ndim != 1:
        raise ValueError(f"column {name!r} has {numbers.ndim} dimensions instead of 1")
    if numbers.dtype not in _NATIVE:
        if numbers.size == 0 and numbers.dtype == object:
            return np.empty(0)
        if numbers.dtype.kind not in "iuf":
            kind = "Python objects" if numbers.dtype == object else f"values of type {numbers.dtype}"
            _refuse_type(name, kind)
        numbers = numbers.astype(np.float64 if numbers.dtype.kind == "f" else np.int64)
    return numbers  # type: ignore[no-any-return]


def _names_of(data: Any) -> list[str]:
    if isinstance(data, np.ndarray):
        return list(data.dtype.names or ())
    return [str(name) for name in (data.keys() if hasattr(data, "keys") else data)]


def column(data: Any, which: Column, role: str, default: str) -> Array | None:
    """The numbers of a column; None where none is named and the table has none of the usual name.

    `which` is None for the usual name `default`, a name, or the numbers themselves.
    """
    if which is None:
        if data is None:
            return None
        if isinstance(data, np.ndarray):
            names: Any = data.dtype.names or ()
            if default not in names:
                default = _RECORD_NAMES.get(default, default)
        else:
            names = data
        if default not in names:
            return None
        return _array(data[default], default, role)
    if isinstance(which, str):
        if data is None:
            raise TypeError(f"column {which!r} is named, but there is no table that has it")
        try:
            found = data[which]
        except (KeyError, ValueError, IndexError):
            raise KeyError(
                f"there is no column {which!r}; the columns are {', '.join(_names_of(data))}"
            ) from None
        return _array(found, which, role)
    return _array(which, default, role)


def required(data: Any, which: Column, role: str, default: str) -> Array:
    """A column that there must be."""
    found = column(data, which, role, default)
    if found is None:
        has = "" if data is None else f"; the columns are {', '.join(_names_of(data))}"
        raise TypeError(f"the {role} is missing: give {default.replace('pass', 'pass_')}={has}")
    return found


def places(data: Any, x: Column, y: Column) -> tuple[Array, Array]:
    """Eastings and northings side by side in memory, as 64-bit numbers."""
    first = np.ascontiguousarray(required(data, x, "position", "x"), dtype=np.float64)
    second = np.ascontiguousarray(required(data, y, "position", "y"), dtype=np.float64)
    if first.size != second.size:
        raise ValueError(f"x has {first.size} numbers and y has {second.size}")
    return first, second


def fits(data: Any) -> bool:
    """Whether an array is of records that the library reads where they are."""
    return (
        type(data) is np.ndarray
        and data.dtype == POINT
        and data.ndim == 1
        and data.flags.c_contiguous
        and data.flags.aligned
    )


def _fill(columns: dict[str, Array | None], pass_of_all: int) -> Array:
    rows = -1
    for name, numbers in columns.items():
        if numbers is None:
            continue
        if rows < 0:
            rows, first = numbers.shape[0], name
        elif numbers.shape[0] != rows:
            raise ValueError(
                f"column {first!r} has {rows} rows and column {name!r} has {numbers.shape[0]}"
            )
    made = np.empty(max(rows, 0), POINT)
    passes = columns.get("pass")
    bad = _exports.fill_records(
        made, columns.get("x"), columns.get("y"), columns.get("value"), passes, pass_of_all
    )
    if bad >= 0 and passes is not None:
        number = passes[bad]
        what = "is missing" if number != number else f"{number} is not a whole number of 32 bits"
        raise ValueError(
            f"column 'pass', row {bad} (the first is 0): the pass number {what}; leave the row out"
        )
    return made


def points(
    data: Any,
    x: Column = None,
    y: Column = None,
    value: Column = None,
    pass_: Column = None,
    *,
    needs: str,
    pass_of_all: int = 0,
) -> Array:
    """Records of the columns that an analysis needs: letters of "xy" (positions), "v" and "p".

    A capital "P" takes the passes where there are any. Records that fit already are handed through.
    """
    if x is None and y is None and value is None and pass_ is None and fits(data):
        return data  # type: ignore[no-any-return]
    columns: dict[str, Array | None] = {}
    if "x" in needs:
        columns["x"] = required(data, x, "position", "x")
        columns["y"] = required(data, y, "position", "y")
    if "v" in needs:
        columns["value"] = required(data, value, "value", "value")
    if "p" in needs:
        columns["pass"] = required(data, pass_, "pass number", "pass")
    elif "P" in needs:
        columns["pass"] = column(data, pass_, "pass number", "pass")
    return _fill(columns, pass_of_all)


def values(data: Any, value: Column) -> Array:
    """Records of values alone, which may be given as a plain array in the place of a table."""
    if value is None:
        if type(data) is np.ndarray:
            if data.dtype.names is None:
                return _fill({"value": _array(data, "value", "value")}, 0)
        elif not hasattr(data, "keys"):  # an array, a list
            return _fill({"value": _array(data, "value", "value")}, 0)
        elif hasattr(data, "dtype"):  # a Series has keys and a type
            return _fill({"value": _array(data, "value", "value")}, 0)
    return points(data, value=value, needs="v")


def records(
    data: Any = None,
    *,
    x: Column = None,
    y: Column = None,
    value: Column = None,
    pass_: Column = None,
) -> Array:
    """Make the library's records of columns, once for several analyses.

    Every analysis takes such an array as `data` without a copy. One that fits already is returned as
    it is.

    Parameters
    ----------
    data : DataFrame, mapping or structured array, optional
        The table that named columns are of.
    x, y : str or array_like of shape (n,), optional
        Eastings and northings, in a planar unit of length, or the names of their columns; "x" and "y"
        where the table has them, otherwise 0.
    value : str or array_like of shape (n,), optional
        The measured values; "value" where the table has it, otherwise NaN. A masked or missing one
        is NaN.
    pass_ : str or array_like of shape (n,), optional
        Numbers of the passes, whole, counted from 1; "pass" where the table has it, otherwise 0.

    Returns
    -------
    numpy.ndarray of shape (n,), dtype `qmx_ic.POINT`

    Raises
    ------
    ValueError
        For columns of different length, and for a pass number that is missing or no whole number of
        32 bits, with its row.
    TypeError
        For a column that holds no numbers.
    KeyError
        For a name that the table does not have.

    Examples
    --------
    >>> import qmx_ic
    >>> lot = qmx_ic.records(x=[0.0, 0.3], y=[5.0, 5.0], value=[31.5, 33.0], pass_=[1, 2])
    >>> lot["d_val"].tolist(), lot["i_passno"].tolist()
    ([31.5, 33.0], [1, 2])
    """
    if x is None and y is None and value is None and pass_ is None and fits(data):
        return data  # type: ignore[no-any-return]
    columns = {
        "x": column(data, x, "position", "x"),
        "y": column(data, y, "position", "y"),
        "value": column(data, value, "value", "value"),
        "pass": column(data, pass_, "pass number", "pass"),
    }
    made = _fill(columns, 0)
    if columns["value"] is None:
        made["d_val"] = np.nan
    return made
