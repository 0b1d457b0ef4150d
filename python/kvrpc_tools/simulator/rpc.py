"""ONC RPC version 2 messages (RFC 5531), the server's side.

    call    xid, 0, 2, program, version, procedure, credential, verifier, argument
    reply   xid, 1, 0 (accepted), verifier, 0..5, result or what the code says
            xid, 1, 1 (denied), 0 low high | 1 reason

Each word has four bytes; credential and verifier are a flavour and counted bytes.
"""

from __future__ import annotations

from dataclasses import dataclass

from kvrpc_tools.simulator.xdr import Reader, Writer, XdrError

CALL, REPLY = 0, 1
ACCEPTED, DENIED = 0, 1
SUCCESS, PROG_UNAVAIL, PROG_MISMATCH, PROC_UNAVAIL, GARBAGE_ARGS, SYSTEM_ERR = range(6)
RPC_MISMATCH, AUTH_ERROR = 0, 1
AUTH_TOO_WEAK = 5
RPC_VERSION = 2
MAX_AUTH_BYTES = 400


@dataclass(frozen=True)
class Call:
    """A call; `argument` is what follows the header."""

    xid: int
    rpc_version: int
    program: int
    version: int
    procedure: int
    argument: bytes


def parse_call(message: bytes) -> Call:
    """The call in `message`; `XdrError` when it is none."""
    reader = Reader(message)
    xid, direction = reader.u_long(), reader.long()
    if direction != CALL:
        raise XdrError(f"message direction {direction}")
    head = [reader.u_long() for _ in range(4)]
    for _ in ("credential", "verifier"):
        reader.long()
        reader.counted(MAX_AUTH_BYTES)
    return Call(xid, head[0], head[1], head[2], head[3], reader.rest())


def build_call(call: Call) -> bytes:
    """The bytes of a call with null authentication, for clients in tests."""
    writer = Writer()
    for word in (call.xid, CALL, call.rpc_version, call.program, call.version, call.procedure,
                 0, 0, 0, 0):
        writer.long(word)
    return writer.written() + call.argument


def success(xid: int, result: bytes) -> bytes:
    return _accepted(xid, SUCCESS) + result


def program_unavailable(xid: int) -> bytes:
    return _accepted(xid, PROG_UNAVAIL)


def version_mismatch(xid: int, low: int, high: int) -> bytes:
    return _accepted(xid, PROG_MISMATCH, low, high)


def procedure_unavailable(xid: int) -> bytes:
    return _accepted(xid, PROC_UNAVAIL)


def garbage_arguments(xid: int) -> bytes:
    return _accepted(xid, GARBAGE_ARGS)


def system_error(xid: int) -> bytes:
    return _accepted(xid, SYSTEM_ERR)


def rpc_mismatch(xid: int) -> bytes:
    return _words(xid, REPLY, DENIED, RPC_MISMATCH, RPC_VERSION, RPC_VERSION)


def refused(xid: int, reason: int = AUTH_TOO_WEAK) -> bytes:
    """The caller's credential is not accepted."""
    return _words(xid, REPLY, DENIED, AUTH_ERROR, reason)


def with_xid(reply: bytes, xid: int) -> bytes:
    """`reply` under another transaction id."""
    return _words(xid) + reply[4:]


def _accepted(xid: int, status: int, *words: int) -> bytes:
    return _words(xid, REPLY, ACCEPTED, 0, 0, status, *words)


def _words(*words: int) -> bytes:
    writer = Writer()
    for word in words:
        writer.long(word)
    return writer.written()
