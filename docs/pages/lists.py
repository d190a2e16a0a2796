"""Writes the list of decisions, and puts each page of docs/ that index.md does not name into its last list.

    lists.py SOURCE"""

import pathlib
import sys

source = pathlib.Path(sys.argv[1])
files = sorted((source / "docs" / "decisions").glob("[0-9]*.md"))
lines = "\n".join(f"docs/decisions/{one.stem}" for one in files)
(source / "decisions.md").write_text(
    "# Decisions\n\nWhy things are as they are: context, options, choice, consequence.\n\n"
    "```{toctree}\n:maxdepth: 1\n\n" + lines + "\n```\n"
)

index = (source / "index.md").read_text()
pages = [str(one.relative_to(source).with_suffix("")) for one in sorted(source.glob("docs/**/*.md"))]
others = [one for one in pages if one not in index.split() and "docs/decisions/" not in one]
assert index.count("OTHERS\n") == 1
(source / "index.md").write_text(index.replace("OTHERS\n", "".join(one + "\n" for one in others)))
