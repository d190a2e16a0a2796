"""Vector formats by pyogrio, for the compiled part that reads tables, and GeoPackages of points.

Fields come as the program reads them: numbers with the type that their texts are written by, everything
else as text in the words of the format's reader.
"""

from __future__ import annotations

import os
import struct
from collections.abc import Mapping, Sequence
from typing import Any

import numpy as np
import numpy.typing as npt

REMEDY = "needs pyogrio: pip install 'qmx_ic[geo]'"


def _raw() -> Any:
    """The module that reads and writes, or a clear end."""
    try:
        from pyogrio import raw  # type: ignore[import-untyped, unused-ignore]
    except ImportError as error:
        raise ImportError(REMEDY) from error
    return raw


def _place(file: str) -> str:
    """The name by which the reader of formats knows a packed file."""
    lower = file.lower()
    if lower.startswith("/vsi"):
        return file
    if lower.endswith(".gz"):
        return "/vsigzip/" + file
    return "/vsizip/" + file if lower.endswith(".zip") else file


def layers(file: str) -> list[str]:
    """The names of all layers."""
    _raw()
    import pyogrio

    return [str(row[0]) for row in pyogrio.list_layers(_place(file))]


def describe(file: str, layer: str) -> dict[str, Any]:
    """Format, columns, number of rows, coordinate system of a layer."""
    _raw()
    import pyogrio

    info = pyogrio.read_info(_place(file), layer=layer)
    digits = _digits(file) if info["driver"] == "ESRI Shapefile" else {}
    columns = []
    for name, kind, subtype, dtype in zip(
        info["fields"], info["ogr_types"], info["ogr_subtypes"], info["dtypes"], strict=True
    ):
        if kind == "OFTReal" and digits.get(name) is not None:
            text = f".{digits[name]}f"
        elif kind == "OFTReal":
            text = ".8g" if subtype == "OFSTFloat32" else ".15g"
        elif str(dtype) == "bool" or kind in ("OFTInteger", "OFTInteger64"):
            text = "d"
        else:
            text = ""
        columns.append((str(name), kind == "OFTString", text))
    return {
        "format": str(info["driver"]),
        "columns": columns,
        "rows": int(info["features"]),
        "is_spatial": info["geometry_type"] is not None,
        "system": _system(info["crs"]),
    }


def _digits(file: str) -> dict[str, int]:
    """Digits behind the point of a Shapefile's numbers: their texts have just as many."""
    table = os.path.splitext(file)[0] + ".dbf"
    if not os.path.exists(table):
        return {}
    digits = {}
    with open(table, "rb") as opened:
        head = opened.read(32)
        for _ in range((struct.unpack("<H", head[8:10])[0] - 33) // 32):
            field = opened.read(32)
            if len(field) == 32 and field[11:12] in (b"N", b"F"):
                name = field[:11].split(b"\0")[0].decode("utf-8", "replace")
                digits[name] = field[17]
    return digits


def _system(crs: str | None) -> str:
    """Well-known text of a coordinate system: it tells the name and the unit, which a code does not."""
    if not crs:
        return ""
    try:
        import pyproj
    except ImportError:
        return crs
    try:
        return str(pyproj.CRS.from_user_input(crs).to_wkt("WKT1_GDAL"))
    except pyproj.exceptions.CRSError:
        return crs


def load(
    file: str, layer: str, columns: Sequence[str], with_geometry: bool
) -> tuple[int, npt.NDArray[np.object_] | None, list[npt.NDArray[Any] | list[str | None]]]:
    """Rows, geometries as well-known binary, and the columns in the order asked for.

    Columns of numbers are float64 with a NaN where nothing stands, all others lists of texts.
    """
    asked = list(dict.fromkeys(columns))
    meta, _, geometry, fields = _raw().read(
        _place(file),
        layer=layer,
        columns=asked,
        read_geometry=with_geometry,
        datetime_as_string=True,
    )
    kinds = dict(zip(meta["fields"], meta["ogr_types"], strict=True))
    by_name = {
        name: _column(values, kinds[name])
        for name, values in zip(meta["fields"], fields, strict=True)
    }
    if geometry is not None:
        rows = len(geometry)
    elif fields:
        rows = len(fields[0])
    else:
        rows = -1  # nothing was asked for
    return rows, geometry, [by_name[name] for name in columns]


def _column(values: npt.NDArray[Any], kind: str) -> npt.NDArray[Any] | list[str | None]:
    if values.dtype.kind in "biuf":
        return np.ascontiguousarray(values, dtype=np.float64)
    return [None if value is None else _text(value, kind) for value in values]


def _text(value: Any, kind: str) -> str:
    if kind in ("OFTDate", "OFTDateTime", "OFTTime"):
        return _time_text(str(value))
    if isinstance(value, bytes):
        return value.hex().upper()
    if isinstance(value, (list, tuple, np.ndarray)):
        return f"({len(value)}:{','.join(str(each) for each in value)})"
    return str(value)


def _time_text(iso: str) -> str:
    """2025-10-01T09:31:49.500+02:00 as 2025/10/01 09:31:49.500+02."""
    day, _, clock = iso.partition("T")
    if not clock:
        return day.replace("-", "/")
    if clock.endswith("Z"):
        clock = clock[:-1] + "+00:00"
    for sign in "+-":
        time, mark, zone = clock.partition(sign)
        if mark:
            hours, _, minutes = zone.partition(":")
            clock = time + mark + hours + (minutes if minutes not in ("", "00") else "")
    return f"{day.replace('-', '/')} {clock}"


def write_points(
    file: str,
    cells: Mapping[str, npt.NDArray[Any]],
    verdicts: Sequence[str],
    about: Mapping[str, Any],
) -> None:
    """A GeoPackage of the cells; it comes to its name when it is complete."""
    raw = _raw()
    count = len(cells["x"])
    points = np.zeros(
        count, dtype=[("order", "u1"), ("type", "<u4"), ("x", "<f8"), ("y", "<f8")]
    )
    points["order"], points["type"] = 1, 1
    points["x"], points["y"] = cells["x"], cells["y"]
    block = points.tobytes()
    size = points.dtype.itemsize
    geometry = np.empty(count, dtype=object)
    geometry[:] = [block[i * size : (i + 1) * size] for i in range(count)]
    passes = cells["pass"] if len(cells["pass"]) == count else np.zeros(count, np.int32)
    columns = {
        "x": cells["x"],
        "y": cells["y"],
        "pass": passes,
        "value": cells["value"],
        "verdict": np.array(verdicts, dtype=object)[cells["verdict"]],
    }
    masks = [passes <= 0 if name == "pass" else None for name in columns]
    unfinished = f"{file}.unfinished-{os.getpid()}.gpkg"
    try:
        raw.write(
            unfinished,
            geometry,
            [np.ascontiguousarray(column) for column in columns.values()],
            list(columns),
            field_mask=masks,
            layer=os.path.splitext(os.path.basename(file))[0],
            driver="GPKG",
            geometry_type="Point",
            crs=about["coordinate_system"],
        )
        os.replace(unfinished, file)
    finally:
        if os.path.exists(unfinished):
            os.unlink(unfinished)
