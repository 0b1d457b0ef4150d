"""The command `kvrpc call`."""

from __future__ import annotations

import json
import sys
from typing import Optional, Tuple

import click

from .. import masking, tracing
from ..conversion import conversion
from ..deadline import TimedTransport
from ..schema import SECRETS, Procedure
from . import options
from .catching import sent_bytes
from .names import PROCEDURE
from .reaching import reaching
from .values import argument_of, write_json


class _Attempts:
    """Allows every call, and counts: the module asks before each attempt."""

    def __init__(self) -> None:
        self.count = 0

    def verify_call(self, name: str) -> bool:
        """Returns True."""
        self.count += 1
        return True


@click.command()
@click.argument("procedure", type=PROCEDURE)
@click.argument("argument", required=False, metavar="[JSON|@FILE|-]")
@click.option("-s", "--set", "members", multiple=True, metavar="PATH=VALUE",
              help="Set one member of the argument, for example -s s_record.empfnr=040.")
@options.connection()
@click.option("--raw", is_flag=True, help="Print the module's reply text as it is.")
@click.option("--no-check", is_flag=True, help="Leave the check of the argument to the module.")
@click.option("--dry-run", is_flag=True,
              help="Print the bytes of the call in hex, passwords too; send nothing.")
@click.option("-v", "--verbose", count=True,
              help="Print the time and the attempts; twice, the texts and bytes too.")
@click.option("--show-secrets", is_flag=True, help="Do not mask passwords in what -vv prints.")
@options.as_json
def call(procedure: Procedure, argument: Optional[str], members: Tuple[str, ...],
         host: Optional[str], timeout: Optional[float], raw: bool, no_check: bool, dry_run: bool,
         verbose: int, show_secrets: bool, json_wanted: bool) -> None:
    """Make one call and print its result as JSON.

    The argument is JSON, @FILE, or - for the standard input.
    """
    value = argument_of(argument, members, procedure.argument)
    way = conversion(procedure.server, procedure.name)
    text = way.call_text(value, check=not no_check)
    if dry_run:
        click.echo(sent_bytes(procedure, text).hex())
        return
    if verbose > 1:
        shown = value if show_secrets else masking.masked(procedure.name, value)
        _tell(f"call: {json.dumps({procedure.name: shown}, ensure_ascii=False)}")
        if shown == value:
            _tell(f"bytes: {sent_bytes(procedure, text).hex()}")
    value = None  # so that a large argument is not held twice during the call
    with reaching(procedure.server, host):
        reply = _reply(procedure, host, timeout, text, verbose)
    if verbose > 1 and (show_secrets or not _holds_secret(reply)):
        _tell(f"reply: {reply.decode('utf-8')}")
    if raw:
        click.echo(reply)
    if not raw or tracing.status_of(reply) != 0:
        with reaching(procedure.server, host):
            result = way.streamed(reply)
        del reply
        write_json(result, sys.stdout)


def _reply(procedure: Procedure, host: Optional[str], timeout: Optional[float], text: str,
           verbose: int) -> bytes:
    attempts = _Attempts()
    transport = TimedTransport(procedure.server, host, timeout)
    try:
        with tracing.Watch(procedure, host, None, text) as watch:
            watch.reply = transport.call(text, attempts, timeout)
    finally:
        transport.close()
    if verbose:
        _tell(f"{procedure.name} of {procedure.server}: {watch.seconds * 1e3:.1f} ms, "
              f"{attempts.count} attempt{'s' if attempts.count != 1 else ''}, "
              f"{len(text.encode('utf-8', 'replace'))} bytes out, {len(watch.reply)} in")
    return watch.reply


def _holds_secret(reply: bytes) -> bool:
    return any(f'"{key}":'.encode() in reply for key in SECRETS)


def _tell(line: str) -> None:
    click.echo(line, err=True)
