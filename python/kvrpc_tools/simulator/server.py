"""From a message to its answer: find the procedure, read its argument, let the installation act.

What a server says to a message it cannot take follows RFC 5531: another RPC version is denied,
another program, version or procedure is unavailable, arguments that do not decode are garbage.
"""

from __future__ import annotations

import sys
import time
import traceback
from typing import Any, Callable, List, Optional

from kvrpc_tools.schema import Procedure, Schema, Server
from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.codec import Codec
from kvrpc_tools.simulator.faults import Fault
from kvrpc_tools.simulator.simulation import CallRecord, Simulation
from kvrpc_tools.simulator.transport import Answer, Handler
from kvrpc_tools.simulator.xdr import XdrError

VERSION = 1
NULL_PROCEDURE = 0
LOG_WIDTH = 160

Log = Callable[[str], None]


class Dispatcher:
    """Answers for all servers of one installation."""

    def __init__(self, schema: Schema, simulation: Simulation, log: Optional[Log] = None) -> None:
        self._codec = Codec(schema)
        self._simulation = simulation
        self._log = log

    def handler(self, server: Server) -> Handler:
        """What a transport calls with the messages that reach `server`'s port."""
        return lambda message, transport: self._answer(server, message, transport)

    def _answer(self, server: Server, message: bytes, transport: str) -> Answer:
        if not self._simulation.installation.is_running(server.name):
            self._note(transport, server, "is stopped and does not answer")
            return Answer(close=True)
        try:
            call = rpc.parse_call(message)
        except XdrError as error:
            self._note(transport, server, f"got a message that is no call: {error}")
            return Answer(close=True)
        refusal = _refusal(server, call)
        if refusal is not None:
            self._note(transport, server, f"refuses program {call.program} version {call.version} "
                                          f"procedure {call.procedure}")
            return Answer(refusal)
        if call.procedure == NULL_PROCEDURE:
            return Answer(rpc.success(call.xid, b""))
        return self._run(server, server.procedures[call.procedure], call, transport)

    def _run(self, server: Server, procedure: Procedure, call: rpc.Call, transport: str) -> Answer:
        try:
            argument = self._codec.decode(procedure.argument, call.argument)
        except XdrError as error:
            self._note(transport, server, f"{procedure.name}: bad argument: {error}")
            return Answer(rpc.garbage_arguments(call.xid))
        told = "" if argument is None else _short(argument)
        expected = self._simulation.expects(procedure.name)
        fault = self._simulation.faults.next_for(procedure.name) if expected else None
        outcome = "answered" if fault is None else fault.kind
        self._simulation.calls.append(CallRecord(
            server.name, procedure.name, argument, transport, self._simulation.clock(),
            outcome if expected else "unexpected"))
        if not expected:
            self._note(transport, server, f"{procedure.name}({told}): unexpected")
            return Answer(rpc.procedure_unavailable(call.xid))
        if fault is not None and fault.kind == "refuse":
            self._note(transport, server, f"{procedure.name}: refused on request")
            return Answer(rpc.refused(call.xid))
        reply, line = self._reply(procedure, call, argument)
        line = f"{procedure.name}({told}) {line}"
        if fault is None:
            self._note(transport, server, line)
            return Answer(reply, close=procedure.name.endswith("_exit_1"))
        self._note(transport, server, f"{line}  [{fault.kind}]")
        return spoiled(reply, call, fault)

    def _reply(self, procedure: Procedure, call: rpc.Call, argument: Any) -> "tuple[bytes, str]":
        """Carries the call out. Returns the reply, and the end of the line that tells of it."""
        try:
            result = self._simulation.run(procedure.name, argument)
            if procedure.result.kind == "nothing":
                result = None
            reply = rpc.success(call.xid, self._codec.encode(procedure.result, result))
        except Exception:
            traceback.print_exc(file=sys.stderr)
            return rpc.system_error(call.xid), "failed"
        return reply, f"-> {_short(result)}"

    def _note(self, transport: str, server: Server, line: str) -> None:
        if self._log is not None:
            self._log(f"{time.strftime('%H:%M:%S')} {transport} {server.name:6} {line}")


def _refusal(server: Server, call: rpc.Call) -> Optional[bytes]:
    """The reply to a call that this server does not take, None when it does."""
    if call.rpc_version != rpc.RPC_VERSION:
        return rpc.rpc_mismatch(call.xid)
    if call.program != server.program:
        return rpc.program_unavailable(call.xid)
    if call.version != VERSION:
        return rpc.version_mismatch(call.xid, VERSION, VERSION)
    if call.procedure == NULL_PROCEDURE:
        return None
    procedure = server.procedures.get(call.procedure)
    if procedure is None or procedure.argument.kind == "unspecified":
        return rpc.procedure_unavailable(call.xid)
    return None


def spoiled(reply: bytes, call: rpc.Call, fault: Fault) -> Answer:
    """The answer that `fault` makes of a reply."""
    if fault.kind == "drop":
        return Answer()
    if fault.kind == "delay":
        return Answer(reply, delay=fault.seconds)
    if fault.kind == "cut":
        return Answer(reply, cut=True)
    if fault.kind == "wrong-id":
        return Answer(rpc.with_xid(reply, call.xid ^ 0xFFFFFFFF))
    return Answer(rpc.success(call.xid, b"\xde\xad"))


def _short(value: Any) -> str:
    """A value on one line, cut where it gets long."""
    text = _told(value)
    return text if len(text) <= LOG_WIDTH else text[:LOG_WIDTH - 4] + " ..."


def _told(value: Any) -> str:
    if isinstance(value, dict):
        return "{" + ", ".join(f"{key}: {_told(item)}" for key, item in value.items()) + "}"
    if isinstance(value, list):
        told: List[str] = [_told(item) for item in value[:4]]
        more = [f"... {len(value)} in all"] if len(value) > 4 else []
        return "[" + ", ".join(told + more) + "]"
    return "nothing" if value is None else repr(value)
