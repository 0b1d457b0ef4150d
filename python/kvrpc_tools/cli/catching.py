"""The bytes that the module sends for a call, caught by a peer on loopback.

The module encodes; nothing here does. The call is made in a worker process, because the module
holds the interpreter lock during a call and this process must receive the bytes meanwhile.
"""

from __future__ import annotations

import contextlib
import os
import socket
import threading
from typing import Iterator, Mapping, Optional

from .._worker_client import WorkerClient
from ..schema import Procedure, own

_HOST = "127.0.0.1"
_SECONDS = 20.0
_LAST = 0x80000000


def sent_bytes(procedure: Procedure, text: str) -> bytes:
    """Returns the message of a call, without the marks of its record. No server gets it."""
    with socket.create_server((_HOST, 0)) as listener:
        listener.settimeout(_SECONDS)
        base = (listener.getsockname()[1] - own().servers[procedure.server].slot) % 65536
        with _leads_to(base):
            client = WorkerClient(procedure.server, _HOST)
            caller = threading.Thread(target=_call, args=(client, text), daemon=True)
            caller.start()
            try:
                connection, _ = listener.accept()
                with connection:
                    connection.settimeout(_SECONDS)
                    return _record(connection)
            finally:
                listener.close()
                caller.join()
                client.close()


def _call(client: WorkerClient, text: str) -> None:
    """Makes the call. It fails, because the peer answers with the end of the connection."""
    with contextlib.suppress(Exception):
        client.call(text, None, _SECONDS)


def _record(connection: socket.socket) -> bytes:
    data = b""
    while True:
        mark = int.from_bytes(_exactly(connection, 4), "big")
        data += _exactly(connection, mark & ~_LAST)
        if mark & _LAST:
            return data


def _exactly(connection: socket.socket, length: int) -> bytes:
    data = bytearray()
    while len(data) < length:
        piece = connection.recv(length - len(data))
        if not piece:
            raise ConnectionError("the module sent no call")
        data += piece
    return bytes(data)


@contextlib.contextmanager
def _leads_to(base: int) -> Iterator[None]:
    """Makes clients connect to this base port, over TCP."""
    wanted = {"KORVEXRPCPORT": str(base), "KORVEXRPCMAP": None, "RPCTRANSPORT": "tcp"}
    before = {name: os.environ.get(name) for name in wanted}
    _apply(wanted)
    try:
        yield
    finally:
        _apply(before)


def _apply(values: Mapping[str, Optional[str]]) -> None:
    for name, value in values.items():
        if value is None:
            os.environ.pop(name, None)
        else:
            os.environ[name] = value
