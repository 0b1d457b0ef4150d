"""A worker process and the channel to it.

The module keeps the interpreter lock during a whole call. A process that has to do something else
meanwhile (an event loop, another thread, a deadline's clock) leaves the call to a worker.

A worker ends with its parent, however that ends, and never survives `Worker.end`. A process that
was forked from the parent has no part in the parent's workers.
"""

from __future__ import annotations

import contextlib
import os
import signal
import socket
import subprocess
import sys
import weakref
from typing import Iterator, Tuple

import kvrpc

from . import _exchange
from . import _worker_process as wire
from .errors import KvrpcError

_EXIT_SECONDS = 1.0


class WorkerError(KvrpcError, ConnectionError):
    """A worker process has ended by itself, or did not start."""


class Worker:
    """A worker process and the socket that leads to it.

    The process sends a DONE frame when it is ready. After that it answers each frame with one.
    """

    def __init__(self) -> None:
        self.settings = _exchange.settings()
        self.socket, theirs = socket.socketpair()
        try:
            with theirs:
                self._process = _started(theirs)
        except BaseException:
            self.socket.close()
            raise
        self._finish = weakref.finalize(self, _end, os.getpid(), self._process, self.socket)
        _live.add(self)

    @property
    def pid(self) -> int:
        """The id of the process."""
        return self._process.pid

    def end(self) -> None:
        """Ends the process and its connection. The second time it does nothing."""
        self._finish()

    def failure(self) -> WorkerError:
        """Ends a worker whose channel broke. Returns the error to raise."""
        try:
            how = f"exit code {self._process.wait(_EXIT_SECONDS)}"
        except subprocess.TimeoutExpired:
            how = "its channel is closed"
        self.end()
        return WorkerError(f"the worker process {self.pid} has gone ({how}); "
                           "the server may have received the call")

    def leave_to_parent(self) -> None:
        """Closes, in a forked process, its copies of the parent's descriptors."""
        self._process.returncode = 0  # else subprocess would wait for a process of somebody else
        self.end()


_live: "weakref.WeakSet[Worker]" = weakref.WeakSet()


def _end(owner: int, process: "subprocess.Popen[bytes]", channel: socket.socket) -> None:
    is_owner = os.getpid() == owner
    if is_owner:
        process.kill()
    assert process.stdin is not None
    process.stdin.close()
    channel.close()
    if is_owner:
        process.wait()


def _after_fork() -> None:
    for worker in list(_live):
        worker.leave_to_parent()
    _live.clear()


if sys.platform != "win32":
    os.register_at_fork(after_in_child=_after_fork)


def _interpreter() -> str:
    """Returns the interpreter to start: that of multiprocessing, if a program has set one there."""
    spawn = sys.modules.get("multiprocessing.spawn")
    if spawn is not None:
        return os.fsdecode(spawn.get_executable())
    # In a virtual environment on Windows, sys.executable is a program that starts the interpreter.
    return getattr(sys, "_base_executable", None) or sys.executable


def _command() -> Tuple[str, ...]:
    assert kvrpc.__file__ is not None
    directory = os.path.dirname(os.path.abspath(kvrpc.__file__))
    return _interpreter(), "-I", "-S", "-B", wire.__file__, directory


@contextlib.contextmanager
def _without_ctrl_c() -> Iterator[None]:
    """A process started meanwhile never sees Ctrl-C. What it means is for its parent to decide."""
    if sys.platform != "win32":
        before = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        yield
    finally:
        if sys.platform != "win32":
            signal.pthread_sigmask(signal.SIG_SETMASK, before)


def _started(theirs: socket.socket) -> "subprocess.Popen[bytes]":
    """Starts a process with its end of the channel; its standard input ends with this process."""
    if sys.platform == "win32":
        return _started_on_windows(theirs)
    # The worker closes inherited descriptors itself: only with close_fds=False does subprocess use
    # posix_spawn, which does not copy this process's page tables.
    with _without_ctrl_c():
        return subprocess.Popen(_command(), stdin=subprocess.PIPE, stdout=theirs.fileno(),
                                close_fds=False)


if sys.platform == "win32":
    def _started_on_windows(theirs: socket.socket) -> "subprocess.Popen[bytes]":
        from . import _windows_job

        process = subprocess.Popen(_command(), stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                   creationflags=subprocess.CREATE_NO_WINDOW)
        _windows_job.bind(process)
        shared = theirs.share(process.pid)
        assert process.stdin is not None
        process.stdin.write(len(shared).to_bytes(4, "big") + shared)
        process.stdin.flush()
        return process
