"""Where files are: paths that all workers share, or addresses that fsspec understands."""

from __future__ import annotations

import os
import posixpath
import shutil
from pathlib import Path
from typing import Any

_SIDECARS = (".dbf", ".shx", ".prj", ".cpg")


def is_remote(address: str) -> bool:
    """Whether a worker must copy the file before it can be read."""
    return "://" in address and not address.startswith("file://")


def local_path(address: str) -> str:
    """The path of an address that is no remote one."""
    return address.removeprefix("file://")


def absolute(address: str) -> str:
    """An address that means the same in every folder."""
    return address if "://" in address else os.path.abspath(address)


def joined(folder: str, name: str) -> str:
    """A name that is relative to a folder, as an address."""
    if "://" in name or os.path.isabs(name):
        return name
    if "://" not in folder:
        return os.path.normpath(os.path.join(folder, name))
    scheme, path = folder.split("://", 1)
    return f"{scheme}://{posixpath.normpath(posixpath.join(path, name))}"


def folder_of(address: str) -> str:
    """The folder that a file stands in."""
    return posixpath.dirname(address) if "://" in address else os.path.dirname(os.path.abspath(address))


def name_of(address: str) -> str:
    """The file's own name."""
    return address.rsplit("/", 1)[-1] if "://" in address else os.path.basename(address)


def stem_of(address: str) -> str:
    """The file's own name without its endings for format and compression."""
    name = name_of(address)
    stem, ending = os.path.splitext(name)
    return os.path.splitext(stem)[0] if ending == ".gz" else stem


def file_system(address: str) -> tuple[Any, str]:
    """The fsspec file system of an address, and the path within it.

    Raises
    ------
    ImportError
        If fsspec, or its part for this kind of address, is not installed. The message tells what to install.
    """
    try:
        import fsspec  # type: ignore[import-untyped]
    except ImportError as error:
        raise ImportError(f"{address}: addresses need fsspec: pip install 'qmx_ic[lots]'") from error
    try:
        system, path = fsspec.core.url_to_fs(address)
    except ImportError as error:
        raise ImportError(f"{address}: {error}") from error
    return system, path


def exists_as_folder(address: str) -> bool:
    """Whether the address is a folder."""
    if not is_remote(address):
        return os.path.isdir(local_path(address))
    system, path = file_system(address)
    return bool(system.isdir(path))


def names_in(folder: str) -> list[str]:
    """The files that stand directly in a folder, in the order of their names."""
    if not is_remote(folder):
        path = local_path(folder)
        return [os.path.join(path, one.name) for one in sorted(os.scandir(path), key=lambda one: one.name) if one.is_file()]
    system, path = file_system(folder)
    return sorted(system.unstrip_protocol(one["name"]) for one in system.ls(path, detail=True) if one["type"] == "file")


def matches(pattern: str) -> list[str]:
    """The files that a pattern with ``*``, ``?``, ``[...]`` or ``**`` means, in the order of their names."""
    if not is_remote(pattern):
        import glob

        return sorted(one for one in glob.glob(local_path(pattern), recursive=True) if os.path.isfile(one))
    system, path = file_system(pattern)
    return sorted(system.unstrip_protocol(one) for one in system.glob(path))


def content_of(address: str) -> bytes:
    """The bytes of a small file."""
    if not is_remote(address):
        return Path(local_path(address)).read_bytes()
    system, path = file_system(address)
    return bytes(system.cat_file(path))


def copy_into(address: str, folder: Path) -> Path:
    """Copies a remote file, with what belongs to a shapefile, into a folder of its own there."""
    system, path = file_system(address)
    place = folder / str(len(os.listdir(folder))) if os.listdir(folder) else folder / "0"
    place.mkdir()
    target = place / name_of(address)
    system.get_file(path, str(target))
    stem, ending = os.path.splitext(path)
    if ending == ".shp":
        for sidecar in _SIDECARS:
            if system.exists(stem + sidecar):
                system.get_file(stem + sidecar, str(target.with_suffix(sidecar)))
    return target


def deliver(made: Path, address: str) -> None:
    """Puts a file that was made here where an address says, whole or not at all."""
    if is_remote(address):
        system, path = file_system(address)
        system.put_file(str(made), path)
        return
    target = local_path(address)
    os.makedirs(os.path.dirname(target) or ".", exist_ok=True)
    beside = f"{target}.{os.getpid()}.part"
    shutil.copyfile(made, beside)
    os.replace(beside, target)
