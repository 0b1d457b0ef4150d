"""From a message to its answer: find the procedure, read its argument, let the installation act.

What a server says to a message it cannot take follows RFC 5531: another RPC version is denied,
another program, version or procedure is unavailable, arguments that do not decode are garbage.
"""

from __future__ import annotations

import sys
import time
import traceback
from functools import partial
from typing import Any, Callable, Dict, List, NamedTuple, Optional

from kvrpc_tools.schema import Procedure, Schema, Server
from kvrpc_tools.simulator import rpc, spoiling, transport
from kvrpc_tools.simulator.codec import Codec
from kvrpc_tools.simulator.faults import Fault, is_refusing
from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.transport import CLOSE, Answer, Reply
from kvrpc_tools.simulator.xdr import XdrError

VERSION = 1
NULL_PROCEDURE = 0
LOG_WIDTH = 160

Log = Callable[[str], None]


class _Route(NamedTuple):
    """A procedure of a server, with what reads its arguments and writes its results."""

    server: Server
    procedure: Procedure
    name: str
    decode: Callable[[bytes], Any]
    encode: Callable[[Any], bytes]
    is_exit: bool


class _Call(NamedTuple):
    """A call of a known procedure. `data` is its argument as it came."""

    route: _Route
    xid: int
    data: bytes
    argument: Any
    protocol: str


class _Port:
    """What is served at one port.

    `known` has the route of each procedure that was called, by the header of such a call without
    its transaction id: it is the same in all calls of this system's clients.
    """

    def __init__(self, server: Server) -> None:
        self.server = server
        self.name = server.name
        self.known: Dict[bytes, _Route] = {}


