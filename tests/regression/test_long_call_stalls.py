"""Each fragment of a long call left in a send of its own. The second one waited until the server
acknowledged the first, which systems delay by 40 ms and more."""

import statistics
import time

import pytest
from servers import Started

CALLS = 15


@pytest.fixture
def server(monkeypatch):
    server = Started("long_call_server.py")
    monkeypatch.setenv("KORVEXRPCPORT", str(server.port))
    monkeypatch.setenv("ZOLMHOST", "127.0.0.1")
    yield server
    server.stop()


@pytest.mark.parametrize("length", [4_000, 9_000, 60_000, 200_000, 900_000])
def test_a_call_of_any_length_leaves_without_a_pause(module, server, allow, length):
    client = module.RpcClient("lambda")
    text = '{"l_statfile_1":{"filename":"%s"}}' % ("x" * length)
    seconds = []
    for _ in range(CALLS):
        started = time.perf_counter()
        assert client.call(text, allow).startswith(b'{"status":0,')
        seconds.append(time.perf_counter() - started)
    client.close()
    # The first calls of a connection are acknowledged at once, so the median tells.
    assert statistics.median(seconds) < 0.03
    last = (40 + 4 + length) % 3996
    assert [server.next_line() for _ in range(CALLS)] == [f"3996 {last}"] * CALLS
