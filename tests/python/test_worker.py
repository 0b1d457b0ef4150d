"""A connection in a worker process: equal replies, and an end in every case."""

import os
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import pytest
from verifier import Verifier
from waiting import wait_until

import kvrpc
from kvrpc_tools._worker import WorkerError
from kvrpc_tools._worker_client import WorkerClient
from tests.python.processes import children

STATUS = '{"l_get_status_1":null}'
STATUS_REPLY = (b'{"status":0,"message":"ok","result":{"state_fax":1,"state_gateways":2,'
                b'"state_daemons":3,"state_drivers":4}}')
linux = pytest.mark.skipif(sys.platform != "linux", reason="counts what Linux lists in /proc")
posix = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no fork and no signals")


@pytest.fixture
def client():
    made = WorkerClient("lambda", "127.0.0.1")
    yield made
    made.close()


def worker_of(client):
    return client._worker.pid


def is_running(pid):
    """Returns true if a process runs. A zombie does not run."""
    try:
        state = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0]
    except OSError:
        return False
    return state != "Z"


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_replies_are_those_of_the_module(fault_peer, client, transport):
    fault_peer(transport)
    texts = [STATUS, '{"l_version_1":0}', '{"nonsense_1":null}', "no JSON", "[]", ""]
    module = kvrpc.RpcClient("lambda", "127.0.0.1")
    assert [client.call(text, Verifier()) for text in texts] == [
        module.call(text, Verifier()) for text in texts]
    assert client.call(STATUS, None) == STATUS_REPLY
    module.close()


def test_a_long_call_and_a_long_reply_cross(fault_peer, client):
    fault_peer()
    text = '{"nonsense_1":"' + "x" * 20_000_000 + '"}'
    assert client.call(text, None) == b'{"status":4,"message":"unknown function"}'
    assert client.call(STATUS, None) == STATUS_REPLY


@pytest.mark.filterwarnings("ignore::pytest.PytestUnraisableExceptionWarning")
def test_the_verifier_decides_in_this_process(fault_peer, client):
    fault_peer()
    module = kvrpc.RpcClient("lambda", "127.0.0.1")
    for verdict in (True, False, 1, 0, -1, None, 1.5, 0.5, ValueError("no")):
        verifier, other = Verifier(verdict), Verifier(verdict)
        assert client.call(STATUS, verifier) == module.call(STATUS, other)
        assert verifier.names == other.names == ["l_get_status_1"]
    module.close()


def test_the_second_attempt_asks_the_verifier_again(fault_peer, client):
    peer = fault_peer()
    peer.script({"cut": 0, "then": "close"})
    verifier = Verifier()
    assert client.call(STATUS, verifier) == STATUS_REPLY
    assert verifier.names == ["l_get_status_1"] * 2


def test_no_connection_is_told_as_by_the_module(fault_peer, client):
    peer = fault_peer()
    peer.stop()
    with pytest.raises(kvrpc.ClntCreateError) as expected:
        kvrpc.RpcClient("lambda", "127.0.0.1")
    with pytest.raises(kvrpc.ClntCreateError) as caught:
        client.call(STATUS, None)
    assert caught.value.message == expected.value.message
    pid = worker_of(client)
    with pytest.raises(kvrpc.ClntCreateError):
        client.call(STATUS, None)
    assert worker_of(client) == pid


def test_a_variable_set_later_counts(fault_peer, client, monkeypatch):
    first, second = fault_peer(), fault_peer()
    client.call(STATUS, None)
    monkeypatch.setenv("KORVEXRPCPORT", str(first.base_port()))
    second.script({"cut": 0, "then": "close"})
    assert client.call(STATUS, None) == STATUS_REPLY
    assert [len(peer.calls()) for peer in (first, second)] == [1, 1]


def test_a_text_that_is_no_utf_8_fails_here(fault_peer, client):
    fault_peer()
    with pytest.raises(UnicodeEncodeError):
        client.call('{"l_get_status_1":"\ud800"}', None)
    assert client.call(STATUS, None) == STATUS_REPLY


