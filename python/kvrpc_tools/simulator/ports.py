"""Ports on loopback: one for each server, TCP and UDP under the same number."""

from __future__ import annotations

import socket
from typing import List, Optional, Tuple

from kvrpc_tools.simulator.transport import LOOPBACK

Pair = Tuple[socket.socket, socket.socket]

_TRIES = 50


def bind_pair(port: int) -> Pair:
    """A listening and a datagram socket on `port`; OSError when either is taken."""
    tcp = _bound(socket.SOCK_STREAM, port)
    try:
        udp = _bound(socket.SOCK_DGRAM, port)
    except OSError:
        tcp.close()
        raise
    tcp.listen(64)
    return tcp, udp


def bind_range(count: int, base: Optional[int] = None) -> Tuple[int, List[Pair]]:
    """The base port and the sockets of `count` ports from there on; free ones without a base."""
    if base is not None:
        return base, _bind_all(base, count)
    for _ in range(_TRIES):
        candidate = _free_port()
        if candidate + count > 65536:
            continue
        try:
            return candidate, _bind_all(candidate, count)
        except OSError:
            continue
    raise OSError(f"no {count} free ports in a row found")


def _bind_all(base: int, count: int) -> List[Pair]:
    pairs: List[Pair] = []
    try:
        for port in range(base, base + count):
            pairs.append(bind_pair(port))
    except OSError:
        for pair in pairs:
            for sock in pair:
                sock.close()
        raise
    return pairs


def _free_port() -> int:
    with _bound(socket.SOCK_STREAM, 0) as probe:
        port: int = probe.getsockname()[1]
        return port


def _bound(kind: int, port: int) -> socket.socket:
    sock = socket.socket(socket.AF_INET, kind)
    try:
        if kind == socket.SOCK_STREAM and hasattr(socket, "SO_EXCLUSIVEADDRUSE"):
            sock.setsockopt(socket.SOL_SOCKET, socket.SO_EXCLUSIVEADDRUSE, 1)
        elif kind == socket.SOCK_STREAM:
            sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        sock.bind((LOOPBACK, port))
    except OverflowError:
        sock.close()
        raise OSError(f"{LOOPBACK} has no port {port}") from None
    except OSError as error:
        sock.close()
        raise OSError(error.errno, f"port {port} of {LOOPBACK}: {error.strerror}") from error
    return sock
