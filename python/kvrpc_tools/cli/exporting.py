"""The command `kvrpc export`: the entries of a list, one a line, to a file."""

from __future__ import annotations

import contextlib
import csv
import json
import sys
import time
from typing import Any, Callable, Dict, Iterable, Iterator, Optional, TextIO, Tuple

import click

from .. import client as clients
from ..blocks import Blocks
from ..conversion import conversion
from ..schema import Procedure, WireType, own
from . import options
from .names import PROCEDURE
from .reaching import reaching
from .values import argument_of

_SHOWN_EVERY = 0.1  # seconds between two updates of the progress bar
_encode = json.JSONEncoder(ensure_ascii=False, separators=(",", ":")).encode


@click.command()
@click.argument("procedure", type=PROCEDURE)
@click.argument("argument", required=False, metavar="[JSON|@FILE|-]")
@click.option("-s", "--set", "members", multiple=True, metavar="PATH=VALUE",
              help="Set one member of the argument.")
@click.option("--csv", "kind", flag_value="csv", help="A table: one column for each field.")
@click.option("--jsonl", "kind", flag_value="jsonl", default="jsonl",
              help="One JSON object a line (the default).")
@click.option("-o", "--output", type=click.File("w", encoding="utf-8", lazy=True), default="-",
              metavar="FILE", help="The file to write; else the standard output.")
@click.option("--step", type=click.IntRange(min=1), metavar="N",
              help="Entries or bytes in a block, where a list is read in blocks.")
@options.connection()
@options.as_json
def export(procedure: Procedure, argument: Optional[str], members: Tuple[str, ...], kind: str,
           output: TextIO, step: Optional[int], host: Optional[str], timeout: Optional[float],
           json_wanted: bool) -> None:
    """Write the entries of a list to a file. A list that is read in blocks is read to its end.

    For example: kvrpc export a_get_s -s loginid=7 --csv -o jobs.csv
    """
    value = argument_of(argument, members, procedure.argument)
    make = getattr(clients, procedure.server.title())
    with reaching(procedure.server, host), make(host, timeout=timeout) as connected, \
            _progress(output) as shown:
        entries = shown(_entries(connected, procedure, value, step))
        if kind == "csv":
            node = _node_type(procedure)
            _write_table(_wrapped_in(node) or node, entries, output)
        else:
            output.writelines(_encode(entry) + "\n" for entry in entries)
        output.flush()


def _entries(connected: clients.Client, procedure: Procedure, value: Any, step: Optional[int]
             ) -> Iterator[Any]:
    """Yields what the result lists, without the wrapping of a node."""
    if _has_blocks(procedure):
        entries = connected.blocks(procedure.name, value, step=step)
    else:
        entries = connected.entries(procedure.name, value)
    wrapped = _wrapped_in(_node_type(procedure)) is not None
    for entry in entries:
        yield entry["data"] if wrapped else entry


def _has_blocks(procedure: Procedure) -> bool:
    try:
        Blocks(own(), procedure)
    except ValueError:
        return False
    return True


def _node_type(procedure: Procedure) -> WireType:
    """Returns the type of a list's entries. Data in blocks that are no list's are lines of text."""
    wire = conversion(procedure.server, procedure.name).entry_type
    return WireType("text") if wire == procedure.result and _has_blocks(procedure) else wire


def _wrapped_in(node: WireType) -> Optional[WireType]:
    """Returns the type of the field `data`, if nodes have no other field."""
    record = own().records.get(node.record) if node.kind == "record" else None
    if record is None:
        return None
    fields = [field for field in record.fields if field is not record.link]
    return fields[0].type if [field.key for field in fields] == ["data"] else None


def _write_table(wire: WireType, entries: Iterable[Any], output: TextIO) -> None:
    columns = list(_columns(wire, ""))
    table = csv.writer(output, lineterminator="\n")
    table.writerow(columns)
    for entry in entries:
        cells = dict(_cells(entry, ""))
        table.writerow([cells.get(column, "") for column in columns])


def _columns(wire: WireType, path: str) -> Iterator[str]:
    """Yields the names of a type's columns. For example, `a.b` is the field b of the record in a.

    A union has the columns of all its arms. A list in an entry is one column, of JSON.
    """
    record = own().records.get(wire.record) if wire.kind == "record" else None
    if record is None:
        yield path or "value"
        return
    if record.is_union:
        yield _below(path, record.discriminant)
    for field in record.fields:
        if field is not record.link:
            yield from _columns(field.type, _below(path, field.key))


def _cells(value: Any, path: str) -> Iterator[Tuple[str, Any]]:
    """Yields the cells of an entry under the names of their columns."""
    if isinstance(value, dict):
        for key, item in value.items():
            yield from _cells(item, _below(path, key))
    else:
        yield path or "value", _encode(value) if isinstance(value, (list, bool)) else value


def _below(path: str, key: str) -> str:
    return f"{path}.{key}" if path else key


@contextlib.contextmanager
def _progress(output: TextIO) -> Iterator[Callable[[Iterable[Any]], Iterable[Any]]]:
    """Shows the number of entries so far on a terminal, unless the entries go to it themselves."""
    if not sys.stderr.isatty() or (getattr(output, "name", "-") in ("-", "<stdout>")
                                   and sys.stdout.isatty()):
        yield lambda entries: entries
        return
    from rich.console import Console
    from rich.progress import BarColumn, Progress, TextColumn, TimeElapsedColumn

    told: Dict[str, Any] = {"total": None}
    with Progress(BarColumn(), TextColumn("{task.completed} entries"), TimeElapsedColumn(),
                  console=Console(stderr=True)) as progress:
        task = progress.add_task("", **told)

        def count(entries: Iterable[Any]) -> Iterator[Any]:
            number, shown = 0, time.monotonic()
            for number, entry in enumerate(entries, 1):
                yield entry
                if time.monotonic() - shown > _SHOWN_EVERY:
                    shown = time.monotonic()
                    progress.update(task, completed=number)
            progress.update(task, total=number or 1, completed=number)

        yield count
