"""The clients for asyncio: right results, and a loop that goes on whatever a call waits for."""

import asyncio
import contextlib
import os
import signal
import sys
import time
from pathlib import Path

import pytest
from servers import Started
from verifier import Verifier

from kvrpc_tools import Alpha, ConnectError, Refused, tracing
from kvrpc_tools._worker import WorkerError
from kvrpc_tools.aio import AsyncAlpha, AsyncLambda
from tests.python.processes import children
from tests.python.waits import GOOD, HOST, WAITS

STALL = 0.05  # the loop must not stop for more seconds


def own_time():
    """Returns the time less that for which threads of this process were ready and had no processor.

    Only Linux tells the latter, in nanoseconds. Elsewhere a busy machine counts as a stall.
    """
    delay = 0
    for statistics in Path("/proc/self/task").glob("*/schedstat"):
        with contextlib.suppress(OSError):  # the thread has ended
            delay += int(statistics.read_text(encoding="ascii").split()[1])
    return time.monotonic() - delay / 1e9


async def longest_stall(waiting):
    """Awaits. Returns the longest time for which the loop stood still meanwhile."""
    longest = 0.0

    async def tick():
        nonlocal longest
        last = own_time()
        while True:
            await asyncio.sleep(0.002)
            now = own_time()
            longest, last = max(longest, now - last), now

    ticking = asyncio.ensure_future(tick())
    await asyncio.sleep(0.01)
    await waiting
    ticking.cancel()
    return longest


async def assert_steady(make_waiting):
    """The loop never stops while it awaits. Other processes can stop it, but not every time."""
    stalls = []
    while len(stalls) < 5:
        stalls.append(await longest_stall(make_waiting()))
        if stalls[-1] < STALL:
            return
    pytest.fail(f"the loop stood still: {stalls}")


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_calls_are_those_of_the_other_clients(fault_peer, transport):
    peer = fault_peer(transport)

    async def main():
        async with AsyncLambda(HOST) as client:
            assert await client.l_get_status_1() == GOOD
            assert await client.l_version_1() == 7
            assert await client.call("l_get_status_1", timeout=20) == GOOD
            with pytest.raises(AttributeError):
                client.nonsense_1()

    asyncio.run(main())
    assert [call.procedure for call in peer.calls()] == [29, 19, 29]


def test_a_verifier_decides(fault_peer):
    fault_peer()
    verifiers = Verifier(True), Verifier(False)

    async def main():
        async with AsyncLambda(HOST, verifier=verifiers[0]) as client:
            assert await client.l_get_status_1() == GOOD
        async with AsyncLambda(HOST, verifier=verifiers[1]) as client:
            with pytest.raises(Refused):
                await client.l_get_status_1()

    asyncio.run(main())
    assert [each.names for each in verifiers] == [["l_get_status_1"]] * 2


def test_no_connection_is_told_as_by_the_other_clients(fault_peer):
    fault_peer().stop()

    async def main():
        with pytest.raises(ConnectError) as caught:
            async with AsyncLambda(HOST):
                pass
        return str(caught.value)

    with pytest.raises(ConnectError) as expected:
        Alpha(HOST)
    assert asyncio.run(main()) == str(expected.value).replace("alpha", "lambda").replace(
        str(expected.value.port), str(expected.value.port + 3))


@pytest.mark.parametrize(("wait", "transport"), [
    ("the reply", "tcp"), ("the reply", "udp"), ("the connection", "tcp"),
    ("the portmapper", "tcp"), ("the portmapper", "udp")])
@pytest.mark.parametrize("how", ["timeout", "cancellation"])
def test_a_call_ends_at_once_and_the_next_one_is_right(fault_peer, monkeypatch, how, wait,
                                                       transport):
    peer = fault_peer(transport)
    place, action = WAITS[wait]

    async def give_up(client):
        if how == "timeout":
            with pytest.raises(TimeoutError, match=r"no answer within 0\.3 s"):
                await client.l_get_status_1(timeout=0.3)
        else:
            running = asyncio.ensure_future(client.l_get_status_1())
            await asyncio.sleep(0.3)
            running.cancel()
            with pytest.raises(asyncio.CancelledError):
                await running

    async def main():
        async with AsyncLambda(HOST) as client:
            assert await client.l_get_status_1(timeout=20) == GOOD
            with monkeypatch.context() as context, place(context) as was_asked:
                peer.script(action)
                started = time.monotonic()
                await give_up(client)
                assert 0.29 <= time.monotonic() - started < 5
                assert was_asked()
            assert await client.l_get_status_1(timeout=20) == GOOD

    asyncio.run(main())


def test_no_time_at_all_sends_nothing(fault_peer):
    peer = fault_peer()

    async def main():
        async with AsyncLambda(HOST) as client:
            for timeout in (0, -1):
                with pytest.raises(TimeoutError):
                    await client.l_get_status_1(timeout=timeout)
            assert await client.l_get_status_1() == GOOD

    asyncio.run(main())
    assert len(peer.calls()) == 1


