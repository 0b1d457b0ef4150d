"""Sockets: TCP with record marking and UDP, in one loop and one thread.

Over UDP a datagram is a message; `records` has how a stream is divided. One thread means that the
installation's state needs no locks. Answers that come late wait in a queue of timers and delay no
other answer.
"""

from __future__ import annotations

import heapq
import itertools
import os
import socket
import struct
import time
from typing import Callable, Dict, List, NamedTuple, Optional, Tuple, Union

from kvrpc_tools.simulator.polling import READ, WRITE, Poll
from kvrpc_tools.simulator.records import RecordReader, framed

LOOPBACK = "127.0.0.1"
RECEIVE = 256 * 1024  # bytes; one buffer for all, because a new one costs a quarter of a small call
_PATIENCE = 0.5  # seconds to wait at most: Windows wakes for Ctrl-C only between two waits

# How a connection ends after an answer. After STALL it stays open, and nothing is sent any more.
CLOSE, RESET, STALL = "close", "reset", "stall"

# struct linger: on, for no seconds. Windows has two shorts there.
_NO_LINGERING = struct.pack("hh" if os.name == "nt" else "ii", 1, 0)


Action = Callable[[int], None]


class Answer(NamedTuple):
    """What is to be done about a message: bytes to send, None for nothing.

    The last five fields spoil the answer. Over UDP nothing ends, and there are no fragments and
    no pauses.
    """

    message: Optional[bytes] = None
    end: str = ""
    delay: float = 0.0  # seconds
    cut: Optional[int] = None  # how many bytes to send of it
    fragment: int = 0  # bytes in each fragment; one fragment for 0
    pause: float = 0.0  # seconds between two bytes
    times: int = 1
    before: bytes = b""  # a message to send first

    def messages(self) -> List[bytes]:
        """Returns the messages to send, in their order."""
        own = [] if self.message is None or self.cut == 0 else [self.message[:self.cut]]
        return ([self.before] if self.before else []) + own * self.times

    def stream(self) -> bytes:
        """Returns the bytes to send on a connection."""
        before = framed(self.before) if self.before else b""
        if self.message is None or self.cut == 0:
            return before
        data = framed(self.message, self.fragment)
        return before + data[:None if self.cut is None else 4 + self.cut] * self.times


# What answers a message. Bytes are one whole message, which nothing spoils: most answers are that.
Reply = Union[bytes, Answer]


class Server(NamedTuple):
    """What answers at a port.

    `answer` takes a message and the transport's name, "tcp" or "udp". `hangs_up` takes the first
    bytes of a call that is still arriving, and says whether to reset the connection at once.
    """

    answer: Callable[[bytes, str], Reply]
    hangs_up: Callable[[bytes], bool] = lambda begun: False


class Loop:
    """Serves any number of ports until `stop` is called.

    `buffer` receives what comes on a connection. Its content counts until the next receive.
    """

    def __init__(self) -> None:
        self.buffer = memoryview(bytearray(RECEIVE))
        self._poll = Poll()
        self._watched: Dict[int, Tuple[socket.socket, Action]] = {}  # by file descriptor
        self._timers: List[Tuple[float, int, Callable[[], None]]] = []
        self._order = itertools.count()
        self._stopped = False

    def serve(self, tcp: socket.socket, udp: socket.socket, server: Server) -> None:
        """Takes over a listening and a datagram socket and answers what comes there."""
        for sock in (tcp, udp):
            sock.setblocking(False)
        self.watch(tcp, READ, lambda events: self._accept(tcp, server))
        self.watch(udp, READ, lambda events: self._datagrams(udp, server))

    def watch(self, sock: socket.socket, events: int, action: Action) -> None:
        """Calls `action` with the events of a socket, whenever there are some."""
        self._poll.register(sock, events)
        self._watched[sock.fileno()] = sock, action

    def watch_again(self, sock: socket.socket, events: int) -> None:
        """Watches a socket for other events than before."""
        self._poll.modify(sock, events)

    def forget(self, sock: socket.socket) -> None:
        """Closes a socket and no longer watches it."""
        self._poll.unregister(sock)
        del self._watched[sock.fileno()]
        sock.close()

    def later(self, seconds: float, action: Callable[[], None]) -> None:
        """Calls `action` after so many seconds."""
        heapq.heappush(self._timers, (time.monotonic() + seconds, next(self._order), action))

    def stop(self) -> None:
        """Makes `run` return."""
        self._stopped = True

    def run(self) -> None:
        """Serves until `stop`; an interrupt from the keyboard passes through."""
        poll, watched, timers = self._poll.poll, self._watched, self._timers
        while not self._stopped:
            for number, events in poll(self._patience() if timers else _PATIENCE):
                if number in watched:  # else an action before this one has closed it
                    watched[number][1](events)
            if timers:
                self._run_timers()

    def close(self) -> None:
        """Closes every socket."""
        for sock, _ in self._watched.values():
            sock.close()
        self._poll.close()

    def _patience(self) -> float:
        """Returns the seconds until the first timer is due."""
        return min(_PATIENCE, max(0.0, self._timers[0][0] - time.monotonic()))

    def _run_timers(self) -> None:
        while self._timers and self._timers[0][0] <= time.monotonic():
            heapq.heappop(self._timers)[2]()

    def _accept(self, listener: socket.socket, server: Server) -> None:
        try:
            sock, _ = listener.accept()
        except OSError:
            return
        _Connection(self, sock, server)

    def _datagrams(self, sock: socket.socket, server: Server) -> None:
        try:
            message, peer = sock.recvfrom(65536)
        except OSError:
            return
        reply = server.answer(message, "udp")
        answer = Answer(reply) if isinstance(reply, bytes) else reply
        if answer.delay > 0:
            self.later(answer.delay, lambda: _send_datagrams(sock, answer, peer))
        else:
            _send_datagrams(sock, answer, peer)


