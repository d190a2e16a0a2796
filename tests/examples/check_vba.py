"""Compares the VBA module, which nothing here can run, with the public header: the size of each record
and the place of each field, and of each function the order, type and passing of its arguments, in the
64-bit and in the 32-bit half."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADER = (ROOT / "include" / "qmx_ic.h").read_text()
MODULE_BYTES = (ROOT / "examples" / "QmxIc.bas").read_bytes()
MODULE = MODULE_BYTES.decode("ascii").replace("\r\n", "\n")

BYTES = {"Double": 8, "Single": 4, "Long": 4, "Byte": 1}
IN_VBA = {"double": "Double", "float": "Single", "int32_t": "Long", "t_areaflt": "Double"}
faults = []


def expect(found, wanted, what):
    if found != wanted:
        faults.append(f"{what}: {found}, not {wanted}")


def without_comments(text):
    return re.sub(r"/\*.*?\*/", "", text, flags=re.S)


def layouts():
    """Size and offsets of each record, as the header asserts them."""
    sizes = {name: int(size) for name, size in re.findall(r"sizeof\((t_\w+)\) == (\d+)", HEADER)}
    offsets = {name: [] for name in sizes}
    for record, field, offset in re.findall(r"QMX_IC_AT\((t_\w+), (\w+), (\d+)\)", HEADER):
        offsets[record].append((field, int(offset)))
    return sizes, offsets


def check_records():
    sizes, offsets = layouts()
    expect(len(sizes), 8, "records of the header")
    types = dict(re.findall(r"^Public Type (\w+)(.*?)^End Type", MODULE, re.M | re.S))
    for record in sizes:
        if record == "t_areaflt": # too large for a Type
            doubles = int(re.search(r"AREA_DOUBLES As Long = (\d+)", MODULE)[1])
            expect(8 * doubles, sizes[record], record)
            continue
        at = 0
        fields = []
        pattern = r"^    (\w+)(?:\(0 To (\d+)\))? As (\w+) +' offset (\d+)$"
        for field, last, kind, offset in re.findall(pattern, types.get(record, ""), re.M):
            expect(int(offset), at, f"comment at {record}.{field}")
            fields.append((field, at))
            at += BYTES[kind] * (int(last or 0) + 1)
        expect(fields, offsets[record], record)
        expect(at, sizes[record], f"size of {record}")
        expect(f"' {at} bytes" in types.get(record, "").split("\n")[0], True, f"comment at {record}")


def check_functions():
    found = re.findall(r"QMX_IC_API int32_t (\w+)\((.*?)\)", without_comments(HEADER), re.S)
    expect(len(found), 8, "functions of the header")
    for name, arguments in found:
        wanted = []
        for argument in arguments.split(","):
            kind, star, field = re.fullmatch(r"\s*(?:const )?(\w+)(\*?) (\w+)\s*", argument).groups()
            wanted.append(("ByRef" if star else "ByVal", field, IN_VBA.get(kind, kind)))
        declared = re.findall(rf"Function {name} (?:Lib \"QMX_IC.dll\" )?\((.*?)\) As Long|Function {name}\((.*?)\) As Long",
                              MODULE, re.S)
        expect(len(declared), 2, f"declarations of {name}")
        for one in declared:
            expect(re.findall(r"(ByVal|ByRef) (\w+) As (\w+)", one[0] or one[1]), wanted, name)
        called = re.search(rf"CallC\(\"{name}\", (.*?)\)\nEnd Function", MODULE, re.S)[1]
        handed = [re.sub(r"VarPtr\((\w+)\)", r"*\1", part).strip(" _\n") for part in called.split(",")]
        expect(handed, [("*" if how == "ByRef" else "") + field for how, field, _ in wanted], f"call of {name}")


expect(MODULE_BYTES.count(b"\r\n"), MODULE_BYTES.count(b"\n"), "lines that end as VBA's editor wants them")
check_records()
check_functions()
if faults:
    sys.exit("examples/QmxIc.bas:\n  " + "\n  ".join(faults))
print("8 records and 8 functions of the VBA module are those of the header")
