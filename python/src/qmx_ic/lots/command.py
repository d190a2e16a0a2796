"""The command ``python -m qmx_ic batch``: options in, exit code out."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence

from qmx_ic.lots.run import Interrupted, batch
from qmx_ic.lots.cluster import SchedulerLost, WorkersLackPackage
from qmx_ic.lots.journal import JournalError
from qmx_ic.lots.settings import SETTINGS

DONE, SOME_FAILED, WRONG_USAGE, NOT_ALL_MET, LOST, INTERRUPTED = 0, 1, 2, 3, 4, 130

_DESCRIPTION = """\
Studies many lots and makes one table with a row for each: verdicts, key figures, rows dropped, errors.

JOBS are job files (.toml), data files, folders, patterns such as 'season/**/*.csv', or tables of lots: text files
with a column file, files or job and further columns named as the settings below (target, tests, ...). Paths that all
workers share, or addresses such as s3://bucket/lot.csv. In a folder with job files these are the lots. {stem} in
--tests, --area and --exclude stands for the lot's file name without ending: --tests '{stem}-spots.csv'."""

_EPILOG = """\
Exit codes: 0 every lot was studied, 1 some lots failed (their rows say why), 2 wrong usage or unwritable output,
3 not every lot met its thresholds (where --exit-code asks for it), 4 the scheduler is lost, 130 interrupted.
After 4 and 130 the same command with --resume goes on."""


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="python -m qmx_ic", description="Numerical analyses for intelligent compaction data.")
    commands = parser.add_subparsers(dest="command", required=True)
    one = commands.add_parser(
        "batch", help="many lots, one table", description=_DESCRIPTION, epilog=_EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )  # fmt: skip
    one.add_argument("jobs", nargs="+", metavar="JOBS", help="what holds the lots")
    one.add_argument("-o", "--output", required=True, metavar="TABLE", help="the table: .csv, .parquet or .gpkg")
    one.add_argument("--workers", type=_positive, metavar="N", help="local processes; otherwise one for each core")
    one.add_argument("--scheduler", metavar="ADDRESS", help="a running Dask scheduler, such as tcp://10.0.0.1:8786")
    one.add_argument("--reports", metavar="DIR", help="folder for a report of each lot")
    one.add_argument("--index", metavar="PAGE", help="page over all lots; otherwise in DIR or beside the table")
    one.add_argument("--no-index", action="store_true", help="no page over all lots")
    one.add_argument("--resume", action="store_true", help="skip the lots that stand with the same inputs and settings")
    one.add_argument("--memory-limit", default="auto", metavar="SIZE", help="of each local worker, such as 4GiB")
    one.add_argument("--in-flight", type=_positive, default=4, metavar="N", help="lots handed out for each worker (%(default)s)")
    one.add_argument("--progress", action="store_true", default=None, help="show progress where there is no terminal, too")
    one.add_argument("--exit-code", action="store_true", help="end with 3 unless all lots met their thresholds")
    settings = one.add_argument_group("settings for all lots", "As those of qmx-ic report; a table of lots wins.")
    for name, setting in SETTINGS.items():
        if setting.group == "thresholds":
            continue
        flags = [f"--{name.replace('_', '-')}"] + (["--lang"] if name == "language" else [])
        if setting.kind == "yes_no":
            settings.add_argument(*flags, dest=f"setting_{name}", action="store_const", const="yes")
            continue
        action = "append" if setting.kind == "texts" else "store"
        settings.add_argument(*flags, dest=f"setting_{name}", action=action, metavar=setting.kind.rstrip("s").upper())
    settings.add_argument("--threshold", action="append", default=[], metavar="KEY=NUMBER", help="KEY=NUMBER or KEY=off")
    return parser


def _positive(text: str) -> int:
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError(f"{text} is not a positive number")
    return number


def main(words: Sequence[str]) -> int:
    """Runs a command.

    Returns
    -------
    int
        The exit code.
    """
    parser = _parser()
    options = parser.parse_args(words)
    settings: dict[str, object] = {}
    for name in SETTINGS:
        value = getattr(options, f"setting_{name}", None)
        if value is not None:
            settings[name] = value
    for text in options.threshold:
        key, mark, value = text.partition("=")
        if not mark or key not in SETTINGS or SETTINGS[key].group != "thresholds":
            parser.error(f"--threshold {text}: KEY=NUMBER or KEY=off is wanted, with a key of qmx-ic report --help")
        settings[key] = value
    again = "the same command with --resume goes on"
    try:
        summary = batch(
            options.jobs, output=options.output, workers=options.workers, scheduler=options.scheduler,
            reports=options.reports, index=False if options.no_index else options.index or True,
            resume=options.resume, progress=options.progress, memory_limit=options.memory_limit,
            in_flight=options.in_flight, settings=settings,
        )  # fmt: skip
    except Interrupted as stop:
        print(f"\ninterrupted: {stop}, kept in {stop.journal}; {again}", file=sys.stderr)
        return INTERRUPTED
    except SchedulerLost as error:
        print(f"qmx_ic: {error}. What is done is kept; {again}", file=sys.stderr)
        return LOST
    except (ValueError, OSError, ImportError, JournalError, WorkersLackPackage) as error:
        print(f"qmx_ic: {error}", file=sys.stderr)
        return WRONG_USAGE
    print(summary)
    for path in (summary.output, summary.index):
        if path is not None:
            print(f"  {path}")
    if summary.failed:
        return SOME_FAILED
    return NOT_ALL_MET if options.exit_code and summary.met < summary.lots else DONE
