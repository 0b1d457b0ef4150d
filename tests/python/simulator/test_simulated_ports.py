"""A simulator finds its ports even if most ports are taken."""

import socket

import pytest

from kvrpc_tools.simulator import ports

COUNT = 7


def close(pairs):
    for pair in pairs:
        for sock in pair:
            sock.close()


@pytest.fixture
def window(monkeypatch):
    """Limits the search to a few ports that were free a moment ago. Returns the first of them."""
    lowest, pairs = ports.bind_range(8 * COUNT)
    close(pairs)
    monkeypatch.setattr(ports, "_LOWEST", lowest)
    monkeypatch.setattr(ports, "_HIGHEST", lowest + 8 * COUNT)
    return lowest


def test_the_only_free_ports_in_a_row_are_found(window):
    free = range(window + 3 * COUNT, window + 4 * COUNT)
    taken = [ports.bind_pair(port) for port in range(window, window + 8 * COUNT, 3)
             if port not in free]
    base, pairs = ports.bind_range(COUNT)
    close(taken + pairs)
    assert set(range(base, base + COUNT)) <= {*free, free[0] - 1, free[0] - 2,
                                              free[-1] + 1, free[-1] + 2}


def test_a_lack_of_ports_says_where_they_were_looked_for(window):
    taken = [ports.bind_pair(port) for port in range(window, window + 8 * COUNT, 3)]
    with pytest.raises(OSError, match=f"from {window} to"):
        ports.bind_range(COUNT)
    close(taken)


def test_connections_that_have_ended_do_not_take_a_port(window):
    """The side that closes first keeps its port for a minute, but it can be bound meanwhile."""
    tcp, udp = ports.bind_pair(window)
    client = socket.create_connection(("127.0.0.1", window))
    accepted, _ = tcp.accept()
    accepted.close()
    assert client.recv(1) == b""
    client.close()
    close([(tcp, udp)])
    close([ports.bind_pair(window)])


def test_an_error_names_the_port(window):
    held = ports.bind_pair(window)
    with pytest.raises(OSError, match=f"port {window} of 127.0.0.1"):
        ports.bind_pair(window)
    close([held])
