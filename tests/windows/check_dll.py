#!/usr/bin/env python3
"""What Windows sees of the library: names, needed libraries, protections, version, and the files for linkers.

    check_dll.py --objdump PROGRAM --nm PROGRAM --names LIST --version X.Y.Z --import-library FILE --bits N DLL
"""

import argparse
import pathlib
import re
import struct
import subprocess
import sys

SYSTEM = {"kernel32.dll", "msvcrt.dll"}
PROTECTIONS = {32: {"DYNAMIC_BASE", "NX_COMPAT"}, 64: {"DYNAMIC_BASE", "NX_COMPAT", "HIGH_ENTROPY_VA"}}
# Loads and stores of wide registers that want aligned memory.
ALIGNED = re.compile(r"^.*\bvmov(?:ap[sd]|dqa\w*|ntdqa?|ntp[sd])\s+(?:%[yz]mm\S*\(|\S*\(\S*%[yz]mm).*$", re.MULTILINE)
FORMATS = {32: "pei-i386", 64: "pei-x86-64"}


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def exported_names(headers):
    table = headers.partition("[Ordinal/Name Pointer] Table")[2].split("\n\n", 1)[0]
    return sorted(re.findall(r"^\s*\[\s*\d+\](?: \+base\[\s*\d+\])?\s+(?:[0-9a-f]{4}\s+)?(\S+)$", table, re.MULTILINE))


def version_of(data):
    """File and product version of the record; None without one."""
    at = data.find(struct.pack("<II", 0xFEEF04BD, 0x00010000))
    if at < 0:
        return None
    numbers = struct.unpack_from("<4I", data, at + 8)
    return [f"{high >> 16}.{high & 0xFFFF}.{low >> 16}" for high, low in zip(numbers[::2], numbers[1::2])]


def faults_of(asked):
    dll = pathlib.Path(asked.dll)
    names = sorted(pathlib.Path(asked.names).read_text(encoding="ascii").split())
    headers = output_of(asked.objdump, "-p", asked.dll)

    if f"file format {FORMATS[asked.bits]}" not in headers:
        yield f"the format is not {FORMATS[asked.bits]}"
    if exported_names(headers) != names:
        yield f"exported are {exported_names(headers)}, listed {names}"
    needed = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
    if not needed or needed - SYSTEM:
        yield f"needs {sorted(needed)}, which is more than {sorted(SYSTEM)}"
    missing = PROTECTIONS[asked.bits] - set(re.findall(r"^\s+([A-Z_]+)$", headers, re.MULTILINE))
    if missing:
        yield f"{sorted(missing)} not set"
    sections = output_of(asked.objdump, "-h", asked.dll)
    relocations = re.search(r"\.reloc\s+([0-9a-f]{8})", sections)
    if not relocations or int(relocations[1], 16) < 64:
        yield "there are no relocations, so that it cannot be moved"
    data = dll.read_bytes()
    if version_of(data) != [asked.version] * 2:
        yield f"the version record says {version_of(data)}, the project {asked.version}"
    if dll.name.encode("utf-16-le") not in data or dll.name != "QMX_IC.dll":
        yield f"{dll.name}: not the name, or not in the version record"

    # Windows keeps stacks aligned to 16 bytes only.
    code = output_of(asked.objdump, "-d", "--no-show-raw-insn", asked.dll)
    aligned = ALIGNED.findall(code)
    if aligned:
        yield f"{len(aligned)} instructions want memory aligned to 32 bytes or more, the first {aligned[0].strip()}"
    if asked.bits == 64 and "%ymm" not in code:
        yield "the loops for newer processors are missing"

    listed = re.findall(r"^\s+(\S+) @\d+", dll.with_suffix(".def").read_text(encoding="ascii"), re.MULTILINE)
    if sorted(listed) != names:
        yield f"the .def file lists {listed}"
    prefix = "_" if asked.bits == 32 else ""
    symbols = output_of(asked.nm, asked.import_library)
    for name in names:
        if not re.search(rf" T {prefix}{name}$", symbols, re.MULTILINE):
            yield f"the import library lacks {name}"


def main():
    parser = argparse.ArgumentParser()
    for option in ("--objdump", "--nm", "--names", "--version", "--import-library"):
        parser.add_argument(option, required=True)
    parser.add_argument("--bits", type=int, choices=(32, 64), required=True)
    parser.add_argument("dll")
    asked = parser.parse_args()
    faults = list(faults_of(asked))
    for fault in faults:
        print(f"{asked.dll}: {fault}")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
