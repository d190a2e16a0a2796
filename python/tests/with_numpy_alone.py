"""Run where NumPy is the only package beside this one: imports, calls, and words for what is lacking."""

import importlib.util
import pathlib
import sys
import tempfile


def expect_words(words, call):
    try:
        call()
    except (ImportError, ValueError) as error:
        assert words in str(error), str(error)
    else:
        raise AssertionError(f"nothing said {words!r}")


def main():
    for lacking in ("pandas", "pyogrio", "matplotlib", "dask"):
        assert importlib.util.find_spec(lacking) is None, f"{lacking} is installed here"
    import qmx_ic

    folder = pathlib.Path(tempfile.mkdtemp())
    file = folder / "lot.csv"
    rows = [f"{i % 20},{i // 20},{1 + i % 2},{40 + i % 7}" for i in range(400)]
    file.write_text("\n".join(["Easting_m,Northing_m,PassCount,CMV", *rows]))
    lot = qmx_ic.read(file)
    assert len(lot) == 400 and lot.value[0] == 40.0
    study = qmx_ic.study(lot, target=41)
    assert study["stats"]["statistics"]["count"] == 400
    study.tables(folder / "tables")
    assert (folder / "tables" / "verdicts.csv").exists()
    assert qmx_ic._study.makes_pages
    study.report(folder / "page.html")
    assert (folder / "page.html").stat().st_size > 100_000
    expect_words("pip install 'qmx_ic[frames]'", study.to_frame)
    expect_words("pip install 'qmx_ic[geo]'", lambda: study.write_cells(folder / "cells.gpkg"))
    (folder / "lot.gpkg").write_bytes(b"SQLite format 3\0")
    expect_words("pip install 'qmx_ic[geo]'", lambda: qmx_ic.read(folder / "lot.gpkg"))
    assert "pandas" not in sys.modules
    print("reads, studies and reports with NumPy alone")


if __name__ == "__main__":
    main()
