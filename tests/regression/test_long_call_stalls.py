"""Each fragment of a long call left in a send of its own. The second one waited until the server
acknowledged the first, which systems delay by 40 ms and more."""

import socket
import statistics
import struct
import time
from pathlib import Path

import pytest
from long_call_server import SLOT
from servers import Started

CALLS = 15
ATTEMPTS = 10
FRAGMENT = 3996
# Nanoseconds that this thread ran, and those that it waited for a processor.
PROCESSOR = Path("/proc/thread-self/schedstat")


@pytest.fixture
def servers(monkeypatch):
    servers = [Started("long_call_server.py") for _ in range(2)]
    monkeypatch.setenv("KORVEXRPCPORT", str(servers[0].port))
    monkeypatch.setenv("ZOLMHOST", "127.0.0.1")
    yield servers
    for each in servers:
        each.stop()


def record_of(length):
    """Returns the bytes of a call as a single send of them would leave: fragments, all full but the
    last."""
    data = struct.pack(">I", 1).ljust(44 + length, b"x")
    parts = [data[i:i + FRAGMENT] for i in range(0, len(data), FRAGMENT)]
    marks = [len(part) for part in parts[:-1]] + [0x80000000 | len(parts[-1])]
    return b"".join(struct.pack(">I", mark) + part for mark, part in zip(marks, parts))


def clock():
    """Returns seconds, without those in which this thread ran or another one had its processor."""
    now = time.perf_counter()
    if not PROCESSOR.exists():
        return now
    ran, queued, _ = map(int, PROCESSOR.read_text(encoding="ascii").split())
    return now - (ran + queued) / 1e9


def seconds_of(function):
    started = clock()
    function()
    return clock() - started


def median_pause(call, plain):
    """Returns how much longer a call waits than a plain exchange of the same bytes, which a busy
    machine slows down as well."""
    return statistics.median(seconds_of(call) - seconds_of(plain) for _ in range(CALLS))


@pytest.mark.parametrize("length", [4_000, 9_000, 60_000, 200_000, 900_000])
def test_a_call_of_any_length_leaves_without_a_pause(module, servers, allow, length):
    client = module.RpcClient("lambda")
    text = '{"l_statfile_1":{"filename":"%s"}}' % ("x" * length)
    record = record_of(length)

    def call():
        assert client.call(text, allow).startswith(b'{"status":0,')

    def exchange():
        peer.sendall(record)
        assert peer.recv(100)

    # Not every acknowledgement is delayed, so the median counts. A busy machine slows some attempts
    # down; a pause is in all of them.
    attempts = 1
    with socket.create_connection(("127.0.0.1", servers[1].port + SLOT)) as peer:
        while median_pause(call, exchange) >= 0.03:
            attempts += 1
            assert attempts <= ATTEMPTS
    client.close()
    last = (40 + 4 + length) % FRAGMENT
    count = attempts * CALLS
    for server in servers:
        assert [server.next_line() for _ in range(count)] == [f"{FRAGMENT} {last}"] * count
