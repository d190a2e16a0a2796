"""Writes the list of decisions, which are pages too.   decisions_page.py SOURCE"""

import pathlib
import sys

source = pathlib.Path(sys.argv[1])
files = sorted((source / "docs" / "decisions").glob("[0-9]*.md"))
lines = "\n".join(f"docs/decisions/{one.stem}" for one in files)
(source / "decisions.md").write_text(
    "# Decisions\n\nWhy things are as they are: context, options, choice, consequence.\n\n"
    "```{toctree}\n:maxdepth: 1\n\n" + lines + "\n```\n"
)
