"""Each fragment of a long call left in a send of its own. The second one waited until the server
acknowledged the first, which systems delay by 40 ms and more."""

import statistics
import time

import pytest
from servers import Started

CALLS = 15
ATTEMPTS = 10


@pytest.fixture
def server(monkeypatch):
    server = Started("long_call_server.py")
    monkeypatch.setenv("KORVEXRPCPORT", str(server.port))
    monkeypatch.setenv("ZOLMHOST", "127.0.0.1")
    yield server
    server.stop()


def median_of_calls(client, text, allow):
    seconds = []
    for _ in range(CALLS):
        started = time.perf_counter()
        assert client.call(text, allow).startswith(b'{"status":0,')
        seconds.append(time.perf_counter() - started)
    return statistics.median(seconds)


@pytest.mark.parametrize("length", [4_000, 9_000, 60_000, 200_000, 900_000])
def test_a_call_of_any_length_leaves_without_a_pause(module, server, allow, length):
    client = module.RpcClient("lambda")
    text = '{"l_statfile_1":{"filename":"%s"}}' % ("x" * length)
    # Not every acknowledgement is delayed, so the median counts. A busy machine slows some attempts
    # down; a pause is in all of them.
    attempts = 1
    while median_of_calls(client, text, allow) >= 0.03:
        attempts += 1
        assert attempts <= ATTEMPTS
    client.close()
    last = (40 + 4 + length) % 3996
    count = attempts * CALLS
    assert [server.next_line() for _ in range(count)] == [f"3996 {last}"] * count
