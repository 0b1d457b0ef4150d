"""Answers calls from a recording, see `kvrpc_tools.recording`, in the place of an installation.

A call gets the answer to the first recorded call of its procedure that has the same argument and
has not been used yet; else the next one of its procedure that has not been used, because a time in
an argument is another one each time; else the last one again. A call of a procedure that was not
recorded is refused as unavailable.
"""

from __future__ import annotations

from typing import Any, Callable, Dict, List, Optional

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
        self._unused: Dict[str, List[Told]] = {}
        self._last: Dict[str, Told] = {}
        for told in self._calls:
            self._unused.setdefault(str(told["procedure"]), []).append(told)
            self._last[str(told["procedure"])] = told

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
        unused = self._unused.get(procedure.name)
        if not unused:
            return self._last.get(procedure.name)
        try:
            argument = as_json(self._codec.decode(procedure.argument, data))
        except XdrError:
            return unused.pop(0)
        if not self._secrets:
            argument = masking.masked(procedure.name, argument)
        for place, told in enumerate(unused):
            if told.get("argument") == argument:
                return unused.pop(place)
        note(f"{procedure.name}: no recorded call has this argument; taking the next one")
        return unused.pop(0)
