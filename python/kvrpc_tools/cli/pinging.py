"""The command `kvrpc ping`: procedure 0, which every server answers.

The module has no such call, so these few bytes are written here.
"""

from __future__ import annotations

import os
import socket
import statistics
import struct
import sys
import time
from typing import List, NamedTuple, Optional, Tuple

import click

from ..directory import Place, locate
from ..schema import own
from . import options
from .names import SERVER_METAVAR, ServerName, servers
from .values import write_json

_CALL = struct.Struct(">10I")  # id, call, RPC version, program, version, procedure, no credentials
_ACCEPTED = struct.pack(">5I", 1, 0, 0, 0, 0)
_PORTMAPPER, _PORTMAPPER_PORT, _GETPORT = 100000, 111, 3
_PROTOCOLS = {"tcp": 6, "udp": 17}
_PATIENCE = 3.0
_NOT_REGISTERED = "Program not registered"


class _Answer(NamedTuple):
    server: str
    place: Place
    milliseconds: Optional[float]
    error: str
    advice: str = ""


@click.command()
@click.argument("server", type=ServerName(), required=False, metavar=SERVER_METAVAR)
@click.option("--count", type=click.IntRange(1, 1000), default=1, show_default=True,
              metavar="N", help="Ask each so many times.")
@options.connection(_PATIENCE)
@options.as_json
def ping(server: Optional[str], count: int, host: Optional[str], timeout: float,
         json_wanted: bool) -> int:
    """Ask a server, or each of them, whether it is there. Exit code 3 if one is not."""
    answers: List[_Answer] = []
    for name in [server] if server else servers():
        for _ in range(count):
            answers.append(_ping(name, host, timeout))
            if not json_wanted:
                _print(answers[-1])
    if json_wanted:
        write_json([{"server": each.server, "host": each.place.host, "port": each.place.port,
                     "transport": each.place.transport, "milliseconds": each.milliseconds,
                     **({"error": each.error} if each.error else {}),
                     **({"advice": each.advice} if each.advice else {})} for each in answers],
                   sys.stdout)
    elif count > 1:
        _summarise(answers)
    return 0 if all(each.milliseconds is not None for each in answers) else 3


def _print(answer: _Answer) -> None:
    if answer.milliseconds is None:
        print_failure(answer.place, answer.error, answer.advice)
    else:
        click.echo(f"{_where(answer.place)}: {answer.milliseconds:.2f} ms")


def print_failure(place: Place, reason: str, advice: str) -> None:
    """Prints the line of a server that was not reached; `advice` may be empty."""
    click.echo(f"kvrpc: {_where(place)}: {'; '.join(filter(None, (reason, advice)))}", err=True)


def _where(place: Place) -> str:
    return f"{place.server} on {place.host}, port {place.port or 'unknown'}, {place.transport}"


def _summarise(answers: List[_Answer]) -> None:
    times = [each.milliseconds for each in answers if each.milliseconds is not None]
    line = f"{len(times)} of {len(answers)} answered"
    if times:
        line += f"; {min(times):.2f} / {statistics.median(times):.2f} / {max(times):.2f} ms " \
                "(least, median, most)"
    click.echo(line)


def _ping(name: str, host: Optional[str], timeout: float) -> _Answer:
    place = locate(name, host)
    start = time.perf_counter()
    try:
        if place.transport.lower() not in _PROTOCOLS:
            raise OSError("Unknown protocol")
        if place.port is None:
            place = with_port(place, timeout)
            start = time.perf_counter()
        assert place.port is not None
        call = _null_call(_program(name))
        reply = _exchange(place.transport, (place.host, place.port), call, timeout)
    except OSError as error:
        return _Answer(name, place, None, *reason_and_advice(place, error))
    if reply[4:24] != _ACCEPTED:
        return _Answer(name, place, None, "the answer is not that of this server")
    return _Answer(name, place, (time.perf_counter() - start) * 1e3, "")


def reason_and_advice(place: Place, error: OSError) -> Tuple[str, str]:
    """Returns why a server, or the portmapper of a place without a port, was not reached.

    The second text says what to look at.
    """
    reason = error.strerror or str(error) or type(error).__name__
    if isinstance(error, socket.gaierror):
        return reason, place.advice("Unknown host")
    if place.port is None and reason != _NOT_REGISTERED:
        return reason, place.advice("Port mapper failure")
    return reason, place.advice(reason)


def with_port(place: Place, timeout: float) -> Place:
    """Returns a place with its port. Asks the portmapper of the host if the environment has none.

    Raises OSError if the portmapper does not answer or does not know the server.
    """
    if place.port is not None:
        return place
    return place._replace(port=_ask_portmapper(place, _program(place.server), timeout))


def _program(name: str) -> int:
    text = os.environ.get("KORVEXRPCOFFSET", "").strip()
    return own().servers[name].program + (int(text) if text.lstrip("+-").isdigit() else 0)


def _null_call(program: int, version: int = 1, procedure: int = 0) -> bytes:
    return _CALL.pack(os.getpid() & 0xFFFFFFFF, 0, 2, program & 0xFFFFFFFF, version, procedure,
                      0, 0, 0, 0)


def _ask_portmapper(place: Place, program: int, timeout: float) -> int:
    """Returns the port of a program. Like the module, asks over TCP only if RPCTRANSPORT is tcp."""
    is_tcp = os.environ.get("RPCTRANSPORT", "").lower() == "tcp"
    call = _null_call(_PORTMAPPER, 2, _GETPORT)
    call += struct.pack(">4I", program & 0xFFFFFFFF, 1, _PROTOCOLS[place.transport.lower()], 0)
    reply = _exchange("tcp" if is_tcp else "udp", (place.host, _PORTMAPPER_PORT), call, timeout)
    port = int.from_bytes(reply[24:28], "big")
    if port == 0:
        raise OSError(_NOT_REGISTERED)
    return port


def _exchange(transport: str, address: Tuple[str, int], message: bytes, timeout: float) -> bytes:
    """Returns the answer to a message; both are short, and the answer comes in one piece."""
    if transport.lower() == "udp":
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
            sock.settimeout(timeout)
            sock.connect(address)
            sock.send(message)
            return sock.recv(400)
    with socket.create_connection(address, timeout) as sock:
        sock.sendall(struct.pack(">I", 0x80000000 | len(message)) + message)
        reply = b""
        while len(reply) < 28:
            piece = sock.recv(400)
            if not piece:
                raise OSError("the connection was closed without an answer")
            reply += piece
        return reply[4:]
