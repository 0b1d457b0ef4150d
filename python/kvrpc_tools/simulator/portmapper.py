"""The portmapper's two questions (RFC 1833, version 2): is it there, and where is a program."""

from __future__ import annotations

from typing import Dict

from kvrpc_tools.simulator import rpc, spoiling, transport
from kvrpc_tools.simulator.faults import PORTMAPPER, is_refusing
from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.transport import CLOSE, Answer
from kvrpc_tools.simulator.xdr import Reader, Writer, XdrError

PORT = 111
PROGRAM, VERSION = 100000, 2
NULL, GETPORT = 0, 3
PROTOCOLS = (6, 17)


class Portmapper:
    """Knows the ports of the programs that are served here, under version 1 each."""

    def __init__(self, ports: Dict[int, int], simulation: Simulation) -> None:
        self._ports = ports
        self._simulation = simulation

    def server(self) -> transport.Server:
        """Returns what answers at the portmapper's port."""
        return transport.Server(self._answer)

    def _answer(self, message: bytes, protocol: str) -> Answer:
        try:
            call = rpc.parse_call(message)
        except XdrError:
            return Answer(end=CLOSE)
        fault = self._simulation.faults.next_for(PORTMAPPER)
        if fault is None:
            return Answer(self._reply(call))
        if is_refusing(fault):
            return spoiling.refusal(fault, call.xid)
        if fault.kind in ("unregistered", "port"):
            return Answer(rpc.success(call.xid, fault.number.to_bytes(4, "big")))
        return spoiling.spoiled(fault, self._reply(call))

    def _reply(self, call: rpc.Call) -> bytes:
        if call.rpc_version != rpc.RPC_VERSION:
            return rpc.rpc_mismatch(call.xid)
        if call.program != PROGRAM:
            return rpc.program_unavailable(call.xid)
        if call.version != VERSION:
            return rpc.version_mismatch(call.xid, VERSION, VERSION)
        if call.procedure == NULL:
            return rpc.success(call.xid, b"")
        if call.procedure == GETPORT:
            return self._getport(call)
        return rpc.procedure_unavailable(call.xid)

    def _getport(self, call: rpc.Call) -> bytes:
        """Returns the port of a program, version and protocol, 0 if it is not served."""
        reader = Reader(call.argument)
        try:
            program, version, protocol, _ = (reader.u_long() for _ in range(4))
        except XdrError:
            return rpc.garbage_arguments(call.xid)
        known = version == 1 and protocol in PROTOCOLS
        writer = Writer()
        writer.long(self._ports.get(program, 0) if known else 0)
        return rpc.success(call.xid, writer.written())
