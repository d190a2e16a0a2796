"""Columns of tables and plain arrays as the library's records.

A table is whatever gives a column for a name: a DataFrame, a mapping, a structured array. A masked or
missing value (NA) is NaN; a masked or missing position or pass number is an error that names the row.
"""

from __future__ import annotations

from typing import Any, NoReturn

import numpy as np

from qmx_ic import _exports
from qmx_ic.records import POINT

__all__ = ["Column", "to_records"]

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
    if type(numbers) is np.ndarray and numbers.dtype in _NATIVE and numbers.ndim == 1:
        return numbers
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
    if which is None and type(data) is dict:  # the short way, since calls are short
        found = data.get(default)
        if type(found) is np.ndarray and found.dtype in _NATIVE and found.ndim == 1:
            return found
    found = column(data, which, role, default)
    if found is None:
        has = "" if data is None else f"; the columns are {', '.join(_names_of(data))}"
        raise TypeError(f"the {role} is missing: give {default.replace('pass', 'pass_')}={has}")
    return found


def fits(data: Any) -> bool:
    """Whether an array is of records that the library reads where they are."""
    return (
        type(data) is np.ndarray
        and data.dtype == POINT
        and data.ndim == 1
        and data.flags.c_contiguous
        and data.flags.aligned
    )


Columns = tuple[Array | None, Array | None, Array | None, Array | None, int]
"""Eastings, northings, values, passes, and the pass of all rows where there is no such column."""


def points(
    data: Any,
    x: Column = None,
    y: Column = None,
    value: Column = None,
    pass_: Column = None,
    *,
    needs: str,
    pass_of_all: int = 0,
) -> Array | Columns:
    """The columns that an analysis needs: letters of "xy" (positions), "v" and "p".

    A capital "P" takes the passes where there are any. Records that fit
    already are handed through.
    """
    if x is None and y is None and value is None and pass_ is None:
        if fits(data):
            return data  # type: ignore[no-any-return]
        if type(data) is dict:
            plain = _exports.plain_columns(data, needs, pass_of_all)
            if plain is not None:
                return plain
    east = north = measured = passes = None
    if "x" in needs:
        east = required(data, x, "position", "x")
        north = required(data, y, "position", "y")
    if "v" in needs:
        measured = required(data, value, "value", "value")
    if "p" in needs:
        passes = required(data, pass_, "pass number", "pass")
    elif "P" in needs:
        passes = column(data, pass_, "pass number", "pass")
    return east, north, measured, passes, pass_of_all


def values(data: Any, value: Column) -> Array | Columns:
    """Values alone, which may be given as a plain array in the place of a table."""
    if value is None:
        if type(data) is np.ndarray:
            is_plain = data.dtype.names is None
        else:  # a Series has keys and a type, a list neither, a table keys alone
            is_plain = data is not None and (hasattr(data, "dtype") or not hasattr(data, "keys"))
        if is_plain:
            return None, None, _array(data, "value", "value"), None, 0
    return points(data, value=value, needs="v")


def filled(columns: Columns) -> Array:
    """Records of columns."""
    made = np.empty(_exports.rows_of(columns), POINT)
    _exports.fill_records(made, columns)
    return made


def to_records(
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
    >>> lot = qmx_ic.to_records(x=[0.0, 0.3], y=[5.0, 5.0], value=[31.5, 33.0], pass_=[1, 2])
    >>> lot["d_val"].tolist(), lot["i_passno"].tolist()
    ([31.5, 33.0], [1, 2])
    """
    if x is None and y is None and value is None and pass_ is None and fits(data):
        return data  # type: ignore[no-any-return]
    measured = column(data, value, "value", "value")
    made = filled(
        (
            column(data, x, "position", "x"),
            column(data, y, "position", "y"),
            measured,
            column(data, pass_, "pass number", "pass"),
            0,
        )
    )
    if measured is None:
        made["d_val"] = np.nan
    return made
