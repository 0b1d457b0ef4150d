"""The command `kvrpc decode`: bytes from a capture as JSON."""

from __future__ import annotations

import struct
import sys
from typing import Tuple

import click

from .. import masking
from ..recording import as_json
from ..schema import Procedure, WireType, own
from ..simulator.codec import Codec
from ..simulator.xdr import XdrError
from .names import PROCEDURE
from .values import standard_input, write_json

_CALL_HEADER = 40
_REPLY_HEADER = 24


@click.command()
@click.argument("procedure", type=PROCEDURE)
@click.argument("hexadecimal", metavar="HEX|-")
@click.option("--show-secrets", is_flag=True, help="Do not mask passwords.")
def decode(procedure: Procedure, hexadecimal: str, show_secrets: bool) -> None:
    """Decode the bytes of a call or of a reply.

    HEX is a whole message, with or without the mark of its record, over TCP or UDP. White space and
    colons are ignored.
    """
    if hexadecimal == "-":
        hexadecimal = standard_input().decode("utf-8", "replace")
    try:
        data = bytes.fromhex("".join(hexadecimal.replace(":", " ").split()))
    except ValueError as error:
        raise click.UsageError("these are no hexadecimal digits") from error
    direction, wire, body = _parts(procedure, _unmarked(data))
    try:
        value = as_json(Codec(own()).decode(wire, body))
    except (XdrError, struct.error) as error:
        raise click.UsageError(f"these are not the bytes of {procedure.name}: {error}") from error
    if not show_secrets:
        value = (masking.masked(procedure.name, value) if direction == "argument"
                 else masking.masked_value(value))
    write_json({"procedure": procedure.name, direction: value}, sys.stdout)


def _unmarked(data: bytes) -> bytes:
    """Returns a message without the marks of its record."""
    message, place = b"", 0
    while place + 4 <= len(data):
        (mark,) = struct.unpack_from(">I", data, place)
        message += data[place + 4:place + 4 + (mark & 0x7FFFFFFF)]
        place += 4 + (mark & 0x7FFFFFFF)
        if mark & 0x80000000 and place == len(data):
            return message
    return data


def _parts(procedure: Procedure, message: bytes) -> Tuple[str, WireType, bytes]:
    words = struct.unpack(">6I", message[:24]) if len(message) >= 24 else ()
    if words and words[1] == 0 and words[2] == 2:
        if words[5] != procedure.number:
            raise click.UsageError(f"this calls procedure {words[5]}, and {procedure.name} is "
                                   f"procedure {procedure.number}")
        return "argument", procedure.argument, message[_CALL_HEADER:]
    if words and words[1:3] == (1, 0) and words[5] == 0:
        return "result", procedure.result, message[_REPLY_HEADER:]
    raise click.UsageError("these bytes are neither a call nor the reply of a call that succeeded")
