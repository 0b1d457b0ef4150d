"""The places where a call can wait, each of them without end."""

import contextlib
import select
import socket
import time

import port_111
from peer import messages

HOST = "127.0.0.1"
GOOD = {"state_fax": 1, "state_gateways": 2, "state_daemons": 3, "state_drivers": 4}
FAILS = {"reply": messages.auth_error(5)}  # makes the module connect anew


@contextlib.contextmanager
def silent_portmapper(monkeypatch):
    """Port 111 takes queries over both transports and never answers."""
    with port_111.taken(), contextlib.ExitStack() as stack:
        sock = stack.enter_context(socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
        sock.bind((HOST, 111))
        listener = stack.enter_context(socket.create_server((HOST, 111)))
        monkeypatch.delenv("KORVEXRPCPORT")
        yield lambda: select.select([sock, listener], [], [], 0)[0]


@contextlib.contextmanager
def silent_listener(monkeypatch):
    """A connection to this server is never made: its queue is full."""
    with contextlib.ExitStack() as stack:
        listener = stack.enter_context(socket.socket())
        listener.bind((HOST, 0))
        listener.listen(0)
        for _ in range(4):
            filler = stack.enter_context(socket.socket())
            filler.setblocking(False)
            filler.connect_ex(listener.getsockname())
        time.sleep(0.05)
        monkeypatch.setenv("KORVEXRPCPORT", str(listener.getsockname()[1] - 3))
        yield lambda: True


@contextlib.contextmanager
def nothing_else(monkeypatch):
    yield lambda: True


WAITS = {
    "the reply": (nothing_else, []),
    "the portmapper": (silent_portmapper, FAILS),
    "the connection": (silent_listener, FAILS),
}
