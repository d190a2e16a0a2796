"""Vector formats come out of pyogrio as they do of the program's own reader."""

import pathlib
import struct
import sys

import numpy as np
import pytest
import qmx_ic

TIME = "2025-10-01T18:00:00Z"


def point(x, y):
    return struct.pack("<BIdd", 1, 1, x, y)


def ring(corners):
    return struct.pack("<I", len(corners)) + b"".join(struct.pack("<dd", *corner) for corner in corners)


def polygon(*rings):
    return struct.pack("<BII", 1, 3, len(rings)) + b"".join(ring(each) for each in rings)


def box(x0, y0, x1, y1):
    return [(x0, y0), (x1, y0), (x1, y1), (x0, y1), (x0, y0)]


def write(file: pathlib.Path, geometry, columns, crs, masks=None, **options):
    raw = pytest.importorskip("pyogrio").raw
    shapes = np.empty(len(geometry), dtype=object)
    shapes[:] = geometry
    names = list(columns)
    raw.write(
        str(file),
        shapes,
        [np.asarray(columns[name]) for name in names],
        names,
        field_mask=[(masks or {}).get(name) for name in names],
        crs=crs,
        **{"geometry_type": "Point", **options},
    )


def write_lot(file, crs, degrees=False, **options):
    """Numbers, texts, missing values, times, truth values and a record without a point."""
    count = 600
    cells = np.arange(count) // 2
    x, y = 432000 + 0.3 * (cells % 60), 4862000 + 0.3 * (cells // 60)
    if degrees:
        x, y = 9 + x / 1e7, 43 + y / 1e8
    geometry = [point(a, b) for a, b in zip(x, y, strict=True)]
    geometry[7] = None
    lift = np.array(["Träger", "", None, "B"] * (count // 4), dtype=object)
    begin = np.datetime64("2025-10-01T07:00:00.000", "ms")
    masks = {"CMV": np.arange(count) % 50 == 3, "PassCount": np.arange(count) % 70 == 4}
    columns = {
        "CMV": 40 + np.sin(cells / 9) / 3,
        "PassCount": 1 + np.arange(count, dtype=np.int32) % 2,
        "Lift": lift,
        "Machine": np.arange(count, dtype=np.int64) % 2 + 2**40,
        "Speed": (2 + cells % 4 / 3).astype(np.float32),
        "Vibration": cells % 3 > 0,
    }
    if file.suffix == ".shp":
        # Readers of different years take this format's truth values as letters or as numbers.
        columns["Vibration"] = columns["Vibration"].astype(np.int32)
        columns["Time"] = (begin + cells * 86400000).astype("datetime64[D]")
    else:
        columns["Time"] = begin + cells * 250
    if file.suffix == ".fgb":
        options["SPATIAL_INDEX"] = "NO"  # allows records without a point
    write(file, geometry, columns, crs, masks, **options)


def check(program, options, **arguments):
    wanted = program(*options)
    made = qmx_ic.study(time_stamp=TIME, **arguments)
    assert made.json() == wanted["document"]
    assert made.page() == wanted["page"]


@pytest.mark.parametrize(
    ("name", "crs"),
    [
        ("lot.gpkg", "EPSG:25832"),
        ("lot.gpkg", "EPSG:2243"),
        ("lot.shp", "EPSG:25832"),
        ("lot.shp", "EPSG:2243"),
        ("lot.shp", None),
        ("lot.fgb", "EPSG:25832"),
        ("lot.fgb", None),
    ],
)
@pytest.mark.filterwarnings("ignore::UserWarning", "ignore::RuntimeWarning")
def test_points(program, tmp_path, name, crs):
    pytest.importorskip("pyproj")
    file = tmp_path / name
    write_lot(file, crs)
    check(program, [file], lot=file)
    time = "Time >= '2025/10/01 07:00:30'" if name != "lot.shp" else "Time >= '2025/11/01'"
    where = f"({time} OR Lift = 'B') AND CMV > 39.9 AND Vibration = 1"
    check(program, [file, "--where", where], lot=file, where=where)


@pytest.mark.filterwarnings("ignore::UserWarning")
def test_degrees_and_carried_columns(program, tmp_path):
    pytest.importorskip("pyproj")
    file = tmp_path / "lot.gpkg"
    write_lot(file, "EPSG:4326", degrees=True)
    wanted = program(file)
    made = qmx_ic.study(file, time_stamp=TIME)
    assert made.json() == wanted["document"]
    made.write_cells(tmp_path / "cells.csv")
    assert (tmp_path / "cells.csv").read_bytes() == wanted["cells"]


@pytest.mark.parametrize("name", ["area.gpkg", "area.shp", "area.geojson"])
def test_areas(program, tmp_path, lot_file, name):
    pytest.importorskip("pyproj")
    outer, hole = box(431999.85, 4861999.85, 432012.5, 4862001.35), box(432003, 4862000, 432004, 4862001)
    far = box(432013, 4861999.85, 432023.85, 4862001.35)
    several = struct.pack("<BII", 1, 6, 2) + polygon(outer, hole) + polygon(far)
    file = tmp_path / name
    crs = None if name.endswith("json") else "EPSG:25832"
    write(file, [several], {"name": np.array(["a"], object)}, crs, geometry_type="MultiPolygon")
    if name.endswith("json"):
        file.write_text(file.read_text().replace('"features"', '"crs": {"type": "name", "properties": {"name": "EPSG:25832"}}, "features"'))
    check(program, [lot_file, "--area", file], lot=lot_file, area=file)


def test_heights_and_orders_of_bytes(tmp_path):
    """A point with a height is the point."""
    geometry = [struct.pack(">BIddd", 0, 1001, i % 10, i // 10, 5.0) for i in range(100)]
    file = tmp_path / "lot.gpkg"
    write(file, geometry, {"CMV": np.arange(100.0) + 1}, "EPSG:25832", geometry_type="Point Z")
    lot = qmx_ic.read(file)
    assert lot.x[:3].tolist() == [0, 1, 2] and lot.y[-1] == 9 and lot.value[-1] == 100
    assert lot.system is not None and not lot.notes


def test_layers_and_refusals(tmp_path, lot_file, monkeypatch):
    file = tmp_path / "two.gpkg"
    for layer, factor in (("first", 1.0), ("Second", 2.0)):
        geometry = [point(i % 10, i // 10) for i in range(50)]
        write(file, geometry, {"CMV": factor * (1 + np.arange(50.0))}, "EPSG:25832", layer=layer, append=file.exists())
    with pytest.raises(qmx_ic.StudyError, match="several layers; name one with --layer: first, Second"):
        qmx_ic.read(file)
    with pytest.raises(qmx_ic.StudyError, match='no layer "third"; its layers are: first, Second') as caught:
        qmx_ic.read(file, layer="third")
    assert caught.value.option == "layer"
    assert qmx_ic.read(file, layer="second").value[0] == 2.0
    damaged = tmp_path / "damaged.gpkg"
    damaged.write_bytes(b"SQLite format 3\0" + bytes(500))
    with pytest.raises(qmx_ic.StudyError, match="no table of points was recognised"):
        qmx_ic.read(damaged)
    monkeypatch.setitem(sys.modules, "pyogrio", None)
    with pytest.raises(qmx_ic.StudyError, match=r"needs pyogrio: pip install 'qmx_ic\[geo\]'"):
        qmx_ic.read(file, layer="second")
    with pytest.raises(ImportError, match=r"pip install 'qmx_ic\[geo\]'"):
        qmx_ic.study(lot_file).write_cells(tmp_path / "cells.gpkg")


def test_cells_as_a_geopackage(tmp_path, lot_file):
    raw = pytest.importorskip("pyogrio").raw
    study = qmx_ic.study(lot_file, target=33, crs="EPSG:25832")
    study.write_cells(tmp_path / "cells.gpkg")
    meta, _, geometry, columns = raw.read(tmp_path / "cells.gpkg")
    table = dict(zip(meta["fields"], columns, strict=True))
    assert meta["crs"] == "EPSG:25832"
    for name in ("x", "y", "pass", "value"):
        np.testing.assert_array_equal(table[name], study.cells[name])
    assert table["verdict"].tolist() == study.to_frame()["verdict"].tolist()
    places = [struct.unpack("<dd", each[5:21]) for each in geometry]
    assert places == list(zip(study.cells["x"], study.cells["y"], strict=True))
    assert [file.name for file in tmp_path.glob("cells*")] == ["cells.gpkg"]
