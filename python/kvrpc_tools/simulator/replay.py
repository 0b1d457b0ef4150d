"""Answers calls from a recording, see `kvrpc_tools.recording`, in the place of an installation.

A call gets the answer to the first recorded call of its procedure that has the same argument and
has not been used yet; else the next one of its procedure that has not been used, because a time in
an argument is another one each time; else the last one again. A call of a procedure that was not
recorded is refused as unavailable.
"""

from __future__ import annotations

import json
from collections import deque
from typing import Any, Callable, Deque, Dict, Optional

from kvrpc_tools import masking
from kvrpc_tools.recording import OK, as_json, read
from kvrpc_tools.schema import Procedure, Schema
from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.codec import Codec, as_decoded
from kvrpc_tools.simulator.transport import CLOSE, Answer
from kvrpc_tools.simulator.xdr import XdrError

Told = Dict[str, Any]
Note = Callable[[str], None]


class Replay:
    """The calls of one recording. Raises ValueError if the file is none."""

    def __init__(self, schema: Schema, file: str) -> None:
        self._schema = schema
        self._codec = Codec(schema)
        self._secrets, calls = read(file)
        self._calls = list(calls)
        self.rewind()

    def rewind(self) -> None:
        """Makes all calls unused."""
        self._recorded: Dict[str, _Recorded] = {}
        for told in self._calls:
            self._recorded.setdefault(str(told["procedure"]), _Recorded()).add(told)

    def answer(self, procedure: Procedure, xid: int, data: bytes, note: Note) -> Answer:
        """Returns the answer to a call. Calls `note` if nothing recorded fits."""
        told = self._next(procedure, data, note)
        if told is None:
            note(f"{procedure.name} was not recorded")
            return Answer(rpc.procedure_unavailable(xid))
        if told["status"] == OK:
            result = as_decoded(self._schema, procedure.result, told["result"])
            return Answer(rpc.success(xid, self._codec.encode(procedure.result, result)),
                          CLOSE if procedure.name.endswith("_exit_1") else "")
        if told.get("reply") is None:
            return Answer(end=CLOSE)
        return Answer(rpc.with_xid(bytes(4) + bytes.fromhex(told["reply"]), xid))

    def _next(self, procedure: Procedure, data: bytes, note: Note) -> Optional[Told]:
        recorded = self._recorded.get(procedure.name)
        if recorded is None:
            return None
        if not recorded.has_unused():
            return recorded.last
        try:
            argument = as_json(self._codec.decode(procedure.argument, data))
        except XdrError:
            return recorded.take_next()
        if not self._secrets:
            argument = masking.masked(procedure.name, argument)
        told = recorded.take(argument)
        if told is None:
            note(f"{procedure.name}: no recorded call has this argument; taking the next one")
            told = recorded.take_next()
        return told


class _Recorded:
    """The calls of one procedure. `last` is the last of them, whether it is used or not."""

    def __init__(self) -> None:
        self.last: Optional[Told] = None
        self._unused: Dict[int, Told] = {}  # by their places in the recording
        self._first = 0  # no call before this place is unused
        self._with: Dict[str, Deque[int]] = {}  # their places by their arguments, used ones as well

    def add(self, told: Told) -> None:
        """Adds a call after those that are there."""
        place = len(self._unused)
        self.last = self._unused[place] = told
        self._with.setdefault(_text(told.get("argument")), deque()).append(place)

    def has_unused(self) -> bool:
        """Returns whether a call has not been used yet."""
        return bool(self._unused)

    def take(self, argument: Any) -> Optional[Told]:
        """Returns the first unused call with this argument, or None. It is used from now on."""
        places = self._with.get(_text(argument), deque())
        while places:
            told = self._unused.pop(places.popleft(), None)
            if told is not None:
                return told
        return None

    def take_next(self) -> Told:
        """Returns the first unused call. It is used from now on."""
        while self._first not in self._unused:
            self._first += 1
        return self._unused.pop(self._first)


def _text(argument: Any) -> str:
    return json.dumps(argument, sort_keys=True)
