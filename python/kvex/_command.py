"""The command ``kvex``."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence

from ._convert import Conversion, convert
from ._errors import KvexError
from ._run import version


def main(arguments: Sequence[str] | None = None) -> int:
    """Exit codes: 0 good, 1 failed, 2 wrong usage, 3 done, but data was damaged or a format cannot hold all of it."""
    parser = argparse.ArgumentParser(prog="kvex", description="Recordings as files for other tools.")
    parser.add_argument("--version", action="version", version=f"kvex {version()}")
    commands = parser.add_subparsers(dest="command", required=True)
    command = commands.add_parser(
        "convert",
        help="write recordings as Parquet, Arrow, MDF 4, MATLAB, HDF5 or CSV",
        description="Writes all native samples of recordings, a table for each kind of record of each stream; with "
        "--period one table of values at regular times.",
    )
    command.add_argument("files", nargs="+", metavar="FILE")
    command.add_argument(
        "-o", "--output", required=True, metavar="FOLDER", help="of several files it becomes a dataset with a catalog"
    )
    command.add_argument("--to", required=True, choices=("parquet", "arrow", "mf4", "mat", "hdf5", "csv"))
    command.add_argument(
        "--signals", nargs="+", default=[], metavar="PATTERN", help="only these, as vrel export takes them"
    )
    command.add_argument("--stream", type=int, action="append", default=[], metavar="ID", help="only this stream")
    command.add_argument("--period", type=float, metavar="S", help="values every S seconds in place of native samples")
    command.add_argument("--start", metavar="TIME", help='"+90", "-3m", UTC')
    command.add_argument("--end", metavar="TIME")
    command.add_argument("--multiplexed", action="store_true", help="CAN values only from frames that select them")
    many = command.add_argument_group("several files")
    engine = many.add_mutually_exclusive_group()
    engine.add_argument("--workers", type=_count, metavar="N", help="processes of this machine; all cores if not given")
    engine.add_argument("--scheduler", metavar="ADDRESS", help="a Dask cluster that runs: tcp://HOST:PORT")
    many.add_argument("--refresh", action="store_true", help="convert also what is there and unchanged")
    options = parser.parse_args(arguments)
    try:
        results = convert(
            options.files,
            options.output,
            to=options.to,
            signals=options.signals,
            streams=options.stream,
            period=options.period,
            start=options.start,
            end=options.end,
            multiplexed=options.multiplexed,
            workers=options.workers,
            scheduler=options.scheduler,
            refresh=options.refresh,
            progress=sys.stderr.isatty(),
            done=_tell,
        )
    except (KvexError, OSError, ValueError) as error:
        print(f"kvex: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("kvex: interrupted", file=sys.stderr)
        return 1
    failed = sum(result.error is not None for result in results)
    unchanged = sum(result.unchanged for result in results)
    if len(results) > 1:
        stood = f", {unchanged} of them unchanged" if unchanged else ""
        print(f"kvex: {len(results) - failed} of {len(results)} files converted{stood}", file=sys.stderr)
    if failed == len(results):
        return 1
    return 3 if failed or any(result.damaged or result.warnings for result in results) else 0


def _count(text: str) -> int:
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError("at least one is needed")
    return number


def _tell(result: Conversion) -> None:
    if result.error is not None:
        print(f'kvex: "{result.path}": {result.error}', file=sys.stderr)
    for warning in result.warnings:
        print(f'kvex: warning: "{result.path}": {warning}', file=sys.stderr)
    if result.damaged:
        print(f'kvex: warning: data in "{result.path}" was damaged or lost', file=sys.stderr)


if __name__ == "__main__":
    sys.exit(main())
