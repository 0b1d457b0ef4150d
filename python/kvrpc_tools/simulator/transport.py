"""Sockets: TCP with record marking and UDP, in one loop and one thread.

Over TCP a message is a chain of fragments, each behind a word whose top bit says that it is the
last and whose other bits give its length. Over UDP a datagram is a message.

One thread means that the installation's state needs no locks. Answers that come late wait in a
queue of timers and hold nobody else up.
"""

from __future__ import annotations

import heapq
import itertools
import selectors
import socket
import struct
import time
from dataclasses import dataclass
from typing import Callable, List, Optional, Tuple

LOOPBACK = "127.0.0.1"
LAST_FRAGMENT = 0x80000000
MAX_MESSAGE = 64 * 1024 * 1024
RECEIVE = 256 * 1024

_HEADER = struct.Struct(">I")


@dataclass(frozen=True)
class Answer:
    """What is to be done about a message: bytes to send after `delay` seconds, None for nothing.

    `cut` sends only the first half and closes, `close` closes behind the whole. Over UDP there is
    nothing to close.
    """

    message: Optional[bytes] = None
    delay: float = 0.0
    cut: bool = False
    close: bool = False


# Takes a message and the transport's name, "tcp" or "udp".
Handler = Callable[[bytes, str], Answer]


def framed(message: bytes) -> bytes:
    """The message as one record of one fragment."""
    return _HEADER.pack(LAST_FRAGMENT | len(message)) + message


class RecordReader:
    """Puts records together from the bytes of a stream."""

    def __init__(self) -> None:
        self._input = bytearray()
        self._record = bytearray()

    def feed(self, data: bytes) -> List[bytes]:
        """The records that end in `data`; ValueError when one grows beyond all reason."""
        self._input += data
        records: List[bytes] = []
        while len(self._input) >= _HEADER.size:
            word = _HEADER.unpack_from(self._input)[0]
            end = _HEADER.size + (word & ~LAST_FRAGMENT)
            if end + len(self._record) > MAX_MESSAGE:
                raise ValueError("record too long")
            if len(self._input) < end:
                break
            self._record += self._input[_HEADER.size:end]
            del self._input[:end]
            if word & LAST_FRAGMENT:
                records.append(bytes(self._record))
                self._record.clear()
        return records


class Loop:
    """Serves any number of ports until `stop` is called."""

    def __init__(self) -> None:
        self._selector = selectors.DefaultSelector()
        self._timers: List[Tuple[float, int, Callable[[], None]]] = []
        self._order = itertools.count()
        self._stopped = False

    def serve(self, tcp: socket.socket, udp: socket.socket, handler: Handler) -> None:
        """Takes over a listening and a datagram socket and answers what comes there."""
        for sock in (tcp, udp):
            sock.setblocking(False)
        self.watch(tcp, selectors.EVENT_READ, lambda events: self._accept(tcp, handler))
        self.watch(udp, selectors.EVENT_READ, lambda events: self._datagrams(udp, handler))

    def watch(self, sock: socket.socket, events: int, action: Callable[[int], None]) -> None:
        self._selector.register(sock, events, action)

    def watch_again(self, sock: socket.socket, events: int) -> None:
        self._selector.modify(sock, events, self._selector.get_key(sock).data)

    def forget(self, sock: socket.socket) -> None:
        self._selector.unregister(sock)
        sock.close()

    def later(self, seconds: float, action: Callable[[], None]) -> None:
        heapq.heappush(self._timers, (time.monotonic() + seconds, next(self._order), action))

    def stop(self) -> None:
        self._stopped = True

    def run(self) -> None:
        """Serves until `stop`; an interrupt from the keyboard passes through."""
        while not self._stopped:
            for key, events in self._selector.select(self._patience()):
                key.data(events)
            self._run_timers()

    def close(self) -> None:
        """Closes every socket."""
        for key in list(self._selector.get_map().values()):
            key.fileobj.close()  # type: ignore[union-attr]
        self._selector.close()

    def _patience(self) -> float:
        """Seconds to wait; Windows wakes for Ctrl-C only between two waits."""
        if not self._timers:
            return 0.5
        return min(0.5, max(0.0, self._timers[0][0] - time.monotonic()))

    def _run_timers(self) -> None:
        while self._timers and self._timers[0][0] <= time.monotonic():
            heapq.heappop(self._timers)[2]()

    def _accept(self, listener: socket.socket, handler: Handler) -> None:
        try:
            sock, _ = listener.accept()
        except OSError:
            return
        _Connection(self, sock, handler)

    def _datagrams(self, sock: socket.socket, handler: Handler) -> None:
        try:
            message, peer = sock.recvfrom(65536)
        except OSError:
            return
        answer = handler(message, "udp")
        if answer.message is not None:
            size = len(answer.message) // 2 if answer.cut else len(answer.message)
            data = answer.message[:size]
            self.later(answer.delay, lambda: _send_datagram(sock, data, peer))


def _send_datagram(sock: socket.socket, data: bytes, peer: Tuple[str, int]) -> None:
    try:
        sock.sendto(data, peer)
    except OSError:
        pass  # Too long for a datagram, or the peer has gone: it sees no answer, as ever with UDP.


class _Connection:
    """One client's stream. It closes when the client does, or behind an answer that says so."""

    def __init__(self, loop: Loop, sock: socket.socket, handler: Handler) -> None:
        sock.setblocking(False)
        sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._loop = loop
        self._sock = sock
        self._handler = handler
        self._records = RecordReader()
        self._output = bytearray()
        self._closing = False
        self._open = True
        loop.watch(sock, selectors.EVENT_READ, self._ready)

    def _ready(self, events: int) -> None:
        if events & selectors.EVENT_WRITE:
            self._flush()
        if self._open and events & selectors.EVENT_READ:
            self._receive()

    def _receive(self) -> None:
        try:
            data = self._sock.recv(RECEIVE)
            records = self._records.feed(data)
        except BlockingIOError:
            return
        except (OSError, ValueError):
            self._close()
            return
        if not data:
            self._close()
        for record in records:
            if self._open and not self._closing:
                self._act(self._handler(record, "tcp"))

    def _act(self, answer: Answer) -> None:
        if answer.delay > 0:
            self._loop.later(answer.delay, lambda: self._send(answer))
        else:
            self._send(answer)

    def _send(self, answer: Answer) -> None:
        if not self._open:
            return
        if answer.message is not None:
            data = framed(answer.message)
            self._output += data[:len(data) // 2] if answer.cut else data
        self._closing = self._closing or answer.cut or answer.close
        self._flush()

    def _flush(self) -> None:
        try:
            while self._output:
                del self._output[:self._sock.send(self._output)]
        except BlockingIOError:
            self._loop.watch_again(self._sock, selectors.EVENT_READ | selectors.EVENT_WRITE)
            return
        except OSError:
            self._close()
            return
        if self._closing:
            self._close()
        else:
            self._loop.watch_again(self._sock, selectors.EVENT_READ)

    def _close(self) -> None:
        if self._open:
            self._open = False
            self._loop.forget(self._sock)
