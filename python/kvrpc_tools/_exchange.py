"""The conversation with a worker process, without any I/O.

An exchange is a generator. It yields a frame to send and is sent the frame that came back; it
returns the last frame, which `checked` turns into data or an exception. `WorkerClient` drives
exchanges with blocking sockets, `aio` in an event loop:

    frame = next(exchange)
    while True:                            # until StopIteration brings the last frame
        frame = exchange.send(receive_frame_after_sending(frame))

If an exchange is broken off (a deadline, a cancellation, Ctrl-C), the worker must be ended, because
its next frame would belong to the old exchange.
"""

from __future__ import annotations

import os
import traceback
from typing import Generator, Optional, Tuple

import kvrpc

from . import _worker_process as wire
from .directory import VARIABLES
from .transport import Verifier

Frame = Tuple[bytes, bytes]
Exchange = Generator[Frame, Frame, Frame]
Settings = Tuple[Optional[str], ...]

_INT = 1 << 31


def settings() -> Settings:
    """Returns the variables that lead to a server, as this process has them now."""
    return tuple(map(os.environ.get, VARIABLES))


def tell_settings(values: Settings) -> Exchange:
    """Gives the worker the variables that lead to a server."""
    entries = [name if value is None else f"{name}={value}"
               for name, value in zip(VARIABLES, values)]
    return (yield wire.SETTINGS, "\0".join(entries).encode("utf-8", "surrogateescape"))


def connect(which: str, host: Optional[str]) -> Exchange:
    """Makes the worker's connection to the server `which`."""
    address = which if host is None else f"{which}\0{host}"
    return (yield wire.CONNECT, address.encode("utf-8"))


def call(text: str, verifier: Optional[Verifier]) -> Exchange:
    """Makes one call; the last frame has the reply. Without a verifier the call is allowed.

    The verifier is asked here, in the middle of the call and again for a second attempt, as the
    module asks it.
    """
    kind = wire.CALL if verifier is None else wire.VETTED_CALL
    frame = yield kind, text.encode("utf-8")
    while frame[0] == wire.ASK:
        assert verifier is not None
        allowed = _verdict(verifier, frame[1].decode("utf-8"))
        frame = yield wire.ALLOWED if allowed else wire.REFUSED, b""
    return frame


def _verdict(verifier: Verifier, name: str) -> bool:
    """Returns the verifier's answer as the module reads it: an exception is printed and refuses."""
    try:
        verdict = int(verifier.verify_call(name).__int__())
        if not -_INT <= verdict < _INT:
            raise OverflowError("value too large to convert to int")
        return verdict != 0
    except Exception:
        traceback.print_exc()
        return False


def checked(frame: Frame) -> bytes:
    """Returns the data of an exchange's last frame, or raises what the module raised."""
    kind, data = frame
    if kind == wire.NOT_CONNECTED:
        error = kvrpc.ClntCreateError()
        error.message = data.decode("utf-8")
        raise error
    if kind == wire.NO_MEMORY:
        raise MemoryError
    return data