def test_a_timeout_ends_the_call_and_the_next_one_is_right(fault_peer, client):
    peer = fault_peer()
    for _ in range(2):
        client.create()
        peer.script([])
        started = time.monotonic()
        with pytest.raises(TimeoutError, match=r"no answer within 0\.3 s"):
            client.call(STATUS, None, timeout=0.3)
        assert time.monotonic() - started < 5
        assert client.call(STATUS, None, timeout=20) == STATUS_REPLY


def test_no_time_at_all_sends_nothing(fault_peer, client):
    peer = fault_peer()
    client.create()
    for timeout in (0, -1.0):
        with pytest.raises(TimeoutError):
            client.call(STATUS, None, timeout=timeout)
    with pytest.raises(ValueError):
        client.call(STATUS, None, timeout=float("nan"))
    assert peer.calls() == []
    assert client.call(STATUS, None, timeout=float("inf")) == STATUS_REPLY


def test_a_deadline_during_the_start_leaves_the_worker_to_start(fault_peer, client):
    fault_peer()
    while client._worker is None:  # on a loaded machine, the time may be over before the start
        with pytest.raises(TimeoutError):
            client.call(STATUS, None, timeout=1e-3)
    pid = worker_of(client)
    assert client.call(STATUS, None) == STATUS_REPLY
    assert worker_of(client) == pid


def test_other_threads_go_on_during_a_call(fault_peer, client):
    peer = fault_peer()
    client.create()
    peer.script({"delay": 1})
    longest = last = 0.0
    caller = threading.Thread(target=client.call, args=(STATUS, None))
    caller.start()
    last = time.monotonic()
    while caller.is_alive():
        time.sleep(0.001)
        longest = max(longest, time.monotonic() - last)
        last = time.monotonic()
    assert longest < 0.7


def test_threads_take_turns_on_one_client(fault_peer, client):
    peer = fault_peer()
    client.create()
    peer.script(*[{"delay": 0.05}] * 4)
    replies = []
    callers = [threading.Thread(target=lambda: replies.append(client.call(STATUS, None)))
               for _ in range(4)]
    for caller in callers:
        caller.start()
    time.sleep(0.02)
    with pytest.raises(TimeoutError):
        client.call(STATUS, None, timeout=0.05)
    for caller in callers:
        caller.join()
    assert replies == [STATUS_REPLY] * 4


@posix
def test_a_worker_that_is_killed_is_told_and_replaced(fault_peer, client):
    peer = fault_peer()
    client.create()
    os.kill(worker_of(client), signal.SIGKILL)
    with pytest.raises(WorkerError, match="exit code -9"):
        client.call(STATUS, None)
    assert client.call(STATUS, None) == STATUS_REPLY
    peer.script([])
    killer = threading.Timer(0.1, os.kill, (worker_of(client), signal.SIGKILL))
    killer.start()
    with pytest.raises(WorkerError, match="may have received"):
        client.call(STATUS, None)
    assert client.call(STATUS, None) == STATUS_REPLY


def test_a_worker_that_cannot_start_is_told(client, monkeypatch):
    monkeypatch.setattr(kvrpc, "__file__", os.path.join("nowhere", "kvrpc.so"))
    with pytest.raises(WorkerError, match="exit code 1"):
        client.call(STATUS, None)


@linux
@pytest.mark.parametrize("how", ["os._exit(0)", "os.kill(os.getpid(), 9)", "sys.exit(0)"])
def test_a_worker_ends_with_its_parent_in_the_middle_of_a_call(fault_peer, how):
    peer = fault_peer()
    peer.script([])
    script = f"""
import os, sys, threading, time
from kvrpc_tools._worker_client import WorkerClient
from tests.python.processes import children
client = WorkerClient("lambda", "127.0.0.1")
client.create()
threading.Thread(target=client.call, args=({STATUS!r}, None), daemon=True).start()
time.sleep(0.2)
print(client._worker.pid, flush=True)
sys.stdin.read()
{how}
"""
    with subprocess.Popen([sys.executable, "-c", script], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, encoding="ascii") as parent:
        pid = int(parent.stdout.readline())
        assert is_running(pid)
        parent.stdin.close()
        wait_until(lambda: not is_running(pid), seconds=2)
    wait_until(lambda: {"event": "gone", "connection": 1} in peer.events(), seconds=2)


