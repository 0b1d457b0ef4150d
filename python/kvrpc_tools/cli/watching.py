"""The command `kvrpc watch`: states, processes and log records of an installation, as they change.

On a terminal it is a table that fills the screen and is drawn again for each look. Elsewhere each
change is a line. Only the server knows what the numbers of states mean, so they are printed as they
come.
"""

from __future__ import annotations

import contextlib
import itertools
import json
import sys
import time
from collections import deque
from typing import TYPE_CHECKING, Any, Callable, Deque, Dict, Iterator, List, NamedTuple, Optional

import click

from ..client import Lambda
from ..directory import locate
from ..errors import KvrpcError
from . import options

if TYPE_CHECKING:
    from rich.console import RenderableType

_PATIENCE = 5.0  # seconds for each call
_RECORDS = 100  # log records that are kept
_TITLES = {"state_fax": "fax system", "state_gateways": "gateways", "state_daemons": "daemons",
           "state_drivers": "drivers"}
_NUMBERS = ("slot", "pid", "status", "severity")  # the columns that are aligned to the right


class Look(NamedTuple):
    """What one look at the server has found. `error` is "" if the server has answered.

    `records` are the log records since the look before, at first the last ones.
    """

    states: Dict[str, int]
    processes: List[Dict[str, Any]]
    records: List[Dict[str, Any]]
    error: str = ""


@click.command()
@click.argument("server", type=click.Choice(["lambda"]), default="lambda", metavar="[lambda]")
@click.option("--interval", type=click.FloatRange(min=0.1), default=2.0, show_default=True,
              metavar="SECONDS", help="Look so often.")
@click.option("--count", type=click.IntRange(min=1), metavar="N",
              help="End after so many looks; else Ctrl-C ends it.")
@options.connection(_PATIENCE, "Give up a call after so many seconds.")
@options.as_json
def watch(server: str, interval: float, count: Optional[int], host: Optional[str],
          timeout: float, json_wanted: bool) -> int:
    """Watch an installation: states, processes and last log records.

    A server that does not answer is asked again. The exit code is 3 if it does not answer the last
    look of --count.
    """
    place = locate(server, host)
    title = f"{server} on {place.host}, port {place.port or 'unknown'}, {place.transport}"
    looks = _looks(host, timeout)
    with _display(title, json_wanted) as show:
        for number in itertools.count(1):
            look = next(looks)
            show(look)
            if number == count:
                return 3 if look.error else 0
            time.sleep(interval)
    return 0


def _looks(host: Optional[str], timeout: float) -> Iterator[Look]:
    """Yields one look after the other, over one connection or, after a failure, a new one."""
    client: Optional[Lambda] = None
    known = -1  # log records that have been read
    while True:
        try:
            client = client or Lambda(host, timeout=timeout)
            number = client.call("l_get_nr_recs_1")
            first = known if 0 <= known <= number else number - _RECORDS
            look = Look(client.call("l_get_status_1"), client.call("l_ps_1"),
                        [client.call("l_get_rec_1", at) for at in range(max(0, first), number)])
            known = number
        except (KvrpcError, TimeoutError) as error:
            if client is not None:
                client.close()
            client = None
            look = Look({}, [], [], " ".join(str(error).split()))
        yield look


@contextlib.contextmanager
def _display(title: str, json_wanted: bool) -> Iterator[Callable[[Look], None]]:
    if json_wanted:
        yield _print_json
    elif sys.stdout.isatty():
        with _screen(title) as show:
            yield show
    else:
        yield _Lines(title).print


def _print_json(look: Look) -> None:
    click.echo(json.dumps(look._asdict(), ensure_ascii=False, separators=(",", ":")))
    sys.stdout.flush()


class _Lines:
    """Prints each change as a line."""

    def __init__(self, title: str) -> None:
        self._title = title
        self._before: Optional[Look] = None

    def print(self, look: Look) -> None:
        """Prints what differs from the look before."""
        before, self._before = self._before, look
        if look.error:
            if before is None or before.error != look.error:
                self._line(f"no answer: {look.error}")
            return
        if before is None or before.error:
            self._line(self._title)
            before = before or Look({}, [], [])
        if look.states != before.states:
            self._line(", ".join(f"{_TITLES.get(key, key)} {state}"
                                 for key, state in look.states.items()))
        known = {each["slot"]: each for each in before.processes}
        for each in look.processes:
            if known.get(each["slot"]) != each:
                self._line(f"slot {each['slot']}: {_plain(each['cmd'])}, pid {each['pid'] or '-'}, "
                           f"status {each['status']}")
        for record in look.records:
            self._line(" ".join(_record_cells(record)))
        sys.stdout.flush()

    def _line(self, text: str) -> None:
        click.echo(f"{time.strftime('%H:%M:%S')} {text}")


def _record_cells(record: Dict[str, Any]) -> List[str]:
    stamp = time.strftime("%d.%m. %H:%M:%S", time.localtime(record["time_stamp"]))
    return [stamp, _plain(record["origin_id"]), str(record["severity"]), _plain(record["data"])]


def _plain(text: str) -> str:
    """Returns a server's text without what a terminal could take for a command."""
    return "".join(each if each.isprintable() else "?" for each in text)


@contextlib.contextmanager
def _screen(title: str) -> Iterator[Callable[[Look], None]]:
    """Shows looks on the terminal's other screen, so that the first one comes back unchanged."""
    from rich.console import Console
    from rich.live import Live

    console = Console()
    last = Look({}, [], [])
    records: Deque[Dict[str, Any]] = deque(maxlen=_RECORDS)
    with Live(console=console, screen=True, auto_refresh=False, vertical_overflow="crop") as live:
        def show(look: Look) -> None:
            nonlocal last
            if not look.error:
                last = look
                records.extend(look.records)
            live.update(_drawn(title, last, records, look.error, console.height), refresh=True)

        yield show


def _drawn(title: str, look: Look, records: Deque[Dict[str, Any]], error: str, height: int
           ) -> RenderableType:
    """Returns the picture: what the last good look has found, and the error of a failed one."""
    from rich.console import Group
    from rich.table import Table
    from rich.text import Text

    stamp = time.strftime("%H:%M:%S")
    heading = Text(f"{title}  {stamp}", style="bold")
    trouble = Text(f"no answer, trying again: {error}" if error else "", style="bold red")
    states = Text("   ".join(f"{_TITLES.get(key, key)} {state}"
                             for key, state in look.states.items())
                  + f"   processes {len(look.processes)}")
    room = max(2, height - 6)  # lines for both tables, without their headings
    shown = min(len(look.processes), max(1, room * 2 // 3))
    processes = _table(Table(box=None, pad_edge=False), "slot pid status process directory")
    for each in look.processes[:shown]:
        processes.add_row(str(each["slot"]), str(each["pid"] or "-"), str(each["status"]),
                          Text(_plain(each["cmd"])), Text(_plain(each["dir"])))
    log = _table(Table(box=None, pad_edge=False, expand=True), "time origin severity record")
    for record in list(records)[-max(1, room - shown):]:
        log.add_row(*map(Text, _record_cells(record)))
    return Group(heading, states, trouble, processes, Text(""), log)


def _table(table: Any, titles: str) -> Any:
    for title in titles.split():
        table.add_column(title, no_wrap=True, header_style="bold",
                         ratio=1 if title == "record" else None,
                         justify="right" if title in _NUMBERS else "left",
                         style="dim" if title == "time" else "")
    return table
