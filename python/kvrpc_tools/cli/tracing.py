"""The command `kvrpc trace`: prints the calls of a script, which pass a relay on loopback."""

from __future__ import annotations

import contextlib
import json
import os
import shlex
import subprocess
import sys
import threading
from types import TracebackType
from typing import Any, Dict, Iterator, Optional, TextIO, Tuple, Type

import click

from .. import recording
from ..directory import locate
from ..relay import Address, Relay, environment
from ..schema import own
from . import options
from .names import files
from .pinging import print_failure, reason_and_advice, with_port

_WIDTH = 120  # characters of an argument or a result in a line
_PATIENCE = 3.0  # seconds for an answer of a portmapper
_LOCAL = ("localhost", "127.0.0.1")
_GOODBYE = 5.0  # seconds that a script has after Ctrl-C


@click.command(context_settings={"ignore_unknown_options": True, "allow_interspersed_args": False})
@click.argument("words", nargs=-1, type=click.UNPROCESSED, metavar="[SCRIPT [ARGS]...]",
                shell_complete=files)
@click.option("--listen", is_flag=True,
              help="Run no script; print the environment for one, and its calls until Ctrl-C.")
@click.option("--record", metavar="FILE", type=click.Path(dir_okay=False),
              help="Write the calls to a file, for kvrpc simulate --replay FILE.")
@click.option("--quiet", is_flag=True, help="Print no calls.")
@click.option("--show-secrets", is_flag=True,
              help="Do not mask passwords, in the recording either.")
@options.connection(_PATIENCE, "Give up on a portmapper after so many seconds.")
@options.as_json
@click.pass_context
def trace(context: click.Context, words: Tuple[str, ...], listen: bool, record: Optional[str],
          quiet: bool, show_secrets: bool, host: Optional[str], timeout: float,
          json_wanted: bool) -> int:
    """Run a Python script and print each of its calls.

    The calls are printed on the standard error stream. They pass a relay on loopback, unchanged. A
    call to a host that the script names itself goes past the relay, unless that is localhost and
    the servers are there. Options of trace come before SCRIPT, those after it are the script's. The
    exit code is the script's.

    For example: kvrpc trace --record calls.jsonl read_inbox.py
    """
    if listen == bool(words):
        raise click.UsageError("either SCRIPT or --listen is needed")
    output = None if quiet else (_print_json if json_wanted else _Lines(context.color).print)

    def find(server: str, transport: str) -> Address:
        place = with_port(locate(server, host)._replace(transport=transport), timeout)
        assert place.port is not None
        return place.host, place.port

    def complain(server: str, transport: str, error: OSError) -> None:
        place = locate(server, host)._replace(transport=transport)
        print_failure(place, *reason_and_advice(place, error))

    with _Trace(recording.Decoder(own(), show_secrets), output, record, show_secrets) as traced:
        with _relay(find, traced, complain) as relay:
            local = all(locate(server.name, host).host in _LOCAL for server in _servers())
            variables = environment(relay.base, local)
            return _listen(variables) if listen else _run(words, variables)


def _servers() -> Any:
    return [server for server in own().servers.values() if server.procedures]


@contextlib.contextmanager
def _relay(find: Any, traced: _Trace, complain: Any) -> Iterator[Relay]:
    relay = Relay(_servers(), find, traced.take, complain)
    try:
        yield relay
    finally:
        relay.close()


def _run(words: Tuple[str, ...], variables: Dict[str, str]) -> int:
    with subprocess.Popen([sys.executable, *words], env=variables) as script:
        try:
            code = script.wait()
        except KeyboardInterrupt:  # the script has got it too
            with contextlib.suppress(subprocess.TimeoutExpired):
                script.wait(_GOODBYE)
            script.terminate()
            raise
    return code if code >= 0 else 128 - code


def _listen(variables: Dict[str, str]) -> int:
    for name, value in variables.items():
        if os.environ.get(name) != value:
            click.echo(f'set "{name}={value}"' if os.name == "nt"
                       else f"export {name}={shlex.quote(value)}")
    sys.stdout.flush()
    while True:
        threading.Event().wait(0.5)  # Windows notices Ctrl-C only between two waits


class _Trace:
    """Takes the exchanges of all connections: decodes, prints and records them, one at a time."""

    def __init__(self, decoder: recording.Decoder, output: Any, file: Optional[str],
                 secrets: bool) -> None:
        self._decoder = decoder
        self._output = output
        self._lock = threading.Lock()
        self._error: Optional[OSError] = None
        self._file: Optional[TextIO] = None
        if file is not None:
            try:
                self._file = open(file, "w", encoding="utf-8")
            except OSError as error:
                raise click.UsageError(f"{file}: {error.strerror}") from error
            self._write(recording.header(secrets))

    def take(self, message: recording.Message) -> None:
        """Decodes, prints and records one exchange."""
        with self._lock:
            told = self._decoder.told(message)
            if told is None:
                return
            if self._output is not None:
                self._output(told)
            self._write(told)

    def _write(self, told: Dict[str, Any]) -> None:
        if self._file is not None and self._error is None:
            try:
                self._file.write(recording.line_of(told))
                self._file.flush()
            except OSError as error:
                error.filename = self._file.name
                self._error = error  # for the end: the script goes on

    def __enter__(self) -> _Trace:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        with self._lock:
            file, self._file = self._file, None
        if self._error is not None:
            raise self._error
        if file is not None:
            file.close()


class _Lines:
    """Prints one line for each call. `color` is that of the command, which other threads lack."""

    def __init__(self, color: Optional[bool]) -> None:
        self._color = color

    def print(self, told: Dict[str, Any]) -> None:
        """Prints the line of a call."""
        failed = told["status"] != recording.OK
        outcome = (f"status {told['status']}: {told['message']}" if failed
                   else f"-> {_short(told['result'])}")
        name = told["procedure"] or f"procedure {told['number']}"
        line = " ".join([
            f"{told['at']:8.3f}", told["server"], click.style(name, bold=True),
            _short(told["argument"]) if "argument" in told else "(undecodable)",
            click.style(outcome, fg="red") if failed else outcome,
            f"({told['transport']}, {told['milliseconds']:.1f} ms)"])
        click.echo(line, err=True, color=self._color)


def _short(value: Any) -> str:
    text = json.dumps(value, ensure_ascii=False)
    return text if len(text) <= _WIDTH else text[:_WIDTH - 4] + " ..."


def _print_json(told: Dict[str, Any]) -> None:
    click.echo(recording.line_of(told), err=True, nl=False)
