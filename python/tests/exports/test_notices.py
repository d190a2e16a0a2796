"""The wheel says whose code it carries."""

import pathlib
import re

import qmx_ic

FOLDER = pathlib.Path(qmx_ic.__file__).parent
# Libraries that a wheel takes along when it is repaired, and the headings of their notices.
TAKEN_ALONG = {"libfmt": "fmt", "libgcrypt": "Libgcrypt", "libgpg-error": "libgpg-error", "liblodepng": "LodePNG"}


def headings():
    return re.findall(r"^=+\n(.+)\n=+$", (FOLDER / "NOTICES.txt").read_text(encoding="utf-8"), re.M)


def test_what_is_compiled_in_has_its_notice():
    expected = {"libstdc++ and libgcc", "fmt", "JSON for Modern C++", "toml++", "Eigen", "nanobind", "robin_map, in nanobind"}
    assert expected <= set(headings())
    assert "MIT License" in (FOLDER / "LICENSE").read_text(encoding="utf-8")


def test_each_library_that_the_wheel_took_along_has_its_notice():
    libraries = list(FOLDER.parent.glob("qmx_ic.libs/*.so*"))
    for library in libraries:
        name = re.sub(r"-[0-9a-f]{8}\.so.*", "", library.name)
        assert TAKEN_ALONG[name] in headings(), library.name
    assert libraries or not (FOLDER.parent / "qmx_ic.libs").exists()
