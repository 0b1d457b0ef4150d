"""Connections whose calls end in time.

A `timeout` ends a call after so many seconds with TimeoutError, whatever it waits for: the
portmapper, the connection, the sending, the reply. The server may have run the procedure all the
same. The connection is given up, because a late reply could be taken for that of the next call; the
next call makes a new one. There are two ways:

    where                       way                              cost
    main thread, not Windows    the interval timer of POSIX      30 us a call
    elsewhere                   a worker process                 30 ms once, 0.1 ms a call, 4 MB

Measured on Linux, on a busy machine. Under Wine a worker needs a second to start; a deadline that
passes meanwhile leaves it to start for the next call.

The timer and SIGALRM are borrowed for the time of the call. A script that uses them gets its own
alarms meanwhile, at their time. With a worker process, other threads go on during the call. Without
a timeout a call is made in this process, and no other thread runs until it ends.
"""

from __future__ import annotations

import contextlib
import socket
import threading
from typing import TYPE_CHECKING, Callable, List, Optional, TypeVar

import kvrpc

from . import _alarm
from ._time_limit import TimeLimit
from .directory import locate
from .transport import Allow, ModuleTransport, Verifier, connect_error

if TYPE_CHECKING:
    from ._worker_client import WorkerClient

T = TypeVar("T")


class TimedTransport:
    """A connection to one server, with a timeout for each call that wants one.

    It connects at once, within `timeout`. Calls with a timeout outside of the main thread go over a
    connection of their own, which is made for the first of them.
    """

    def __init__(self, server: str, host: Optional[str] = None,
                 timeout: Optional[float] = None) -> None:
        self._server = server
        self._host = host
        self._direct: Optional[ModuleTransport] = None
        self._workers: List[WorkerClient] = []  # the first one is used
        if self._needs_worker(timeout):
            self._from_worker(lambda worker: worker.create(timeout))
        else:
            limit = TimeLimit(timeout)
            _alarm.run(limit, lambda: self._connected(limit))

    def call(self, text: str, verifier: Verifier, timeout: Optional[float] = None) -> bytes:
        """Carries a call text to the server. Returns the reply text.

        Raises TimeoutError if that takes more than `timeout` seconds.
        """
        if timeout is None and self._direct is not None:
            return self._direct.call(text, verifier)
        if self._needs_worker(timeout):
            asked = None if isinstance(verifier, Allow) else verifier
            return self._from_worker(lambda worker: worker.call(text, asked, timeout))
        limit, guarded = TimeLimit(timeout), _alarm.Guarded(verifier)
        return _alarm.run(limit, lambda: self._connected(limit).call(text, guarded))

    def close(self) -> None:
        """Closes the connections. The next call connects again."""
        if self._direct is not None:
            self._direct.close()
        for worker in self._workers:
            worker.close()

    def _connected(self, limit: TimeLimit) -> ModuleTransport:
        if self._direct is None:
            _resolve(locate(self._server, self._host).host, limit)
            self._direct = ModuleTransport(self._server, self._host)
        return self._direct

    def _needs_worker(self, timeout: Optional[float]) -> bool:
        if timeout is None:
            return self._direct is None and bool(self._workers)
        return not _alarm.is_usable()

    def _from_worker(self, request: Callable[[WorkerClient], T]) -> T:
        if not self._workers:
            from ._worker_client import WorkerClient

            # Two threads may come here at once. The second one's client stays without a process.
            self._workers.append(WorkerClient(self._server, self._host))
        try:
            return request(self._workers[0])
        except kvrpc.ClntCreateError as error:
            raise connect_error(self._server, self._host, error.message) from None


def _resolve(host: str, limit: TimeLimit) -> None:
    """Waits until the resolver knows about a host, because nothing can interrupt the module there.

    The module asks it again, and says what is wrong with the name.
    """
    if limit.seconds is None or host.replace(".", "").isdigit():
        return
    asked = threading.Thread(target=_ask_resolver, args=(host,), daemon=True)
    asked.start()
    asked.join(limit.left())
    limit.left()


def _ask_resolver(host: str) -> None:
    with contextlib.suppress(OSError, UnicodeError):
        socket.gethostbyname(host)
