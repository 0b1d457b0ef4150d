"""Calls as a relay sees them on the wire, and files of them.

A recording is a text file with one JSON object a line. The first line is about the file:

    {"recording":1,"secrets":false}

`secrets` says whether passwords are in it; otherwise they are `***`. Each line after it is one
call, in the order of the replies:

    key           value
    at            seconds since the start of the recording, when the call came
    server        for example "lambda"
    procedure     its name; null if the server has none of this number
    number        its number
    transport     "tcp" or "udp"
    argument      as in a call of the client library: lists are arrays, bytes are Base64
    status        0 for a result, 3 for anything else, as in a reply text
    message       what went wrong, with status 3
    result        the result, with status 0
    reply         with status 3: what followed the transaction id of the reply, in hex, but for a
                  result that does not decode; null if there was no reply
    milliseconds  from the whole call to the whole reply

An argument that does not decode is left out.
"""

from __future__ import annotations

import base64
import contextlib
import json
import struct
from pathlib import Path
from typing import Any, Dict, Iterator, NamedTuple, Optional, Tuple, Union

from . import masking
from .schema import Procedure, Schema, Server
from .simulator.codec import Codec
from .simulator.rpc import parse_call
from .simulator.xdr import XdrError

VERSION = 1
NULL_PROCEDURE = 0
OK, FAILED = 0, 3

_ACCEPTED = {0: "ok", 1: "Program unavailable", 2: "Program/version mismatch",
             3: "Procedure unavailable", 4: "Server can't decode arguments",
             5: "Remote system error"}
_RESULT_AT = 24  # offset of the result in a reply: six words come before it


class Message(NamedTuple):
    """One exchange on the wire. `reply` is None if there was none. Times are in seconds."""

    server: Server
    transport: str
    call: bytes
    reply: Optional[bytes]
    at: float
    seconds: float


class Decoder:
    """Makes the JSON object of a call from its messages. Leaves passwords out unless `secrets`."""

    def __init__(self, schema: Schema, secrets: bool = False) -> None:
        self._codec = Codec(schema)
        self._secrets = secrets

    def told(self, message: Message) -> Optional[Dict[str, Any]]:
        """Returns the object of a call, or None for what is no call, and for procedure 0."""
        try:
            call = parse_call(message.call)
        except XdrError:
            return None
        if call.procedure == NULL_PROCEDURE:
            return None
        procedure = message.server.procedures.get(call.procedure)
        told: Dict[str, Any] = {
            "at": round(message.at, 3), "server": message.server.name,
            "procedure": procedure.name if procedure else None, "number": call.procedure,
            "transport": message.transport}
        if procedure is not None:
            with contextlib.suppress(XdrError, struct.error):
                argument = as_json(self._codec.decode(procedure.argument, call.argument))
                told["argument"] = (argument if self._secrets
                                    else masking.masked(procedure.name, argument))
        told.update(self._outcome(procedure, message.reply))
        told["milliseconds"] = round(message.seconds * 1e3, 3)
        return told

    def _outcome(self, procedure: Optional[Procedure], reply: Optional[bytes]) -> Dict[str, Any]:
        if reply is None:
            return {"status": FAILED, "message": "no reply", "reply": None}
        failure = _failure(reply)
        if not failure and procedure is not None:
            try:
                result = as_json(self._codec.decode(procedure.result, reply[_RESULT_AT:]))
            except (XdrError, struct.error):
                failure = "Can't decode result"
            else:
                return {"status": OK,
                        "result": result if self._secrets else masking.masked_value(result)}
        return {"status": FAILED, "message": failure or "no such procedure is known",
                "reply": reply[4:_RESULT_AT if failure.startswith("Can't") else None].hex()}


def _failure(reply: bytes) -> str:
    """Returns what a reply says has failed, or "" for a reply with a result."""
    if len(reply) < _RESULT_AT:
        return "Authentication error" if reply[8:12] == b"\0\0\0\1" else "Can't decode result"
    words = struct.unpack(">6I", reply[:_RESULT_AT])
    if words[2] == 1:
        return "RPC: version mismatch" if words[3] == 0 else "Authentication error"
    if words[3:5] != (0, 0):
        return "Failed (unspecified error)"
    status = words[5]
    return "" if status == 0 else _ACCEPTED.get(status, "Failed (unspecified error)")


def as_json(value: Any) -> Any:
    """Returns a decoded value with Base64 texts in the place of bytes, as a reply text has it."""
    if isinstance(value, bytes):
        return base64.b64encode(value).decode()
    if isinstance(value, dict):
        return {key: as_json(each) for key, each in value.items()}
    return [as_json(each) for each in value] if isinstance(value, list) else value


def line_of(told: Dict[str, Any]) -> str:
    """Returns an object as one line of a recording."""
    return json.dumps(told, ensure_ascii=False, separators=(",", ":")) + "\n"


def header(secrets: bool) -> Dict[str, Any]:
    """Returns the object of a recording's first line."""
    return {"recording": VERSION, "secrets": secrets}


def read(file: Union[str, Path]) -> Tuple[bool, Iterator[Dict[str, Any]]]:
    """Reads a recording. Returns whether it has passwords, and its calls.

    Raises ValueError, which names the line, if the file is no recording.
    """
    objects = []
    with Path(file).open("rb") as lines:  # as text, a line would also end at U+0085
        for number, line in enumerate(lines, 1):
            try:
                objects.append(json.loads(line.decode("utf-8")))
            except (ValueError, RecursionError) as error:
                raise ValueError(f"{file}, line {number}: {error}") from error
    if not objects or not isinstance(objects[0], dict) or objects[0].get("recording") != VERSION:
        raise ValueError(f"{file} is no recording of version {VERSION}")
    for number, each in enumerate(objects[1:], 2):
        if not isinstance(each, dict) or not {"procedure", "server", "status"} <= set(each):
            raise ValueError(f"{file}, line {number}: not the object of a call")
    return bool(objects[0].get("secrets")), iter(objects[1:])