def _send_datagrams(sock: socket.socket, answer: Answer, peer: Tuple[str, int]) -> None:
    try:
        for message in answer.messages():
            sock.sendto(message, peer)
    except OSError:
        pass  # Too long for a datagram, or the peer has gone: it gets no answer, as usual with UDP.


class _Connection:
    """One client's stream. It closes when the client closes, or after an answer that says so."""

    def __init__(self, loop: Loop, sock: socket.socket, server: Server) -> None:
        sock.setblocking(False)
        sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._loop = loop
        self._sock = sock
        self._server = server
        self._records = RecordReader()
        self._output = bytearray()
        self._waits_to_write = False
        self._end = ""
        self._open = True
        loop.watch(sock, READ, self._ready)

    def _ready(self, events: int) -> None:
        if events & ~READ:
            self._flush()
        if self._open and events & ~WRITE:
            self._receive()

    def _receive(self) -> None:
        try:
            size = self._sock.recv_into(self._loop.buffer)
            records = self._records.feed(bytes(self._loop.buffer[:size]))
        except BlockingIOError:
            return
        except (OSError, ValueError):
            self._close()
            return
        for record in records:
            if self._open and not self._end:
                reply = self._server.answer(record, "tcp")
                if isinstance(reply, bytes):
                    self._send(framed(reply))
                else:
                    self._act(reply)
        if not size:
            self._close()
        elif not records:
            self._look_at_begun()

    def _look_at_begun(self) -> None:
        begun = self._records.begun
        if len(begun) == 24 and self._open and self._server.hangs_up(begun):
            self._close(reset=True)

    def _act(self, answer: Answer) -> None:
        if answer.delay > 0:
            self._loop.later(answer.delay, lambda: self._answer(answer))
        else:
            self._answer(answer)

    def _answer(self, answer: Answer) -> None:
        if not self._open:
            return
        self._end = self._end or answer.end
        if answer.pause > 0:
            self._trickle(answer.stream(), answer.pause)
        else:
            self._send(answer.stream())

    def _trickle(self, data: bytes, pause: float) -> None:
        self._send(data[:1])
        if len(data) > 1 and self._open:
            self._loop.later(pause, lambda: self._trickle(data[1:], pause))

    def _send(self, data: bytes) -> None:
        if not self._output and data:
            try:
                sent = self._sock.send(data)
            except BlockingIOError:
                sent = 0
            except OSError:
                self._close()
                return
            if sent == len(data) and not self._end:
                return
            data = data[sent:]
        self._output += data
        self._flush()

    def _flush(self) -> None:
        try:
            while self._output:
                del self._output[:self._sock.send(self._output)]
        except BlockingIOError:
            self._watch_writing(True)
            return
        except OSError:
            self._close()
            return
        self._watch_writing(False)
        if self._end in (CLOSE, RESET):
            self._close(reset=self._end == RESET)

    def _watch_writing(self, wanted: bool) -> None:
        if wanted != self._waits_to_write:
            self._waits_to_write = wanted
            self._loop.watch_again(
                self._sock, READ | (WRITE if wanted else 0))

    def _close(self, reset: bool = False) -> None:
        if self._open:
            self._open = False
            if reset:  # what close() does to a socket that lingers for no time
                self._sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, _NO_LINGERING)
            self._loop.forget(self._sock)
