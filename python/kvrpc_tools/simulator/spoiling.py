"""What a fault makes of a call: a refusal in place of its answer, or its answer spoiled."""

from __future__ import annotations

from typing import Callable, Dict

from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.faults import Fault
from kvrpc_tools.simulator.transport import CLOSE, RESET, STALL, Answer

_OTHER_ID = 0xFFFFFFFF  # by which `wrong-id` differs from the call's own

_REFUSALS: Dict[str, Callable[[int, int], bytes]] = {
    "refuse": rpc.refused,
    "rpc-mismatch": lambda xid, _: rpc.rpc_mismatch(xid),
    "no-program": lambda xid, _: rpc.program_unavailable(xid),
    "no-version": lambda xid, version: rpc.version_mismatch(xid, version, version),
    "no-procedure": lambda xid, _: rpc.procedure_unavailable(xid),
    "bad-arguments": lambda xid, _: rpc.garbage_arguments(xid),
    "system-error": lambda xid, _: rpc.system_error(xid),
    "unknown-status": rpc.accepted,
}

_SPOILED: Dict[str, Callable[[bytes, Fault], Answer]] = {
    "drop": lambda reply, fault: Answer(),
    "delay": lambda reply, fault: Answer(reply, delay=fault.value or 0.0),
    "cut": lambda reply, fault: Answer(reply, cut=_bytes(reply, fault), end=CLOSE),
    "stall": lambda reply, fault: Answer(reply, cut=_bytes(reply, fault), end=STALL),
    "reset": lambda reply, fault: Answer(reply, cut=fault.number, end=RESET),
    "trickle": lambda reply, fault: Answer(reply, pause=fault.value or 0.0),
    "fragments": lambda reply, fault: Answer(reply, fragment=fault.number),
    "duplicate": lambda reply, fault: Answer(reply, times=fault.number),
    "wrong-id": lambda reply, fault: Answer(
        rpc.with_xid(reply, rpc.xid_of(reply) ^ _OTHER_ID)),
    "garble": lambda reply, fault: Answer(_garbled(reply, fault.number)),
    "garbage": lambda reply, fault: Answer(rpc.success(rpc.xid_of(reply), b"\xde\xad")),
    "pad": lambda reply, fault: Answer(reply + bytes(fault.number)),
}


def refusal(fault: Fault, xid: int) -> Answer:
    """Returns the answer of a refusing fault."""
    if fault.kind == "hang-up":
        return Answer(end=RESET)
    return Answer(_REFUSALS[fault.kind](xid, fault.number))


def spoiled(fault: Fault, reply: bytes, earlier: bytes = b"") -> Answer:
    """Returns what a spoiling fault makes of a reply. `earlier` is the reply before it."""
    if fault.kind == "reorder":
        return Answer(reply, before=earlier)
    make = _SPOILED.get(fault.kind)
    return Answer(reply) if make is None else make(reply, fault)


def _bytes(reply: bytes, fault: Fault) -> int:
    return len(reply) // 2 if fault.value is None else fault.number


def _garbled(reply: bytes, place: int) -> bytes:
    at = min(place, len(reply) - 1)
    return reply[:at] + bytes([reply[at] ^ 0xFF]) + reply[at + 1:]
