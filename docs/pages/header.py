"""The public header as Doxygen's XML tells it: functions, records and rules, with texts in Markdown.

Whatever lacks a comment is an error: a function, an argument, a field, a failure's cause or remedy.
"""

import dataclasses
import pathlib
import re
import subprocess
import xml.etree.ElementTree as tree


class undocumented(Exception):
    pass


@dataclasses.dataclass
class failure:
    text: str
    code: str
    cause: str
    remedy: str


@dataclasses.dataclass
class function:
    name: str
    signature: str
    brief: str
    details: list  # paragraphs
    arguments: list  # (name, type, direction, text)
    returns: str
    since: str
    sections: dict  # title -> paragraphs, Failures left out
    failures: list
    before_failures: str


@dataclasses.dataclass
class field:
    name: str
    kind: str
    text: str
    offset: int = 0
    size: int = 0


@dataclasses.dataclass
class record:
    name: str
    text: str
    fields: list
    size: int = 0


def text_of(node) -> str:
    """The text of a paragraph in Markdown, in one line."""
    parts = [node.text or ""]
    for child in node:
        if child.tag == "computeroutput":
            parts.append(f"`{''.join(child.itertext())}`")
        elif child.tag in ("ref", "emphasis", "bold"):
            parts.append(text_of(child))
        elif child.tag in ("sp", "linebreak", "nonbreakablespace"):
            parts.append(" ")
        elif child.tag not in ("parameterlist", "simplesect", "itemizedlist"):
            raise undocumented(f"a comment holds <{child.tag}>, which pages do not know")
        parts.append(child.tail or "")
    return re.sub(r"\s+", " ", "".join(parts)).strip()


def blocks_of(description) -> list:
    """Paragraphs and lists of a comment; a list is a list of texts."""
    blocks = []
    for paragraph in description.findall("para"):
        own = text_of(paragraph)
        if own:
            blocks.append(own)
        for items in paragraph.findall("itemizedlist"):
            blocks.append([text_of(item.find("para")) for item in items.findall("listitem")])
    return blocks


def failure_of(item: str, place: str) -> failure:
    shape = r'`"?(?P<text>.*?)"?`(?: \((?P<code>10[12])\))?: (?P<cause>.*?) Remedy: (?P<remedy>.*)'
    found = re.fullmatch(shape, item)
    if not found:
        raise undocumented(f"{place}: a failure needs its text, cause and remedy: {item}")
    return failure(found["text"], found["code"] or "", found["cause"], found["remedy"])


def function_of(member) -> function:
    name = member.findtext("name")
    described = member.find("detaileddescription")
    made = function(name, signature_of(member), text_of(member.find("briefdescription/para")), [], [], "", "", {}, [], "")
    told = {}
    for paragraph in described.findall("para"):
        own = text_of(paragraph)
        if own:
            made.details.append(own)
        for item in paragraph.findall("parameterlist/parameteritem"):
            which = item.find("parameternamelist/parametername")
            told[which.text] = (which.get("direction"), text_of(item.find("parameterdescription/para")))
        for section in paragraph.findall("simplesect"):
            blocks = blocks_of(section)
            if section.get("kind") == "return":
                made.returns = blocks[0]
            elif section.get("kind") == "since":
                made.since = blocks[0]
            else:
                made.sections[section.findtext("title")] = blocks
    for argument in member.findall("param"):
        which = argument.findtext("declname")
        if which not in told:
            raise undocumented(f"{name}: argument {which}")
        made.arguments.append((which, "".join(argument.find("type").itertext()), *told[which]))
    for part in ("brief", "returns", "since"):
        if not getattr(made, part):
            raise undocumented(f"{name}: {part}")
    for title in ("Failures", "Units", "Precision"):
        if title not in made.sections:
            raise undocumented(f"{name}: {title}")
    for block in made.sections.pop("Failures"):
        if isinstance(block, list):
            made.failures += [failure_of(item, name) for item in block]
        else:
            made.before_failures = block
    return made


def signature_of(member) -> str:
    start = f"int32_t {member.findtext('name')}("
    arguments = []
    for argument in member.findall("param"):
        kind = "".join(argument.find("type").itertext())
        arguments.append(kind.replace(" *", "*") + " " + argument.findtext("declname"))
    return start + (",\n" + " " * len(start)).join(re.sub(r"\s+", " ", one) for one in arguments) + ");"


def record_of(path) -> record:
    compound = tree.parse(path).getroot().find("compounddef")
    name = compound.findtext("compoundname")
    brief = [text_of(one) for one in compound.findall("briefdescription/para")]
    text = " ".join(brief + [str(one) for one in blocks_of(compound.find("detaileddescription"))])
    made = record(name, text, [])
    for member in compound.iter("memberdef"):
        kind = "".join(member.find("type").itertext()) + (member.findtext("argsstring") or "")
        told = " ".join(
            text_of(one) for part in ("briefdescription", "detaileddescription") for one in member.findall(f"{part}/para")
        )
        if not told:
            raise undocumented(f"{name}.{member.findtext('name')}")
        made.fields.append(field(member.findtext("name"), kind, told))
    if not made.text or not made.fields:
        raise undocumented(name)
    return made


def lay_out(records, include: pathlib.Path, work: pathlib.Path, compiler: str = "cc") -> None:
    """Asks the compiler for the size of each record and for the place and size of each field."""
    lines = ['#include "qmx_ic.h"', "#include <stdio.h>", "int main(void) {"]
    for one in records:
        lines.append(f'printf("%d\\n", (int)sizeof({one.name}));')
        for part in one.fields:
            place = f"(int)offsetof({one.name}, {part.name}), (int)sizeof((({one.name}*)0)->{part.name})"
            lines.append(f'printf("%d %d\\n", {place});')
    source, program = work / "layout.c", work / "layout"
    source.write_text("\n".join([*lines, "return 0; }", ""]))
    subprocess.run([compiler, "-std=c99", f"-I{include}", str(source), "-o", str(program)], check=True)
    printed = iter(subprocess.run([str(program)], check=True, capture_output=True, text=True).stdout.split("\n"))
    for one in records:
        one.size = int(next(printed))
        for part in one.fields:
            part.offset, part.size = map(int, next(printed).split())


def read(xml: pathlib.Path):
    """Rules (a list of paragraphs and lists), functions and records, in the header's order."""
    index = tree.parse(xml / "index.xml").getroot()
    names = {one.findtext("name"): one.get("refid") for one in index.findall("compound")}
    page = tree.parse(xml / (names["qmx_ic.h"] + ".xml")).getroot().find("compounddef")
    rules = [text_of(one) for one in page.findall("briefdescription/para")]
    rules += blocks_of(page.find("detaileddescription"))
    functions = [function_of(one) for one in page.iter("memberdef") if one.findtext("type") == "int32_t"]
    records = [record_of(xml / (one.get("refid") + ".xml")) for one in index.findall("compound[@kind='struct']")]
    order = (xml / "order.txt").read_text().split()  # of the records in the header
    records.sort(key=lambda one: order.index(one.name))
    if len(functions) != 8 or len(records) != 8:
        raise undocumented(f"{len(functions)} functions and {len(records)} records")
    return rules, functions, records
