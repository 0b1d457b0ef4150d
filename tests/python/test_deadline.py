"""Calls that end in time: wherever they wait, in whatever thread, with a right call after them."""

import concurrent.futures
import math
import os
import signal
import socket
import sys
import threading
import time

import pytest
from waiting import wait_until

from kvrpc_tools import ConnectError, Lambda, _alarm, deadline
from kvrpc_tools._time_limit import TimeLimit
from tests.python.waits import GOOD, HOST, WAITS, silent_portmapper

ATTEMPTS = 10
LATE = math.inf  # the time was over before the call came to the place where it waits

posix = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no interval timer")


def in_main_thread(function):
    return function()


def in_another_thread(function):
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        return pool.submit(function).result()


def seconds_until_timeout(work):
    started = time.monotonic()
    with pytest.raises(TimeoutError, match=r"no answer within 0\.3 s"):
        work()
    return time.monotonic() - started


def least(attempt):
    """Returns the least time of some attempts, two at least: a loaded machine adds to each."""
    times = [attempt(), attempt()]
    while min(times) >= 0.4 and len(times) < ATTEMPTS:
        times.append(attempt())
    return min(times)


@pytest.mark.parametrize(("wait", "transport"), [
    ("the reply", "tcp"), ("the reply", "udp"), ("the connection", "tcp"),
    ("the portmapper", "tcp"), ("the portmapper", "udp")])
@pytest.mark.parametrize("run", [in_main_thread, in_another_thread])
def test_a_call_ends_in_time_and_the_next_one_is_right(fault_peer, monkeypatch, run, wait,
                                                       transport):
    peer = fault_peer(transport)
    place, action = WAITS[wait]

    def call():
        with monkeypatch.context() as context, place(context) as was_asked:
            peer.script(action)
            took = seconds_until_timeout(lambda: run(lambda: client.l_get_status_1(timeout=0.3)))
            has_waited_there = was_asked()
        has_waited_there = has_waited_there and len(peer.calls()) == 1
        assert run(lambda: client.l_get_status_1(timeout=20)) == GOOD
        peer.calls()
        return took if has_waited_there else LATE

    with Lambda(HOST) as client:
        assert run(lambda: client.l_get_status_1(timeout=20)) == GOOD
        peer.calls()
        assert 0.3 <= least(call) < 0.4


@pytest.mark.parametrize("run", [in_main_thread, in_another_thread])
def test_connecting_ends_in_time(fault_peer, monkeypatch, run):
    fault_peer()
    with monkeypatch.context() as context, silent_portmapper(context):
        took = least(lambda: seconds_until_timeout(
            lambda: run(lambda: Lambda(HOST, timeout=0.3))))
        assert 0.3 <= took < 0.4
    with run(lambda: Lambda(HOST, timeout=20)) as client:
        assert client.timeout == 20
        assert run(client.l_get_status_1) == GOOD


@pytest.mark.parametrize("run", [in_main_thread, in_another_thread])
def test_the_timeout_of_a_client_is_that_of_its_calls(fault_peer, run):
    peer = fault_peer()
    with run(lambda: Lambda(HOST, timeout=20)) as client:
        client.timeout = 0.1
        peer.script({"delay": 0.3})
        with pytest.raises(TimeoutError, match=r"0\.1 s"):
            run(lambda: client.call("l_get_status_1"))
        peer.script({"delay": 0.3})
        assert run(lambda: client.call("l_get_status_1", timeout=20)) == GOOD


@pytest.mark.parametrize("run", [in_main_thread, in_another_thread])
def test_a_failed_connection_is_told_as_without_a_timeout(fault_peer, run):
    peer = fault_peer()
    peer.stop()
    told = []
    for timeout in (None, 20):
        with pytest.raises(ConnectError) as caught:
            run(lambda timeout=timeout: Lambda(HOST, timeout=timeout))
        told.append(str(caught.value))
    assert told[0] == told[1]


@posix
def test_a_resolver_that_does_not_answer_is_given_up(fault_peer, monkeypatch):
    fault_peer()
    monkeypatch.setattr(socket, "gethostbyname", lambda host: time.sleep(5))
    started = time.monotonic()
    with pytest.raises(TimeoutError):
        Lambda("localhost", timeout=0.2)
    assert time.monotonic() - started < 4


def test_two_threads_share_one_worker(fault_peer):
    peer = fault_peer()
    with Lambda(HOST) as client, concurrent.futures.ThreadPoolExecutor(4) as pool:
        found = [pool.submit(client.l_get_status_1, timeout=20) for _ in range(8)]
        assert [each.result() for each in found] == [GOOD] * 8
    assert {call.connection for call in peer.calls()} == {2}


# ---- the timer of a script


class Alarms:
    """A script's handler of SIGALRM: it keeps the times at which it ran."""

    def __init__(self):
        self.start = time.monotonic()
        self.times = []
        self.action = lambda: None

    def __call__(self, number, frame):
        self.times.append(time.monotonic() - self.start)
        self.action()


@pytest.fixture
def alarms():
    """A script's handler of SIGALRM, in its place. The timer is the test's to set."""
    before = signal.getsignal(signal.SIGALRM)
    handler = Alarms()
    signal.signal(signal.SIGALRM, handler)
    yield handler
    signal.setitimer(signal.ITIMER_REAL, 0)
    signal.signal(signal.SIGALRM, before)


def about(*times):
    """These times, or up to 190 ms later on a loaded machine."""
    return pytest.approx([each + 0.094 for each in times], abs=0.096)


def sleep_within(limit, seconds):
    """What a call does: it waits, and signal handlers run meanwhile."""
    _alarm.run(TimeLimit(limit), lambda: time.sleep(seconds))


