"""Where a call went that has failed, and what to try, for the one line of its error."""

from __future__ import annotations

import contextlib
from typing import Any, Dict, Iterator, Optional

from ..directory import locate
from ..errors import RpcError

_ATTRIBUTE = "kvrpc_place"
_SILENT = "is it busy, or does a firewall drop the answers? --timeout sets how long to wait"
_TOO_LONG = "at most 8,800 bytes fit over UDP: use --transport tcp"
_MESSAGE_SIZE = 10040  # the error number of a datagram that is too long
_BY_STATUS = {
    1: _TOO_LONG,
    2: "the reply has another form: has the server another version?",
    3: "the connection is lost: does the server still run?",
    4: "the server closed the connection, or crashed in this call: look at its log",
    5: _SILENT,
    7: "the server wants credentials, which kvrpc does not send",
    8: "another server listens there: are the base port and KORVEXRPCOFFSET right?",
    9: "the server has other versions than 1",
    10: "the server is older than this procedure",
    11: "the server has another record for this argument: has it another version?",
}


@contextlib.contextmanager
def reaching(server: str, host: Optional[str]) -> Iterator[None]:
    """Notes in the error of a call, if it is none of the connection, where the call went."""
    try:
        yield
    except (RpcError, TimeoutError) as error:
        setattr(error, _ATTRIBUTE, locate(server, host))
        raise


def place_of(error: Exception) -> Dict[str, Any]:
    """Returns server, host, port, transport and advice for an error that `reaching` has seen."""
    place = getattr(error, _ATTRIBUTE, None)
    if place is None:
        return {}
    return {**place._asdict(), "advice": _advice(error)}


def _advice(error: Exception) -> str:
    if not isinstance(error, RpcError):
        return _SILENT
    if error.re_errno == _MESSAGE_SIZE:
        return _TOO_LONG
    return _BY_STATUS.get(error.re_status, "look at the log of the server")
