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

    def call(self, text: str, verifier: Verifier) -> bytes:
        """Carries a call text to the server. Returns the reply text.

        Raises ConnectError if the connection is lost and cannot be made anew.
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
            raise self._connect_error(error) from None

    def call(self, text: str, verifier: Verifier) -> bytes:
        """Carries a call text to the server. Returns the reply text."""
        try:
            return self._client.call(text, verifier)
        except kvrpc.ClntCreateError as error:
            raise self._connect_error(error) from None

    def close(self) -> None:
        """Closes the connection. The next call connects again."""
        self._client.close()

    def _connect_error(self, error: kvrpc.ClntCreateError) -> ConnectError:
        place = locate(self._server, self._host)
        return ConnectError(error.message, self._server, place.host, place.port, place.transport,
                            place.advice(error.message))
