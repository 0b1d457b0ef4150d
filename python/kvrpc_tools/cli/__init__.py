"""The command `kvrpc`. What it prints and reads needs the packages of the extra `cli`.

    app         the commands together, errors and exit codes
    names       procedures, records and servers by the names that people type
    options     the options that several commands share
    reaching    where a call went that has failed
    values      arguments from text, and results to text
    listing, describing, calling, pinging, decoding, exporting, watching, tracing, simulating,
    documents, serving
                the commands, one each
"""

from __future__ import annotations

import sys
from importlib.util import find_spec
from typing import Optional, Sequence

NEEDED = ("click", "rich")


def main(arguments: Optional[Sequence[str]] = None) -> int:
    """Runs the command line and returns its exit code."""
    words = sys.argv[1:] if arguments is None else list(arguments)
    if words == ["--version"]:
        print(f"kvrpc {_version()}")
        return 0
    if any(find_spec(name) is None for name in NEEDED):
        print('kvrpc: the command line needs click and rich; run: pip install "kvrpc[cli]"',
              file=sys.stderr)
        return 1
    from .app import run

    return run(words)


def _version() -> str:
    from importlib import metadata

    try:
        return metadata.version("kvrpc")
    except metadata.PackageNotFoundError:
        return "from a tree that is not installed"
