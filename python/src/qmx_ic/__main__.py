"""The commands of the package: ``python -m qmx_ic batch``."""

from __future__ import annotations

import sys

from qmx_ic.lots.command import main

if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
