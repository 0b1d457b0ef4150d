"""The worker process: makes the calls of one connection for the process that started it.

    python -I -S _worker_process.py DIRECTORY       (DIRECTORY has the module kvrpc)

It is a script of its own, without the rest of the package, because imports are most of a start.
`_worker.py` starts it and `_exchange.py` has its parent's side of the conversation. A frame is

    byte     kind
    8 bytes  length of the data, big-endian
    data

The process sends DONE when it is ready; then it answers each frame with one.

On POSIX the channel is a socket in the place of standard output. Standard input is a pipe that
never carries a byte: when its other end closes the kernel sends SIGIO, and SIGIO ends this process
even in the middle of a call. On Windows standard input brings the channel's socket, and a job
object ends the process.
"""

from __future__ import annotations

import os
import sys

TYPE_CHECKING = False  # typing's own takes longer to import than all the rest
if TYPE_CHECKING:
    from typing import Any, Callable, NoReturn, Tuple, Union

HEADER = 9

# From the parent. CONNECT's data is the server's name, then a NUL and the host if there is one.
# The data of SETTINGS is NAME=VALUE, or NAME if not set, for each variable, separated by NULs.
SETTINGS, CONNECT, CALL, VETTED_CALL, ALLOWED, REFUSED = b"S", b"N", b"C", b"V", b"y", b"n"

# To the parent. ASK comes in the middle of a vetted call; ALLOWED or REFUSED answers it.
DONE, REPLY, ASK, NOT_CONNECTED, NO_MEMORY = b"d", b"r", b"a", b"f", b"m"

PIECE = 1 << 20


def header(kind: bytes, length: int) -> bytes:
    """The first bytes of a frame."""
    return kind + length.to_bytes(HEADER - 1, "big")


def parsed_header(data: bytes) -> Tuple[bytes, int]:
    """The kind and the length that a frame's first bytes give."""
    return data[:1], int.from_bytes(data[1:], "big")


class Channel:
    """The frames to and from the parent. If the parent has gone, the process ends."""

    def __init__(self, receive: Callable[[int], bytes], send: Callable[[memoryview], int]) -> None:
        self._receive = receive
        self._send = send

    def _read(self, length: int) -> bytes:
        data = bytearray()
        while len(data) < length:
            piece = self._receive(min(length - len(data), PIECE))
            if not piece:
                os._exit(0)
            data += piece
        return bytes(data)

    def receive(self) -> Tuple[bytes, bytes]:
        kind, length = parsed_header(self._read(HEADER))
        return kind, self._read(length)

    def send(self, kind: bytes, data: bytes = b"") -> None:
        try:
            for part in memoryview(header(kind, len(data))), memoryview(data):
                while part:
                    part = part[self._send(part):]
        except OSError:
            os._exit(0)


class Text:
    """Text that is UTF-8 already. The module takes any object that can encode itself."""

    def __init__(self, data: bytes) -> None:
        self._data = data

    def encode(self, codec: str) -> bytes:
        return self._data


class Allow:
    """Allows every call."""

    def verify_call(self, name: str) -> bool:
        return True


class Ask:
    """Leaves the decision to the parent."""

    def __init__(self, channel: Channel) -> None:
        self._channel = channel

    def verify_call(self, name: str) -> bool:
        self._channel.send(ASK, name.encode("utf-8"))
        return self._channel.receive()[0] == ALLOWED


def apply_settings(data: bytes) -> None:
    for entry in data.decode("utf-8", "surrogateescape").split("\0"):
        name, is_set, value = entry.partition("=")
        if is_set:
            os.environ[name] = value
        else:
            os.environ.pop(name, None)


class Server:
    """Carries out the parent's requests, with one client."""

    def __init__(self, module: Any, channel: Channel) -> None:
        self._module = module
        self._client: Any = None
        self._verifiers: dict[bytes, Union[Allow, Ask]] = {
            CALL: Allow(), VETTED_CALL: Ask(channel)}

    def _connect(self, data: bytes) -> None:
        which, has_host, host = data.partition(b"\0")
        self._client = self._module.RpcClient(Text(which), Text(host) if has_host else None)

    def _answer(self, kind: bytes, data: bytes) -> Tuple[bytes, bytes]:
        if kind in self._verifiers:
            return REPLY, self._client.call(Text(data), self._verifiers[kind])
        if kind == CONNECT:
            self._connect(data)
        else:
            apply_settings(data)
        return DONE, b""

    def answer(self, kind: bytes, data: bytes) -> Tuple[bytes, bytes]:
        try:
            return self._answer(kind, data)
        except self._module.ClntCreateError as error:
            return NOT_CONNECTED, error.message.encode("utf-8")
        except MemoryError:
            return NO_MEMORY, b""


if sys.platform == "win32":
    def open_channel() -> Channel:
        """Returns the channel that standard input describes."""
        import signal
        import socket

        signal.signal(signal.SIGINT, signal.SIG_IGN)
        length = int.from_bytes(sys.stdin.buffer.read(4), "big")
        sock = socket.fromshare(sys.stdin.buffer.read(length))
        return Channel(sock.recv, sock.send)
else:
    def close_inherited() -> None:
        """Closes what the parent leaves open for its children; nothing of it is meant for this."""
        for name in os.listdir("/dev/fd"):
            if int(name) > 2:
                try:
                    os.close(int(name))
                except OSError:
                    pass  # the descriptor of the listing

    def bind_to_parent() -> None:
        """Has the kernel end this process when the other end of standard input closes."""
        import fcntl
        import select
        import signal

        # On Linux SIGIO's default is to end the process, at once. On other systems it is to be
        # ignored; there the module runs the handler within 50 ms.
        end = signal.SIG_DFL if sys.platform == "linux" else lambda *_: os._exit(0)
        signal.signal(signal.SIGIO, end)
        signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGIO})
        fcntl.fcntl(0, fcntl.F_SETOWN, os.getpid())
        fcntl.fcntl(0, fcntl.F_SETFL, fcntl.fcntl(0, fcntl.F_GETFL) | os.O_ASYNC)
        if select.select([0], [], [], 0)[0]:
            os._exit(0)  # it had closed before

    def open_channel() -> Channel:
        """Returns the channel at descriptor 1."""
        close_inherited()
        bind_to_parent()
        return Channel(lambda size: os.read(1, size), lambda data: os.write(1, data))


def main(directory: str) -> NoReturn:
    channel = open_channel()
    sys.path.append(directory)
    import kvrpc

    server = Server(kvrpc, channel)
    channel.send(DONE)
    while True:
        channel.send(*server.answer(*channel.receive()))


if __name__ == "__main__":
    main(sys.argv[1])