def test_a_cancelled_start_is_no_matter(fault_peer):
    fault_peer()

    async def main():
        client = AsyncLambda(HOST)
        for delay in (0, 0.001, 0.005, 0.01, 0.02):
            running = asyncio.ensure_future(client.l_get_status_1())
            await asyncio.sleep(delay)
            running.cancel()
            with contextlib.suppress(asyncio.CancelledError):
                await running
        assert await client.l_get_status_1() == GOOD
        await client.close()

    asyncio.run(main())


def test_the_loop_goes_on_while_clients_start_wait_and_end(fault_peer):
    peer = fault_peer()

    async def one():
        async with AsyncLambda(HOST) as client:
            with contextlib.suppress(TimeoutError):
                await client.l_get_status_1(timeout=0.3)

    async def main():
        peer.script(otherwise=[])
        await assert_steady(one)
        await assert_steady(lambda: asyncio.gather(*(one() for _ in range(4))))

    asyncio.run(main())


def test_clients_wait_at_the_same_time(fault_peer):
    peer = fault_peer()

    async def main():
        clients = [AsyncLambda(HOST) for _ in range(8)]
        await asyncio.gather(*(client.l_get_status_1() for client in clients))
        peer.script(*[{"delay": 0.5}] * 8)
        started = time.monotonic()
        found = await asyncio.gather(*(client.l_get_status_1() for client in clients))
        assert time.monotonic() - started < 3
        assert found == [GOOD] * 8
        await asyncio.gather(*(client.close() for client in clients))

    asyncio.run(main())


def test_the_calls_of_one_client_take_turns(fault_peer):
    peer = fault_peer()

    async def main():
        async with AsyncLambda(HOST) as client:
            peer.script({"delay": 0.1})
            calls = [client.l_get_status_1(), client.l_version_1(), client.l_get_status_1()]
            assert await asyncio.gather(*calls) == [GOOD, 7, GOOD]

    asyncio.run(main())
    assert [call.connection for call in peer.calls()] == [1, 1, 1]


def test_a_client_works_in_one_loop_after_the_other(fault_peer):
    fault_peer()
    client = AsyncLambda(HOST)

    async def both():
        return await asyncio.gather(client.l_get_status_1(), client.l_get_status_1())

    for _ in range(2):
        assert asyncio.run(both()) == [GOOD] * 2
    asyncio.run(client.close())


@pytest.mark.skipif(sys.platform == "win32", reason="Windows has no such signal")
def test_a_worker_that_is_killed_is_told_and_replaced(fault_peer):
    peer = fault_peer()

    async def main():
        async with AsyncLambda(HOST) as client:
            peer.script([])
            running = asyncio.ensure_future(client.l_get_status_1())
            await asyncio.sleep(0.1)
            os.kill(client._transport._worker.pid, signal.SIGKILL)
            with pytest.raises(WorkerError, match="exit code -9"):
                await running
            assert await client.l_get_status_1() == GOOD

    asyncio.run(main())


@pytest.mark.skipif(sys.platform != "linux", reason="counts what Linux lists in /proc")
def test_nothing_is_left(fault_peer):
    fault_peer()
    before = children(), os.listdir("/proc/self/fd")

    async def main():
        for timeout in (None, 0.001):
            with contextlib.suppress(TimeoutError):
                async with AsyncLambda(HOST) as client:
                    await client.l_get_status_1(timeout=timeout)

    asyncio.run(main())
    assert (children(), os.listdir("/proc/self/fd")) == before


def test_calls_are_traced(fault_peer):
    fault_peer().script({}, otherwise=[])  # only the first call is answered
    events = []

    async def main():
        async with AsyncLambda(HOST) as client:
            await client.l_get_status_1()
            with pytest.raises(TimeoutError):
                await client.l_get_status_1(timeout=0.1)

    with tracing.on_call(events.append):
        asyncio.run(main())
    assert [(each.procedure, each.status, each.error) for each in events] == [
        ("l_get_status_1", 0, None), ("l_get_status_1", None, "TimeoutError")]


def test_a_long_list_arrives_while_the_loop_goes_on(monkeypatch):
    peer = Started("list_peer.py")
    monkeypatch.setenv("KORVEXRPCPORT", str(peer.port))
    asked = {"loginid": 3000}

    async def main():
        async with AsyncAlpha(HOST) as client:
            await assert_steady(lambda: client.a_get_s_1(asked))
            return await client.a_get_s_1(asked)

    try:
        found = asyncio.run(main())
        with Alpha(HOST) as client:
            assert found == client.a_get_s_1(asked)
        assert len(found["first"]) == 3000
    finally:
        peer.stop()


def test_an_argument_for_no_record_is_named_before_anything_starts():
    async def main():
        with pytest.raises(ValueError, match="usrid"):
            await AsyncAlpha(HOST).a_login_1({"usrid": "meier"})

    asyncio.run(main())
