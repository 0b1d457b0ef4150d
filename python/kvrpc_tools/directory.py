"""Where the module looks for a server, so that a failed connection can say where that was.

The module decides this by itself, from the environment; here the same rules are read again, for
people only. A call never depends on them.
"""

from __future__ import annotations

import os
from typing import NamedTuple, Optional

from .schema import own

# The variables that lead a client to a server. A worker process gets them as they are just before
# a request.
VARIABLES = ("ALPHAHOST", "OMEGAHOST", "LOCALHOST", "ZOLMHOST", "KORVEXRPCOFFSET", "RPCTRANSPORT",
             "KORVEXRPCPORT", "KORVEXRPCMAP")


class Place(NamedTuple):
    """Where a server is looked for. `port` is None if the portmapper of the host is asked."""

    server: str
    host: str
    port: Optional[int]
    transport: str

    def advice(self, message: str) -> str:
        """Returns what to look at, given the module's message of a failed connection."""
        if "Unknown host" in message and ":" in self.host:
            return "a host is a name or an IPv4 address; KORVEXRPCPORT has the base port"
        for part, advice in _ADVICE.items():
            if part in message:
                return advice
        if self.port is None:
            return "no KORVEXRPCPORT or KORVEXRPCMAP gives a port: is a portmapper on the host?"
        return f"does {self.server} listen there, and does a firewall let {self.transport} through?"


_ADVICE = {
    "Unknown host": "the name does not resolve to an IPv4 address: look at the spelling and at DNS",
    "Unknown protocol": "RPCTRANSPORT is neither tcp nor udp",
    "Error 10046": "RPCTRANSPORT is neither tcp nor udp",
    "Port mapper failure": "the portmapper of the host does not answer: set KORVEXRPCPORT to the "
                           "base port of the servers, or let UDP and TCP port 111 through",
    "Program not registered": "the portmapper knows no such server: is it running, and does "
                              "KORVEXRPCOFFSET match it?",
}


def locate(server: str, host: Optional[str] = None) -> Place:
    """Returns where the module looks for `server`, by the environment as it is now."""
    place = host if host is not None else _default_host(server)
    return Place(server, place, _port(server, place), os.environ.get("RPCTRANSPORT", "tcp"))


def _default_host(server: str) -> str:
    if server in ("alpha", "omega"):
        local = os.environ.get("LOCALHOST", "")[:35] or "localhost"
        return os.environ.get(f"{server.upper()}HOST") or local
    return os.environ.get("ZOLMHOST", "localhost")


def _port(server: str, host: str) -> Optional[int]:
    base = _number(os.environ.get("KORVEXRPCPORT", ""))
    for entry in os.environ.get("KORVEXRPCMAP", "").replace(" ", "").split(";"):
        name, _, number = entry.partition(":")
        if name == host and number:
            base = _number(number)
            break
    if base == 0:
        return None
    return (base + own().servers[server].slot) % 65536


def _number(text: str) -> int:
    """Returns the decimal number that `text` starts with, its low 16 bits; 0 without one."""
    digits = ""
    for character in text.strip():
        if not character.isdigit():
            break
        digits += character
    return int(digits or "0") % 65536