@linux
def test_no_descriptor_and_no_process_is_left(fault_peer):
    peer = fault_peer()
    before = sorted(os.listdir("/proc/self/fd"))
    processes = children()
    for _ in range(5):
        client = WorkerClient("lambda", "127.0.0.1")
        client.call(STATUS, None)
        peer.script([])
        with pytest.raises(TimeoutError):
            client.call(STATUS, None, timeout=0.05)
        client.close()
        WorkerClient("lambda", "127.0.0.1").call(STATUS, None)  # dropped without close
    assert sorted(os.listdir("/proc/self/fd")) == before
    assert children() == processes


@linux
def test_a_worker_holds_nothing_that_its_parent_left_open(fault_peer, client):
    fault_peer()
    read, write = os.pipe()
    os.set_inheritable(write, True)
    client.create()
    os.close(write)
    assert os.read(read, 1) == b""
    os.close(read)
    assert sorted(os.listdir(f"/proc/{worker_of(client)}/fd")) == ["0", "1", "2", "3"]


@linux
def test_a_forked_process_has_no_part_in_its_parents_worker(fault_peer, client):
    fault_peer()
    client.create()
    pid = worker_of(client)
    child = os.fork()
    if child == 0:
        try:
            leaked = children()
            good = client.call(STATUS, None) == STATUS_REPLY and worker_of(client) != pid
            client.close()
            os._exit(0 if good and not leaked else 1)
        finally:
            os._exit(2)
    assert os.waitpid(child, 0)[1] == 0
    assert worker_of(client) == pid
    assert client.call(STATUS, None) == STATUS_REPLY


@linux
def test_a_worker_ends_while_a_forked_process_lives_on(fault_peer):
    fault_peer()
    script = f"""
import os, sys, time
from kvrpc_tools._worker_client import WorkerClient
from tests.python.processes import children
client = WorkerClient("lambda", "127.0.0.1")
client.call({STATUS!r}, None)
print(client._worker.pid, flush=True)
if os.fork():
    sys.stdin.read()
    os._exit(0)
sys.stdout.close()
time.sleep(30)
"""
    with subprocess.Popen([sys.executable, "-c", script], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, encoding="ascii",
                          start_new_session=True) as parent:
        pid = int(parent.stdout.readline())
        time.sleep(0.1)
        parent.stdin.close()
        wait_until(lambda: not is_running(pid), seconds=2)
        os.killpg(parent.pid, signal.SIGKILL)


@posix
def test_ctrl_c_of_the_terminal_is_left_to_the_parent(fault_peer, client):
    fault_peer()
    client.create()
    os.kill(worker_of(client), signal.SIGINT)
    assert client.call(STATUS, None) == STATUS_REPLY


@posix
def test_an_exception_in_the_wait_ends_the_worker(fault_peer, client, on_alarm):
    peer = fault_peer()
    client.create()
    peer.script([])
    pid = worker_of(client)

    def interrupt():
        raise KeyboardInterrupt

    on_alarm(interrupt)
    with pytest.raises(KeyboardInterrupt):
        client.call(STATUS, None)
    assert not is_running(pid)
    assert client.call(STATUS, None) == STATUS_REPLY


@linux
def test_the_interpreter_that_multiprocessing_was_given_is_started(fault_peer, client, tmp_path):
    import multiprocessing.spawn

    fault_peer()
    named = tmp_path / "interpreter"
    named.write_text(f'#!/bin/sh\ntouch {tmp_path}/started\nexec {sys.executable} "$@"\n')
    named.chmod(0o755)
    before = multiprocessing.spawn.get_executable()
    multiprocessing.set_executable(str(named))
    try:
        assert client.call(STATUS, None) == STATUS_REPLY
    finally:
        multiprocessing.set_executable(before)
    assert (tmp_path / "started").exists()
