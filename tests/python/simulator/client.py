"""A small client for tests of the simulator alone: calls by name, values as the codec has them."""

from __future__ import annotations

import itertools
import socket
import struct
from typing import Any, Optional, Tuple

from kvrpc_tools.schema import Schema
from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.codec import Codec
from kvrpc_tools.simulator.records import RecordReader, framed
from kvrpc_tools.simulator.transport import LOOPBACK
from kvrpc_tools.simulator.xdr import Reader

_xids = itertools.count(1)


class Unanswered(Exception):
    """The connection ended, or the wait was too long."""


class Client:
    def __init__(self, schema: Schema, base: int, transport: str = "tcp", patience: float = 10.0):
        self.schema = schema
        self.codec = Codec(schema)
        self.base = base
        self.transport = transport
        self.patience = patience

    def call(self, name: str, argument: Any = None) -> Any:
        """The result of a call that must be answered with success."""
        server = self._server_of(name)
        procedure = self.schema.procedures[name]
        xid, reply = self.exchange(server.slot, server.program, 1, procedure.number,
                                   self.codec.encode(procedure.argument, argument))
        words = [Reader(reply[i:i + 4]).u_long() for i in range(0, 24, 4)]
        assert words == [xid, rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.SUCCESS], words
        return self.codec.decode(procedure.result, reply[24:])

    def _server_of(self, name: str):
        return next(server for server in self.schema.servers.values()
                    if any(entry.name == name for entry in server.procedures.values()))

    def exchange(self, slot: int, program: int, version: int, procedure: int, argument: bytes,
                 rpc_version: int = rpc.RPC_VERSION) -> Tuple[int, bytes]:
        """The transaction id and the bytes that answer one call."""
        xid = next(_xids)
        message = rpc.build_call(rpc.Call(xid, rpc_version, program, version, procedure, argument))
        return xid, self.send(slot, message)

    def send(self, slot: int, message: bytes) -> bytes:
        kind = socket.SOCK_STREAM if self.transport == "tcp" else socket.SOCK_DGRAM
        with socket.socket(socket.AF_INET, kind) as sock:
            sock.settimeout(self.patience)
            sock.connect((LOOPBACK, self.base + slot))
            try:
                if self.transport == "tcp":
                    sock.sendall(framed(message))
                    return _record(sock)
                sock.send(message)
                return sock.recv(65536)
            except OSError as error:
                raise Unanswered(str(error)) from error


def _record(sock: socket.socket) -> bytes:
    reader = RecordReader()
    while True:
        data = sock.recv(65536)
        if not data:
            raise Unanswered("the connection has ended")
        records = reader.feed(data)
        if records:
            return records[0]


def fragments(message: bytes, size: int) -> bytes:
    """The message as a record of many fragments."""
    pieces = [message[i:i + size] for i in range(0, len(message), size)]
    last = len(pieces) - 1
    return b"".join(struct.pack(">I", len(piece) | (0x80000000 if i == last else 0)) + piece
                    for i, piece in enumerate(pieces))


def words(reply: bytes, count: int, start: Optional[int] = 0) -> "list[int]":
    """`count` words of a reply."""
    reader = Reader(reply[start:])
    return [reader.u_long() for _ in range(count)]
