"""Follows the links of the documentation: README.md and docs/ in the repository, and with --pages the
pages made of them. A file has to be there, and a heading to stand in it; an address in the network is
looked at for its form only."""

import argparse
import html.parser
import pathlib
import re
import sys
import urllib.parse

faults = []


def is_external(address: str, place: str) -> bool:
    """Whether an address leads into the network; wrong form is a fault."""
    scheme = urllib.parse.urlsplit(address).scheme
    if scheme in ("", "file"):
        return False
    if not re.fullmatch(r"(https?://[\w.-]+\.[a-z]{2,}(/[^\s<>\"]*)?|mailto:\S+@\S+\.\S+|data:\S+)", address):
        faults.append(f"{place}: the address {address} has a wrong form")
    return True


def heading_anchor(heading: str) -> str:
    text = re.sub(r"[`*]|\[([^\]]*)\]\([^)]*\)", r"\1", heading).strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def without_code(text: str) -> str:
    text = re.sub(r"^(```+)[^\n]*\n.*?^\1[ ]*$", "", text, flags=re.M | re.S)
    return re.sub(r"`[^`\n]*`", "", text)


def anchors_in(path: pathlib.Path) -> set:
    return {heading_anchor(one) for one in re.findall(r"^#+ +(.+)$", without_code_blocks(path), re.M)}


def without_code_blocks(path: pathlib.Path) -> str:
    return re.sub(r"^(```+)[^\n]*\n.*?^\1[ ]*$", "", path.read_text(), flags=re.M | re.S)


def check_sources(root: pathlib.Path) -> int:
    files = [root / "README.md", root / "CHANGELOG.md", *sorted((root / "docs").rglob("*.md"))]
    files = [one for one in files if root / "docs" / "pages" not in one.parents]
    number = 0
    for path in files:
        place = str(path.relative_to(root))
        for address in re.findall(r"\]\(([^)\s]+)\)", without_code(path.read_text())):
            number += 1
            if is_external(address, place):
                continue
            name, _, anchor = address.partition("#")
            target = (path.parent / name).resolve() if name else path.resolve()
            if not target.exists():
                faults.append(f"{place}: {address} leads to no file")
            elif anchor and anchor not in anchors_in(target):
                faults.append(f"{place}: {address} leads to no heading")
    return number


class page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text())

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        self.anchors.update(filter(None, (given.get("id"), given.get("name"))))
        for name in ("href", "src"):
            if given.get(name):
                self.links.append(given[name])


def check_pages(folder: pathlib.Path) -> int:
    pages = {path.resolve(): page(path) for path in sorted(folder.rglob("*.html"))}
    if len(pages) < 20:
        faults.append(f"{folder} holds {len(pages)} pages")
    number = 0
    for path, made in pages.items():
        place = str(path.relative_to(folder.resolve()))
        for address in made.links:
            number += 1
            if is_external(address, place):
                continue
            parts = urllib.parse.urlsplit(address)
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            anchor = urllib.parse.unquote(parts.fragment)
            if not target.is_file():
                faults.append(f"{place}: {address} leads to no file")
            elif anchor and target in pages and anchor not in pages[target].anchors:
                faults.append(f"{place}: {address} leads to no place in the page")
    return number


def main():
    options = argparse.ArgumentParser(description=__doc__)
    options.add_argument("root", type=pathlib.Path)
    options.add_argument("--pages", type=pathlib.Path)
    options = options.parse_args()
    print(f"{check_sources(options.root.resolve())} links in the sources followed")
    if options.pages:
        print(f"{check_pages(options.pages)} links in the pages followed")
    if faults:
        sys.exit("\n".join(sorted(set(faults))))


main()
