"""A relay on loopback between scripts and servers. Passes all bytes on and reports each exchange.

    script  <->  127.0.0.1, base port + slot of the server  <->  server

Each TCP connection has a connection of its own to the server, each UDP peer a socket of its own.
Two threads copy the bytes of a connection unchanged, one for each direction. They also put the
messages together, to find the reply to each call by its transaction id. A call that is sent again
under the same id is one exchange.

The relay only reads the ids; `recording` decodes the messages.
"""

from __future__ import annotations

import os
import socket
import threading
import time
from typing import Callable, Dict, List, Optional, Tuple

from .recording import Message
from .schema import Server
from .simulator import ports
from .simulator.records import RecordReader
from .simulator.transport import LOOPBACK, RECEIVE

Address = Tuple[str, int]
# Returns where a server listens. Raises OSError if that cannot be found out.
Find = Callable[[str, str], Address]
Tell = Callable[[Message], None]
# Gets what goes wrong: the server, the transport, the error.
Complain = Callable[[str, str, OSError], None]

_CONNECT_SECONDS = 20.0
_LONGEST_DATAGRAM = 65536


def environment(base: int, local: bool) -> Dict[str, str]:
    """Returns the environment of a script whose calls are to pass a relay at the base port `base`.

    Hosts that the script names itself keep their ports, so these calls go past the relay. If
    `local`, that does not hold for the host "localhost".
    """
    map_of = [f"{name}:{base}" for name in (LOOPBACK, *(["localhost"] if local else []))]
    return {**os.environ, "ALPHAHOST": LOOPBACK, "OMEGAHOST": LOOPBACK, "ZOLMHOST": LOOPBACK,
            "KORVEXRPCMAP": ";".join([*map_of, *filter(None, [os.environ.get("KORVEXRPCMAP")])])}


class _Exchanges:
    """The calls of one connection or UDP peer that have no reply yet, by transaction id."""

    def __init__(self, server: Server, transport: str, tell: Tell, start: float) -> None:
        self._server = server
        self._transport = transport
        self._tell = tell
        self._start = start
        self._open: Dict[bytes, Tuple[float, bytes]] = {}
        self._lock = threading.Lock()

    def call(self, message: bytes) -> None:
        """Takes a call, before it is passed on."""
        with self._lock:
            self._open.setdefault(message[:4], (time.monotonic(), message))

    def reply(self, message: bytes) -> None:
        """Takes a reply, before it is passed on. One that no call waits for is left out."""
        with self._lock:
            found = self._open.pop(message[:4], None)
        if found is not None:
            self._told(found, message)

    def end(self) -> None:
        """Reports the calls that never got a reply. When it returns, all of them are reported."""
        with self._lock:
            for found in self._open.values():
                self._told(found, None)
            self._open.clear()

    def _told(self, found: Tuple[float, bytes], reply: Optional[bytes]) -> None:
        came, call = found
        self._tell(Message(self._server, self._transport, call, reply, came - self._start,
                           time.monotonic() - came))


class Relay:
    """Listens for the calls to some servers. `base` is its base port."""

    def __init__(self, servers: List[Server], find: Find, tell: Tell, complain: Complain) -> None:
        self._find = find
        self._tell = tell
        self._complain = complain
        self._start = time.monotonic()
        self._peers: List[_Exchanges] = []
        self.base, pairs = ports.bind_range(max(server.slot for server in servers) + 1)
        self._sockets = [sock for pair in pairs for sock in pair]
        for server in servers:
            tcp, udp = pairs[server.slot]
            _in_background(self._accept, server, tcp)
            _in_background(self._datagrams, server, udp)

    def close(self) -> None:
        """Stops listening and reports the calls that have no reply."""
        for sock in self._sockets:
            sock.close()
        for exchanges in list(self._peers):  # connections that end meanwhile leave the list
            exchanges.end()

    def _exchanges(self, server: Server, transport: str) -> _Exchanges:
        made = _Exchanges(server, transport, self._tell, self._start)
        self._peers.append(made)
        return made

    def _accept(self, server: Server, listener: socket.socket) -> None:
        while True:
            try:
                near, _ = listener.accept()
            except OSError:
                return  # closed
            _in_background(self._connect, server, near)

    def _connect(self, server: Server, near: socket.socket) -> None:
        try:
            far = socket.create_connection(self._find(server.name, "tcp"), _CONNECT_SECONDS)
        except OSError as error:
            self._complain(server.name, "tcp", error)
            near.close()
            return
        far.settimeout(None)
        exchanges = self._exchanges(server, "tcp")
        back = _in_background(_copy, far, near, exchanges.reply)
        _copy(near, far, exchanges.call)
        back.join()
        exchanges.end()
        self._peers.remove(exchanges)
        near.close()
        far.close()

    def _datagrams(self, server: Server, listener: socket.socket) -> None:
        peers: Dict[Address, Tuple[socket.socket, _Exchanges]] = {}
        while True:
            try:
                data, peer = listener.recvfrom(_LONGEST_DATAGRAM)
            except ConnectionError:
                continue  # Windows reports an earlier datagram that nobody took
            except OSError:
                break  # closed
            try:
                if peer not in peers:
                    peers[peer] = self._new_peer(server, listener, peer)
                far, exchanges = peers[peer]
                exchanges.call(data)
                far.send(data)
            except OSError as error:
                self._complain(server.name, "udp", error)
        for far, _ in peers.values():
            far.close()

    def _new_peer(self, server: Server, listener: socket.socket, peer: Address
                  ) -> Tuple[socket.socket, _Exchanges]:
        far = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        try:
            far.connect(self._find(server.name, "udp"))
        except OSError:
            far.close()
            raise
        exchanges = self._exchanges(server, "udp")
        _in_background(_return_datagrams, far, listener, peer, exchanges)
        return far, exchanges


def _return_datagrams(far: socket.socket, listener: socket.socket, peer: Address,
                      exchanges: _Exchanges) -> None:
    while True:
        try:
            data = far.recv(_LONGEST_DATAGRAM)
            exchanges.reply(data)
            listener.sendto(data, peer)
        except ConnectionError:
            continue  # nobody listens there now; the script's next attempt may find it
        except OSError:
            return  # closed


def _copy(source: socket.socket, sink: socket.socket, take: Callable[[bytes], None]) -> None:
    """Copies bytes until the source ends, and then ends the sink's direction.

    Messages are taken before their last bytes are passed on, so a call is known before its reply.
    """
    records: Optional[RecordReader] = RecordReader()
    try:
        while True:
            data = source.recv(RECEIVE)
            if not data:
                break
            if records is not None:
                records = _taken(records, data, take)
            sink.sendall(data)
    except OSError:
        pass  # the other direction ends too, when its side is closed
    try:
        sink.shutdown(socket.SHUT_WR)
    except OSError:
        pass


def _taken(records: RecordReader, data: bytes, take: Callable[[bytes], None]
           ) -> Optional[RecordReader]:
    """Takes the messages that end in `data`. Returns None after one that is too long to keep."""
    try:
        for message in records.feed(data):
            take(message)
    except ValueError:
        return None
    return records


def _in_background(work: Callable[..., None], *arguments: object) -> threading.Thread:
    thread = threading.Thread(target=work, args=arguments, daemon=True)
    thread.start()
    return thread
