"""What carries a call text to its server and brings the reply text back.

A transport is any object with `call` and `close`. The default is a connection of the module kvrpc
in this process.
"""

from __future__ import annotations

from typing import Optional, Protocol

import kvrpc

from .directory import locate
from .errors import ConnectError


class Verifier(Protocol):
    """Vets calls: a false answer refuses the call of the procedure `name`."""

    def verify_call(self, name: str) -> bool: ...


class Transport(Protocol):
    """A connection to one server."""

    def call(self, text: str, verifier: Verifier, timeout: Optional[float] = None) -> bytes:
        """Carries a call text to the server. Returns the reply text.

        Raises ConnectError if the connection is lost and cannot be made anew, and TimeoutError if
        the call takes more than `timeout` seconds.
        """

    def close(self) -> None:
        """Closes the connection. The next call connects again."""


class Allow:
    """A verifier that allows every call."""

    def verify_call(self, name: str) -> bool:
        """Returns True."""
        return True


class ModuleTransport:
    """A connection of the module, in this process and on the calling thread.

    The module holds the interpreter lock during a call, so no other thread runs meanwhile.
    """

    def __init__(self, server: str, host: Optional[str] = None) -> None:
        self._server = server
        self._host = host
        try:
            self._client = kvrpc.RpcClient(server, host)
        except kvrpc.ClntCreateError as error:
            raise connect_error(self._server, self._host, error.message) from None

    def call(self, text: str, verifier: Verifier) -> bytes:
        """Carries a call text to the server. Returns the reply text."""
        try:
            return self._client.call(text, verifier)
        except kvrpc.ClntCreateError as error:
            raise connect_error(self._server, self._host, error.message) from None

    def close(self) -> None:
        """Closes the connection. The next call connects again."""
        self._client.close()


def connect_error(server: str, host: Optional[str], message: str) -> ConnectError:
    """Returns the exception for a failed connection, of which the module says `message`."""
    place = locate(server, host)
    return ConnectError(message, server, place.host, place.port, place.transport,
                        place.advice(message))