class Dispatcher:
    """Answers for all servers of one installation."""

    def __init__(self, schema: Schema, simulation: Simulation, log: Optional[Log] = None) -> None:
        self._codec = Codec(schema)
        self._null_texts = Codec(schema, null_texts=True)
        self._simulation = simulation
        self._log = log
        self._earlier = b""  # the reply to the call before

    def server(self, server: Server) -> transport.Server:
        """Returns what answers at the port of `server`."""
        return transport.Server(partial(self._answer, _Port(server)),
                                partial(self._hangs_up, server))

    def _answer(self, port: _Port, message: bytes, protocol: str) -> Reply:
        """Answers a message. A call like earlier ones takes the short way, if nothing steers it."""
        simulation = self._simulation
        route = port.known.get(message[4:rpc.USUAL_HEADER])
        if (route is None or simulation.is_steered
                or port.name not in simulation.installation.running):
            return self._answer_any(port, message, protocol)
        data = message[rpc.USUAL_HEADER:]
        try:
            argument = route.decode(data)
        except XdrError:
            return self._answer_any(port, message, protocol)
        if simulation.keeps_calls:
            simulation.record(port.name, route.name, data, protocol, "answered")
        return self._carry_out(
            _Call(route, int.from_bytes(message[:4], "big"), data, argument, protocol))

    def _answer_any(self, port: _Port, message: bytes, protocol: str) -> Reply:
        server = port.server
        if port.name not in self._simulation.installation.running:
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
        route = self._route(server, procedure)
        if len(message) - len(call.argument) == rpc.USUAL_HEADER:
            port.known[message[4:rpc.USUAL_HEADER]] = route
        return self._take(route, call, protocol)

    def _route(self, server: Server, procedure: Procedure) -> _Route:
        return _Route(server, procedure, procedure.name, self._codec.decoder(procedure.argument),
                      self._codec.encoder(procedure.result), procedure.name.endswith("_exit_1"))

    def _answer_unknown(self, server: Server, call: rpc.Call, protocol: str) -> Answer:
        """Answers a call of no procedure of this server, which may be the null procedure."""
        refusal = _refusal(server, call)
        if refusal is None:
            return Answer(rpc.success(call.xid, b""))
        self._note(protocol, server, f"refuses program {call.program} version {call.version} "
                                     f"procedure {call.procedure}")
        return Answer(refusal)

    def _take(self, route: _Route, call: rpc.Call, protocol: str) -> Reply:
        """Reads the argument of a call and answers it."""
        try:
            argument = route.decode(call.argument)
        except XdrError as error:
            if self._simulation.replay is not None:  # the server of the recording has answered it
                return self._replayed(_Call(route, call.xid, call.argument, None, protocol))
            self._note(protocol, route.server, f"{route.name}: bad argument: {error}")
            return Answer(rpc.garbage_arguments(call.xid))
        return self._run(_Call(route, call.xid, call.argument, argument, protocol))

    def _run(self, call: _Call) -> Reply:
        simulation, name = self._simulation, call.route.name
        expected = simulation.expects(name)
        fault = simulation.faults.next_for(name) if expected else None
        outcome = "answered" if fault is None else fault.kind
        simulation.record(call.route.server.name, name, call.data, call.protocol,
                          outcome if expected else "unexpected")
        if not expected:
            self._tell(call, "unexpected")
            return Answer(rpc.procedure_unavailable(call.xid))
        if fault is not None and is_refusing(fault):
            self._tell(call, f"refused on request  [{fault.kind}]")
            return spoiling.refusal(fault, call.xid)
        if simulation.replay is not None and name not in simulation.answers:
            return self._replayed(call, fault)
        return self._carry_out(call, fault)

    def _carry_out(self, call: _Call, fault: Optional[Fault] = None) -> Reply:
        route = call.route
        try:
            result = self._simulation.run(route.name, call.argument)
            encode = route.encode if fault is None else self._encoder(route, fault)
            reply = rpc.success(call.xid, encode(result))
        except Exception as error:
            self._simulation.note_failure(error)
            traceback.print_exc(file=sys.stderr)
            self._tell(call, "failed")
            return Answer(rpc.system_error(call.xid))
        earlier, self._earlier = self._earlier, reply
        if self._log is not None:
            self._tell_result(call, result, fault)
        if fault is not None:
            return spoiling.spoiled(fault, reply, earlier)
        return Answer(reply, CLOSE) if route.is_exit else reply

    def _encoder(self, route: _Route, fault: Fault) -> Callable[[Any], bytes]:
        if fault.kind == "null-text":
            return self._null_texts.encoder(route.procedure.result)
        return route.encode

    def _replayed(self, call: _Call, fault: Optional[Fault] = None) -> Answer:
        """Answers a call from the recording."""
        server, replay = call.route.server, self._simulation.replay
        assert replay is not None
        self._note(call.protocol, server, f"{call.route.name} is replayed")
        answer = replay.answer(call.route.procedure, call.xid, call.data,
                               lambda line: self._note(call.protocol, server, f"replay: {line}"))
        if fault is not None and answer.message is not None:
            return spoiling.spoiled(fault, answer.message, self._earlier)
        return answer

    def _hangs_up(self, server: Server, begun: bytes) -> bool:
        """Returns whether the fault `hang-up` strikes a call whose first bytes have come."""
        procedure = server.procedures.get(int.from_bytes(begun[20:24], "big"))
        if procedure is None or not self._simulation.faults.next_for(procedure.name, "hang-up"):
            return False
        self._simulation.record(server.name, procedure.name, None, "tcp", "hang-up")
        self._note("tcp", server, f"{procedure.name}: refused on request  [hang-up]")
        return True

    def _tell_result(self, call: _Call, result: Any, fault: Optional[Fault]) -> None:
        mark = "" if fault is None else f"  [{fault.kind}]"
        shown = None if call.route.procedure.result.kind == "nothing" else result
        self._tell(call, f"-> {_short(shown)}{mark}")

    def _tell(self, call: _Call, outcome: str) -> None:
        if self._log is not None:
            told = "" if call.argument is None else _short(call.argument)
            self._note(call.protocol, call.route.server, f"{call.route.name}({told}) {outcome}")

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
