"""Ports on loopback: one for each server, TCP and UDP under the same number."""

from __future__ import annotations

import random
import socket
from typing import List, Optional, Tuple

from kvrpc_tools.simulator.transport import LOOPBACK

Pair = Tuple[socket.socket, socket.socket]

# Bases are tried at random below the ports that a system gives to clients, because the connections
# of a load test, also ended ones, can take thousands of those in a row.
_LOWEST, _HIGHEST = 10_000, 32_000
_TRIES = 400


def bind_pair(port: int) -> Pair:
    """Returns a listening and a datagram socket on `port`. Raises OSError if either is taken."""
    tcp = _bound(socket.SOCK_STREAM, port)
    try:
        udp = _bound(socket.SOCK_DGRAM, port)
    except OSError:
        tcp.close()
        raise
    tcp.listen(64)
    return tcp, udp


def bind_range(count: int, base: Optional[int] = None) -> Tuple[int, List[Pair]]:
    """Returns the base port and the sockets of `count` ports from it on. Without a base,
    they are free ones."""
    if base is not None:
        return base, _bind_all(base, count)
    bases = range(_LOWEST, _HIGHEST - count)
    for candidate in random.SystemRandom().sample(bases, min(_TRIES, len(bases))):
        try:
            return candidate, _bind_all(candidate, count)
        except OSError:
            continue
    raise OSError(f"no {count} free ports in a row of {LOOPBACK} from {_LOWEST} to {_HIGHEST}")


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
