"""ONC RPC version 2 messages (RFC 5531), the server's side.

    call    xid, 0, 2, program, version, procedure, credential, verifier, argument
    reply   xid, 1, 0 (accepted), verifier, 0..5, result or what the code says
            xid, 1, 1 (denied), 0 low high | 1 reason

Each word has four bytes; credential and verifier are a flavour and counted bytes.
"""

from __future__ import annotations

import struct
from typing import NamedTuple

from kvrpc_tools.simulator.xdr import XdrError

CALL, REPLY = 0, 1
ACCEPTED, DENIED = 0, 1
SUCCESS, PROG_UNAVAIL, PROG_MISMATCH, PROC_UNAVAIL, GARBAGE_ARGS, SYSTEM_ERR = range(6)
RPC_MISMATCH, AUTH_ERROR = 0, 1
AUTH_TOO_WEAK = 5
RPC_VERSION = 2
MAX_AUTH_BYTES = 400

_HEAD = struct.Struct(">6I")
_AUTH = struct.Struct(">II")
_NO_AUTHENTICATION = bytes(16)  # credential and verifier, as this system's clients send them
_SUCCEEDED = struct.pack(">5I", REPLY, ACCEPTED, 0, 0, SUCCESS)
USUAL_HEADER = _HEAD.size + len(_NO_AUTHENTICATION)  # bytes in front of the argument


class Call(NamedTuple):
    """A call; `argument` is what follows the header."""

    xid: int
    rpc_version: int
    program: int
    version: int
    procedure: int
    argument: bytes


def parse_call(message: bytes) -> Call:
    """Returns the call in `message`. Raises XdrError if it is none."""
    if len(message) < _HEAD.size:
        raise XdrError(f"{len(message)} bytes are no call")
    xid, direction, rpc_version, program, version, procedure = _HEAD.unpack_from(message)
    if direction != CALL:
        raise XdrError(f"message direction {direction}")
    at = _HEAD.size
    if message[at:at + 16] == _NO_AUTHENTICATION:
        at += 16
    else:
        for _ in ("credential", "verifier"):
            at = _after_authentication(message, at)
    return Call(xid, rpc_version, program, version, procedure, message[at:])


def _after_authentication(message: bytes, at: int) -> int:
    """Returns the position after a credential or verifier."""
    size = _AUTH.unpack_from(message, at)[1] if len(message) >= at + _AUTH.size else MAX_AUTH_BYTES
    end = at + _AUTH.size + size + -size % 4
    if size > MAX_AUTH_BYTES or end > len(message):
        raise XdrError("no credential and verifier of 400 bytes at most")
    return end


def build_call(call: Call) -> bytes:
    """Returns the bytes of a call with null authentication, for clients in tests."""
    return _HEAD.pack(call.xid, CALL, call.rpc_version, call.program, call.version,
                      call.procedure) + _NO_AUTHENTICATION + call.argument


def success(xid: int, result: bytes) -> bytes:
    """The call was carried out."""
    return xid.to_bytes(4, "big") + _SUCCEEDED + result


def program_unavailable(xid: int) -> bytes:
    """The server has no such program."""
    return accepted(xid, PROG_UNAVAIL)


def version_mismatch(xid: int, low: int, high: int) -> bytes:
    """The program has the versions `low` to `high`."""
    return accepted(xid, PROG_MISMATCH) + _words(low, high)


def procedure_unavailable(xid: int) -> bytes:
    """The program has no such procedure."""
    return accepted(xid, PROC_UNAVAIL)


def garbage_arguments(xid: int) -> bytes:
    """The argument does not decode."""
    return accepted(xid, GARBAGE_ARGS)


def system_error(xid: int) -> bytes:
    """The server could not carry the call out."""
    return accepted(xid, SYSTEM_ERR)


def rpc_mismatch(xid: int) -> bytes:
    """The call has another version of the protocol."""
    return _words(xid, REPLY, DENIED, RPC_MISMATCH, RPC_VERSION, RPC_VERSION)


def refused(xid: int, reason: int = AUTH_TOO_WEAK) -> bytes:
    """The caller's credential is not accepted."""
    return _words(xid, REPLY, DENIED, AUTH_ERROR, reason)


def with_xid(reply: bytes, xid: int) -> bytes:
    """Returns `reply` under another transaction id."""
    return _words(xid) + reply[4:]


def accepted(xid: int, status: int) -> bytes:
    """Returns an acceptance with any status, also one that RFC 5531 does not have."""
    return _words(xid, REPLY, ACCEPTED, 0, 0, status)


def xid_of(message: bytes) -> int:
    """Returns the transaction id of a message."""
    return int.from_bytes(message[:4], "big")


def _words(*words: int) -> bytes:
    return struct.pack(f">{len(words)}I", *(word & 0xFFFFFFFF for word in words))
