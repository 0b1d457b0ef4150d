"""A connection in a worker process, for threads."""

from __future__ import annotations

import contextlib
import os
import socket
import sys
import threading
from typing import Callable, Iterator, Optional, TypeVar

from . import _exchange
from . import _worker_process as wire
from ._exchange import Exchange, Frame
from ._time_limit import TimeLimit
from ._worker import Worker
from .transport import Verifier

Argument = TypeVar("Argument")
Result = TypeVar("Result")

_PIECE = 1 << 18
_WINDOWS_SLICE = 0.1  # Ctrl-C does not end a wait for a socket there


class WorkerClient:
    """Stands in for kvrpc.RpcClient, with its connection in a worker process.

    It has the methods of that class, and `timeout` ends a call with TimeoutError. That ends the
    worker and its connection too, because a late reply could be taken for that of the next call.
    The next call starts another worker.

    Any thread may call. Other threads go on meanwhile; a second call on the same client waits.
    """

    def __init__(self, which: str, host: Optional[str] = None) -> None:
        self._which = which
        self._host = host
        self._worker: Optional[Worker] = None
        self._is_ready = self._is_connected = False
        self._lock = threading.Lock()
        self._owner = os.getpid()

    def create(self, timeout: Optional[float] = None) -> None:
        """Connects if there is no connection. Raises kvrpc.ClntCreateError if that fails."""
        limit = TimeLimit(timeout)
        with self._alone(limit):
            self._connect(limit)

    def call(self, text: str, verifier: Optional[Verifier],
             timeout: Optional[float] = None) -> bytes:
        """Makes one call as kvrpc.RpcClient.call does. Allowed without a verifier."""
        limit = TimeLimit(timeout)
        with self._alone(limit):
            self._connect(limit)
            return self._run(_exchange.call(text, verifier), limit)

    def close(self) -> None:
        """Ends the worker. The next call starts another."""
        with self._alone(TimeLimit(None)):
            self._discard()

    @contextlib.contextmanager
    def _alone(self, limit: TimeLimit) -> Iterator[None]:
        if self._owner != os.getpid():  # forked, perhaps while another thread held the lock
            self._owner, self._lock, self._worker = os.getpid(), threading.Lock(), None
        left = limit.left()
        if not self._lock.acquire(timeout=-1 if left is None else left):
            raise limit.error()
        try:
            yield
        finally:
            self._lock.release()

    def _start(self) -> Worker:
        self._is_ready = self._is_connected = False
        self._worker = Worker()
        return self._worker

    def _discard(self) -> None:
        if self._worker is not None:
            self._worker.end()
            self._worker = None

    def _connect(self, limit: TimeLimit) -> None:
        worker = self._worker or self._start()
        if not self._is_ready:
            self._wait_for_start(worker, limit)
        now = _exchange.settings()
        if now != worker.settings:
            self._run(_exchange.tell_settings(now), limit)
            worker.settings = now
        if not self._is_connected:
            self._run(_exchange.connect(self._which, self._host), limit)
            self._is_connected = True

    def _wait_for_start(self, worker: Worker, limit: TimeLimit) -> None:
        """Waits until the worker has started. After a timeout, the next call can wait for it."""
        try:
            _receive(worker, limit)
        except TimeoutError:
            raise
        except BaseException:
            self._discard()
            raise
        self._is_ready = True

    def _run(self, exchange: Exchange, limit: TimeLimit) -> bytes:
        assert self._worker is not None
        try:
            last = _drive(self._worker, exchange, limit)
        except BaseException:
            self._discard()
            raise
        return _exchange.checked(last)


def _drive(worker: Worker, exchange: Exchange, limit: TimeLimit) -> Frame:
    """Sends and receives until the exchange ends. Returns its last frame."""
    try:
        kind, data = next(exchange)
        while True:
            _send(worker, wire.header(kind, len(data)), limit)
            _send(worker, data, limit)
            kind, data = exchange.send(_receive(worker, limit))
    except StopIteration as stop:
        last: Frame = stop.value
        return last


def _send(worker: Worker, data: bytes, limit: TimeLimit) -> None:
    rest = memoryview(data)
    while rest:
        rest = rest[_patiently(worker, limit, worker.socket.send, rest):]


def _receive(worker: Worker, limit: TimeLimit) -> Frame:
    header = _read(worker, wire.HEADER, limit)
    kind, length = wire.parsed_header(header)
    return kind, _read(worker, length, limit)


def _read(worker: Worker, length: int, limit: TimeLimit) -> bytes:
    pieces = []
    while length:
        piece = _patiently(worker, limit, worker.socket.recv, min(length, _PIECE))
        if not piece:
            raise worker.failure()
        pieces.append(piece)
        length -= len(piece)
    return pieces[0] if len(pieces) == 1 else b"".join(pieces)


def _patiently(worker: Worker, limit: TimeLimit, operation: Callable[[Argument], Result],
               argument: Argument) -> Result:
    """Runs an operation of the worker's socket within the limit."""
    while True:
        left = limit.left()
        if sys.platform == "win32":
            left = _WINDOWS_SLICE if left is None else min(left, _WINDOWS_SLICE)
        worker.socket.settimeout(left)
        try:
            return operation(argument)
        except socket.timeout:
            continue
        except OSError as error:
            raise worker.failure() from error