@posix
def test_the_scripts_alarm_rings_at_its_time(alarms):
    signal.setitimer(signal.ITIMER_REAL, 0.2, 0.2)
    with pytest.raises(TimeoutError):
        sleep_within(0.5, 5)
    assert signal.getsignal(signal.SIGALRM) is alarms
    time.sleep(0.2)
    assert alarms.times[:3] == about(0.2, 0.4, 0.6)
    assert signal.getitimer(signal.ITIMER_REAL)[1] == pytest.approx(0.2)


@posix
def test_the_rest_of_the_scripts_timer_is_left(alarms):
    signal.setitimer(signal.ITIMER_REAL, 5, 3)
    sleep_within(1, 0.1)
    left, interval = signal.getitimer(signal.ITIMER_REAL)
    assert 4 < left <= 4.9
    assert interval == pytest.approx(3)
    assert alarms.times == []


@posix
def test_a_timer_that_is_off_stays_off(alarms):
    sleep_within(1, 0.01)
    with pytest.raises(TimeoutError):
        sleep_within(0.01, 1)
    assert signal.getitimer(signal.ITIMER_REAL) == (0, 0)
    assert signal.getsignal(signal.SIGALRM) is alarms
    time.sleep(0.05)
    assert alarms.times == []


@posix
def test_the_scripts_handler_may_raise(alarms):
    def stop():
        raise KeyError("of the script")

    alarms.action = stop
    signal.setitimer(signal.ITIMER_REAL, 0.05)
    with pytest.raises(KeyError):
        sleep_within(0.2, 5)
    assert signal.getitimer(signal.ITIMER_REAL) == (0, 0)
    assert signal.getsignal(signal.SIGALRM) is alarms


@posix
def test_the_scripts_handler_may_set_the_timer_and_itself_anew(alarms):
    other = Alarms()

    def change():
        assert signal.getsignal(signal.SIGALRM) is alarms
        signal.signal(signal.SIGALRM, other)
        signal.setitimer(signal.ITIMER_REAL, 0.05)

    alarms.action = change
    signal.setitimer(signal.ITIMER_REAL, 0.05)
    sleep_within(1, 0.2)
    assert signal.getsignal(signal.SIGALRM) is other
    assert alarms.times + other.times == about(0.05, 0.1)


@posix
def test_a_signal_from_elsewhere_is_the_scripts(alarms):
    threading.Timer(0.05, os.kill, (os.getpid(), signal.SIGALRM)).start()
    with pytest.raises(TimeoutError):
        sleep_within(0.2, 5)
    assert alarms.times == about(0.05)


@posix
@pytest.mark.parametrize("handler", [signal.SIG_IGN, signal.SIG_DFL])
def test_a_signal_without_handler_is_no_matter(alarms, handler):
    signal.signal(signal.SIGALRM, handler)
    with pytest.raises(TimeoutError):
        sleep_within(0.05, 5)
    assert signal.getsignal(signal.SIGALRM) == handler


@posix
def test_an_alarm_without_handler_ends_the_process_as_ever(run_script):
    done = run_script("""
        import signal, time
        from kvrpc_tools import _alarm
        from kvrpc_tools._time_limit import TimeLimit
        signal.alarm(1)
        _alarm.run(TimeLimit(5), lambda: time.sleep(5))
    """)
    assert done.returncode == -signal.SIGALRM


@posix
def test_limits_may_be_nested(alarms):
    with pytest.raises(TimeoutError, match=r"0\.05 s"):
        _alarm.run(TimeLimit(0.05), lambda: sleep_within(1, 5))
    with pytest.raises(TimeoutError, match=r"0\.05 s"):
        _alarm.run(TimeLimit(1), lambda: sleep_within(0.05, 5))
    assert signal.getitimer(signal.ITIMER_REAL) == (0, 0)


@posix
def test_a_verifier_is_ended_in_silence(fault_peer, capfd):
    peer = fault_peer()

    class Slow:
        def verify_call(self, name):
            time.sleep(5)
            return True

    with Lambda(HOST, verifier=Slow()) as client:
        started = time.monotonic()
        with pytest.raises(TimeoutError):
            client.l_get_status_1(timeout=0.2)
        assert time.monotonic() - started < 4
    assert peer.calls() == []
    assert capfd.readouterr().err == ""


@posix
def test_the_worker_is_taken_where_the_signal_is_not_to_be_had(fault_peer):
    fault_peer()
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGALRM})
    try:
        with Lambda(HOST, timeout=20) as client:
            assert client.l_get_status_1() == GOOD
            assert isinstance(client._transport, deadline.TimedTransport)
            assert client._transport._workers
    finally:
        signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGALRM})


@posix
def test_ends_at_any_moment_leave_everything_in_order(fault_peer, alarms):
    fault_peer()
    signal.setitimer(signal.ITIMER_REAL, 0.0007, 0.0007)
    ended = 0
    with Lambda(HOST) as client:
        for step in range(1000):
            short = 1e-5 * (step % 400 + 1)
            try:  # a loaded machine may make no call within the short times
                assert client.l_get_status_1(timeout=5 if step % 100 == 99 else short) == GOOD
            except TimeoutError:
                ended += 1
            assert signal.getsignal(signal.SIGALRM) is alarms
        before = len(alarms.times)
        assert signal.getitimer(signal.ITIMER_REAL)[1] == pytest.approx(0.0007)
        wait_until(lambda: len(alarms.times) - before > 20)
        signal.setitimer(signal.ITIMER_REAL, 0)
        assert client.l_get_status_1() == GOOD
    assert 0 < ended < 1000
