"""From a message to its answer: find the procedure, read its argument, let the installation act.

What a server says to a message it cannot take follows RFC 5531: another RPC version is denied,
another program, version or procedure is unavailable, arguments that do not decode are garbage.
"""

from __future__ import annotations

import sys
import time
import traceback
from functools import partial
from typing import Any, Callable, Dict, List, Optional

from kvrpc_tools.schema import Procedure, Schema, Server
from kvrpc_tools.simulator import rpc, spoiling, transport
from kvrpc_tools.simulator.codec import Codec
from kvrpc_tools.simulator.faults import Fault, is_refusing
from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.transport import CLOSE, Answer
from kvrpc_tools.simulator.xdr import XdrError

VERSION = 1
NULL_PROCEDURE = 0
LOG_WIDTH = 160

Log = Callable[[str], None]


class _Compiled(Dict[str, Any]):
    """What the codec makes of each procedure, by its name, made when it is first asked for."""

    def __init__(self, make: Callable[[str], Any]) -> None:
        self._make = make

    def __missing__(self, procedure: str) -> Any:
        self[procedure] = made = self._make(procedure)
        return made


class Dispatcher:
    """Answers for all servers of one installation."""

    def __init__(self, schema: Schema, simulation: Simulation, log: Optional[Log] = None) -> None:
        codec, procedures = Codec(schema), schema.procedures
        self._decoders = _Compiled(lambda name: codec.decoder(procedures[name].argument))
        self._encoders = _Compiled(lambda name: codec.encoder(procedures[name].result))
        self._null_texts = Codec(schema, null_texts=True)
        self._simulation = simulation
        self._log = log
        self._earlier = b""  # the reply to the call before

    def server(self, server: Server) -> transport.Server:
        """Returns what answers at the port of `server`."""
        return transport.Server(partial(self._answer, server), partial(self._hangs_up, server))

    def _answer(self, server: Server, message: bytes, protocol: str) -> Answer:
        if not self._simulation.installation.is_running(server.name):
            self._note(protocol, server, "is stopped and does not answer")
            return Answer(end=CLOSE)
        try:
            call = rpc.parse_call(message)
        except XdrError as error:
            self._note(protocol, server, f"got a message that is no call: {error}")
            return Answer(end=CLOSE)
        procedure = server.procedures.get(call.procedure)
        if (procedure is None or procedure.argument.kind == "unspecified"
                or call[1:4] != (rpc.RPC_VERSION, server.program, VERSION)):
            return self._answer_unknown(server, call, protocol)
        try:
            argument = self._decoders[procedure.name](call.argument)
        except XdrError as error:
            if self._simulation.replay is not None:  # the server of the recording has answered it
                return self._replayed(server, procedure, call, protocol)
            self._note(protocol, server, f"{procedure.name}: bad argument: {error}")
            return Answer(rpc.garbage_arguments(call.xid))
        return self._run(server, procedure, call, argument, protocol)

    def _answer_unknown(self, server: Server, call: rpc.Call, protocol: str) -> Answer:
        """Answers a call of no procedure of this server, which may be the null procedure."""
        refusal = _refusal(server, call)
        if refusal is None:
            return Answer(rpc.success(call.xid, b""))
        self._note(protocol, server, f"refuses program {call.program} version {call.version} "
                                     f"procedure {call.procedure}")
        return Answer(refusal)

    def _run(self, server: Server, procedure: Procedure, call: rpc.Call, argument: Any,
             protocol: str) -> Answer:
        simulation = self._simulation
        expected = simulation.expects(procedure.name)
        fault = simulation.faults.next_for(procedure.name) if expected else None
        outcome = "answered" if fault is None else fault.kind
        simulation.record(server.name, procedure.name, call.argument, protocol,
                          outcome if expected else "unexpected")
        if not expected:
            self._tell(protocol, server, procedure, argument, "unexpected")
            return Answer(rpc.procedure_unavailable(call.xid))
        if fault is not None and is_refusing(fault):
            self._tell(protocol, server, procedure, argument, f"refused on request  [{fault.kind}]")
            return spoiling.refusal(fault, call.xid)
        return self._carry_out(server, procedure, call, argument, protocol, fault)

    def _carry_out(self, server: Server, procedure: Procedure, call: rpc.Call, argument: Any,
                   protocol: str, fault: Optional[Fault]) -> Answer:
        simulation = self._simulation
        if simulation.replay is not None and not simulation.answers.holds(procedure.name):
            answer = self._replayed(server, procedure, call, protocol)
            if fault is not None and answer.message is not None:
                return spoiling.spoiled(fault, answer.message, self._earlier)
            return answer
        null_texts = fault is not None and fault.kind == "null-text"
        try:
            result = simulation.run(procedure.name, argument)
            if procedure.result.kind == "nothing":
                result = None
            encode = (self._null_texts.encoder(procedure.result) if null_texts
                      else self._encoders[procedure.name])
            reply = rpc.success(call.xid, encode(result))
        except Exception:
            traceback.print_exc(file=sys.stderr)
            self._tell(protocol, server, procedure, argument, "failed")
            return Answer(rpc.system_error(call.xid))
        earlier, self._earlier = self._earlier, reply
        if self._log is not None:
            mark = "" if fault is None else f"  [{fault.kind}]"
            self._tell(protocol, server, procedure, argument, f"-> {_short(result)}{mark}")
        if fault is not None:
            return spoiling.spoiled(fault, reply, earlier)
        return Answer(reply, CLOSE if procedure.name.endswith("_exit_1") else "")

    def _replayed(self, server: Server, procedure: Procedure, call: rpc.Call,
                  protocol: str) -> Answer:
        """Answers a call from the recording."""
        assert self._simulation.replay is not None
        self._note(protocol, server, f"{procedure.name} is replayed")
        return self._simulation.replay.answer(
            procedure, call, lambda line: self._note(protocol, server, f"replay: {line}"))

    def _hangs_up(self, server: Server, begun: bytes) -> bool:
        """Returns whether the fault `hang-up` strikes a call whose first bytes have come."""
        procedure = server.procedures.get(int.from_bytes(begun[20:24], "big"))
        if procedure is None or not self._simulation.faults.next_for(procedure.name, "hang-up"):
            return False
        self._simulation.record(server.name, procedure.name, None, "tcp", "hang-up")
        self._note("tcp", server, f"{procedure.name}: refused on request  [hang-up]")
        return True

    def _tell(self, protocol: str, server: Server, procedure: Procedure, argument: Any,
              outcome: str) -> None:
        if self._log is not None:
            told = "" if argument is None else _short(argument)
            self._note(protocol, server, f"{procedure.name}({told}) {outcome}")

    def _note(self, protocol: str, server: Server, line: str) -> None:
        if self._log is not None:
            self._log(f"{time.strftime('%H:%M:%S')} {protocol} {server.name:6} {line}")


def _refusal(server: Server, call: rpc.Call) -> Optional[bytes]:
    """Returns the reply to a call of no procedure, or None for the null procedure."""
    if call.rpc_version != rpc.RPC_VERSION:
        return rpc.rpc_mismatch(call.xid)
    if call.program != server.program:
        return rpc.program_unavailable(call.xid)
    if call.version != VERSION:
        return rpc.version_mismatch(call.xid, VERSION, VERSION)
    return None if call.procedure == NULL_PROCEDURE else rpc.procedure_unavailable(call.xid)


def _short(value: Any) -> str:
    """Returns a value as one line, which is cut if it is long."""
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
