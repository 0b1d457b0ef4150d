"""A list of a hundred thousand send records: the right text, in time that grows with its length."""

import os
import sys
import time

import pytest
from servers import Started

RECORD = (
    '{"faxid":%d,"userid":"meier","prio":1,"status":3,"seiten":2,"comment":"für Köln",'
    '"crezeit":1000000000,"sollzeit":1000000060,"nachtkz":true,"istzeit":1000000061,"dauer":40,'
    '"seitenok":2,"nextzeit":0,"errstat":0,"sollrepc":3,"istrepc":1,"empftsi":"+49 221 5550",'
    '"empfnr":"0221 5550","nettype":4,"res":-5}')


@pytest.fixture
def client(module, monkeypatch):
    peer = Started("list_peer.py")
    monkeypatch.setenv("KORVEXRPCPORT", str(peer.port))
    made = module.RpcClient("alpha")
    yield made
    made.close()
    peer.stop()


def ask(client, allow, count):
    return client.call('{"a_get_s_1":{"loginid":%d}}' % count, allow)


def seconds(client, allow, count, calls):
    """Returns the processor time of the calls, which other work of the machine does not change."""
    start = time.process_time()
    for _ in range(calls):
        ask(client, allow, count)
    return time.process_time() - start


def expected(count):
    nodes = "".join('{"data":' + RECORD % number + ',"next":' for number in range(count))
    return ('{"status":0,"message":"ok","result":{"anz":%d,"first":%snull%s}}'
            % (count, nodes, "}" * count)).encode("utf-8")


# Among them are texts that just fit in a block of reply_text.cpp, and texts that just do not.
@pytest.mark.parametrize(
    "count", [0, 1, 2, 12, 13, 14, 204, 205, 206, 1000, 3250, 3260, 3270, 100_000,
              pytest.param(210_000, marks=pytest.mark.slow)])
def test_a_list_of_any_length_has_the_right_text(client, allow, count):
    reply = ask(client, allow, count)
    assert len(reply) == len(expected(count))
    assert reply == expected(count)
    assert sys.getsizeof(reply) == sys.getsizeof(b"") + len(reply)


def test_replies_that_are_kept_take_no_more_than_their_text(client, allow):
    """Keeps more replies than would fit in 32 bits of address space if each kept a large block."""
    text = expected(3300)
    replies = [ask(client, allow, 3300) for _ in range(200)]
    assert all(reply == text for reply in replies)


@pytest.mark.slow
@pytest.mark.skipif("KVRPC_SANITIZED" in os.environ, reason="the sanitizers' time is not ours")
def test_time_grows_with_the_length_and_no_faster(client, allow):
    """The bound is far above the figure of a quiet machine, so only a higher order of growth
    fails."""
    ask(client, allow, 100_000)
    short = min(seconds(client, allow, 1000, 100) for _ in range(3))
    long = min(seconds(client, allow, 100_000, 1) for _ in range(3))
    print(f"{short:.3f} s in a hundred lists of 1,000, {long:.3f} s in one of 100,000")
    assert long < 4 * short
