"""The exceptions of the client library: one for each status of a reply, one for no connection.

    KvrpcError
      CallError            the reply of a call has another status than 0
        ArgumentError      1, 5, 6: the argument does not fit; nothing was sent
        ResultError        2: the server's result does not convert
        RpcError           3: the remote call failed, twice
        UnknownProcedure   4: the server has no procedure of this name; nothing was sent
        Refused            9: the verifier refused the call
      ConnectError         there is no connection to the server

The module makes two attempts of a call. If the first one is lost, the second one may still end with
Refused or ConnectError, although the server may have run the procedure.

All of them can be pickled, so they cross from one process to another. None holds a value of the
argument.
"""

from __future__ import annotations

import errno
import os
from typing import Any, Dict, NamedTuple, Optional, Tuple, Type

# The module reports the numbers of Windows sockets on every platform. A name is that of POSIX with
# "WSA" before it.
WINSOCK_NAMES = {
    10004: "WSAEINTR", 10013: "WSAEACCES", 10014: "WSAEFAULT", 10022: "WSAEINVAL",
    10024: "WSAEMFILE", 10035: "WSAEWOULDBLOCK", 10036: "WSAEINPROGRESS", 10037: "WSAEALREADY",
    10038: "WSAENOTSOCK", 10039: "WSAEDESTADDRREQ", 10040: "WSAEMSGSIZE", 10048: "WSAEADDRINUSE",
    10049: "WSAEADDRNOTAVAIL", 10050: "WSAENETDOWN", 10051: "WSAENETUNREACH",
    10052: "WSAENETRESET", 10053: "WSAECONNABORTED", 10054: "WSAECONNRESET", 10055: "WSAENOBUFS",
    10056: "WSAEISCONN", 10057: "WSAENOTCONN", 10058: "WSAESHUTDOWN", 10060: "WSAETIMEDOUT",
    10061: "WSAECONNREFUSED", 10064: "WSAEHOSTDOWN", 10065: "WSAEHOSTUNREACH",
}

TOLD = 10  # problems in the message of an ArgumentError; all are in its attribute


def system_error_name(number: int) -> str:
    """Returns the name of a system error number. For example, 10054 gives "WSAECONNRESET"."""
    return WINSOCK_NAMES.get(number) or errno.errorcode.get(number, "")


def _with_name(text: str) -> str:
    """Adds the name of the error number that ends a text, as in "Error 10061 (WSAECONNREFUSED)"."""
    number = text.rpartition("Error ")[2]
    name = system_error_name(int(number)) if number.isdecimal() else ""
    return f"{text} ({name})" if name else text


def _system_error_text(number: int) -> str:
    """Returns the system's text for an error number. POSIX has other numbers than Windows."""
    name = system_error_name(number).removeprefix("WSA")
    return os.strerror(getattr(errno, name, number))


class Problem(NamedTuple):
    """What is wrong with an argument, and where.

    `path` leads to the value through keys and indexes: ("s_record", "empfnr").
    """

    path: Tuple[str, ...]
    reason: str

    def __str__(self) -> str:
        return f"{'.'.join(self.path) or 'argument'}: {self.reason}"


class KvrpcError(Exception):
    """Base class of all exceptions of this package."""


class CallError(KvrpcError):
    """A reply with another status than 0. `message` is the module's text for it."""

    def __init__(self, procedure: str, status: int, message: str) -> None:
        super().__init__(procedure, status, message)
        self.procedure = procedure
        self.status = status
        self.message = message

    def __str__(self) -> str:
        return f"{self.procedure}: {self.message.strip()}"


class ArgumentError(CallError, ValueError):
    """The argument does not fit the procedure. Nothing was sent.

    `problems` names each place that is wrong. It is empty if the module refused an argument whose
    check was turned off, because the module does not say what is wrong.
    """

    def __init__(self, procedure: str, status: int, message: str,
                 problems: Tuple[Problem, ...] = ()) -> None:
        super().__init__(procedure, status, message)
        self.args = (procedure, status, message, problems)
        self.problems = problems

    def __str__(self) -> str:
        if not self.problems:
            return super().__str__()
        told = "; ".join(map(str, self.problems[:TOLD]))
        more = len(self.problems) - TOLD
        return f"{self.procedure}: {told}" + (f"; and {more} more" if more > 0 else "")


class ResultError(CallError):
    """The server's result does not convert to JSON, for example a union with an unknown selector.

    The server has run the procedure.
    """


class RpcError(CallError):
    """The remote call failed, and so did the module's second attempt on a new connection.

    The server may have run the procedure once, twice or not at all. `rpc_err` is the object of the
    reply; `re_status` says what failed, and `re_errno` and `errno_name` are the system's error
    number and its name if the failure has one.
    """

    def __init__(self, procedure: str, status: int, message: str, rpc_err: Dict[str, Any]) -> None:
        super().__init__(procedure, status, message)
        self.args = (procedure, status, message, rpc_err)
        self.rpc_err = rpc_err
        self.re_status: int = rpc_err["re_status"]
        self.re_errno: Optional[int] = rpc_err.get("re_errno")
        self.errno_name = "" if self.re_errno is None else system_error_name(self.re_errno)

    def __str__(self) -> str:
        text = f"{super().__str__()} (re_status {self.re_status})"
        if self.re_errno is None:
            return text
        return f"{text}: {self.errno_name or self.re_errno}, {_system_error_text(self.re_errno)}"


class UnknownProcedure(CallError):
    """The server has no procedure of this name. Nothing was sent."""


class Refused(CallError):
    """The verifier refused the call. Nothing was sent, unless it had allowed a first attempt.

    If that attempt failed, the verifier was asked again, and the server may have run the procedure.
    """


class ConnectError(KvrpcError, ConnectionError):
    """There is no connection to the server.

    `message` is the module's text. `server`, `host` and `transport` say where it was looked for,
    `port` is the port that the environment gives, None if the portmapper was asked, and `advice`
    says what to look at.

    A call raises it if it cannot connect anew. That may be after its first attempt, so the server
    may have run the procedure.
    """

    def __init__(self, message: str, server: str, host: str, port: Optional[int], transport: str,
                 advice: str) -> None:
        super().__init__(message)
        self.message = message
        self.server = server
        self.host = host
        self.port = port
        self.transport = transport
        self.advice = advice

    def __reduce__(self) -> Any:
        return type(self), (self.message, self.server, self.host, self.port, self.transport,
                            self.advice)

    def __str__(self) -> str:
        where = "portmapper, port 111" if self.port is None else f"port {self.port}"
        return (f"no connection to {self.server} on {self.host} ({where}, {self.transport}): "
                f"{_with_name(self.message.strip())}; {self.advice}")


BY_STATUS: Dict[int, Type[CallError]] = {
    1: ArgumentError, 2: ResultError, 4: UnknownProcedure, 5: ArgumentError, 6: ArgumentError,
    9: Refused,
}


def of_reply(procedure: str, reply: Dict[str, Any]) -> CallError:
    """Returns the exception for the reply of a call, which must have another status than 0."""
    status, message = reply["status"], reply["message"]
    if status == 3:
        return RpcError(procedure, status, message, reply["rpc_err"])
    return BY_STATUS.get(status, CallError)(procedure, status, message)
