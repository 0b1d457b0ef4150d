"""From the text in a form to a reply, or to the problems of the argument."""

from __future__ import annotations

import json
import threading
import time
from typing import Any, Dict, List, Optional

from ..conversion import conversion
from ..deadline import TimedTransport
from ..errors import ArgumentError, ConnectError, KvrpcError, Problem
from ..schema import own
from ..transport import Allow

Answer = Dict[str, Any]


class Calls:
    """Makes calls to the servers of one host, one at a time for each server."""

    def __init__(self, host: Optional[str], timeout: float) -> None:
        self._host = host
        self._timeout = timeout
        self._transports: Dict[str, TimedTransport] = {}
        self._lock = threading.Lock()

    def check(self, name: str, text: str) -> Answer:
        """Returns the problems of an argument, an empty list for one that fits."""
        try:
            self._call_text(name, text)
        except ArgumentError as error:
            return _refused(error.problems)
        except _NotJson as error:
            return _refused([Problem((), str(error))])
        return {"problems": []}

    def call(self, name: str, text: str) -> Answer:
        """Returns the reply text with its time in milliseconds, or problems, or an error."""
        answer = self.check(name, text)
        if answer["problems"]:
            return answer
        call_text = self._call_text(name, text)
        start = time.perf_counter()
        try:
            with self._lock:
                reply = self._transport(own().procedures[name].server).call(
                    call_text, Allow(), self._timeout)
        except (KvrpcError, TimeoutError) as error:
            return {"error": _told(error)}
        return {"reply": reply.decode(), "milliseconds": (time.perf_counter() - start) * 1000}

    def close(self) -> None:
        """Closes all connections."""
        for transport in self._transports.values():
            transport.close()

    def _call_text(self, name: str, text: str) -> str:
        procedure = own().procedures[name]
        try:
            argument = json.loads(text) if text.strip() else None
        except (ValueError, RecursionError) as error:
            raise _NotJson(f"this is no JSON: {error}") from None
        return conversion(procedure.server, name).call_text(argument)

    def _transport(self, server: str) -> TimedTransport:
        if server not in self._transports:
            self._transports[server] = TimedTransport(server, self._host, self._timeout)
        return self._transports[server]


class _NotJson(Exception):
    pass


def _refused(problems: Any) -> Answer:
    rows: List[Dict[str, Any]] = [
        {"path": list(problem.path), "reason": problem.reason} for problem in problems]
    return {"problems": rows}


def _told(error: Exception) -> str:
    if isinstance(error, ConnectError):
        return f"{str(error).strip()}"
    return str(error) or type(error).__name__
