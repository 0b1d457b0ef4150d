"""A timer that fires all the time during calls, and Ctrl-C while a server is silent."""

import os
import signal
import subprocess
import sys
import time

import pytest
from failures import STATUS, STATUS_REPLY
from peer import messages
from settings import clean_environment

TICK = 0.005


@pytest.fixture
def ticks():
    """Returns a list that gets the time of each signal of the timer."""
    rung = []
    before = signal.signal(signal.SIGALRM, lambda number, frame: rung.append(time.monotonic()))
    signal.setitimer(signal.ITIMER_REAL, TICK, TICK)
    yield rung
    signal.setitimer(signal.ITIMER_REAL, 0)
    signal.signal(signal.SIGALRM, before)


def test_calls_go_on_while_a_timer_ticks(module, fault_peer, allow, ticks, transport):
    peer = fault_peer(transport)
    client = module.RpcClient("lambda")
    peer.script(otherwise={"delay": 0.012})
    del ticks[:]
    for _ in range(50):
        assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(ticks) > 50  # more than one in each call
    assert len(peer.calls()) == len(allow.names) == 50
    client.close()


def test_a_slow_reply_in_pieces_is_put_together_while_a_timer_ticks(
    module, fault_peer, allow, ticks
):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    peer.script({"piece": 1, "pause": 0.007})
    del ticks[:]
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(ticks) > 20
    assert len(peer.calls()) == 1
    client.close()


def test_a_long_call_leaves_whole_while_a_timer_ticks(module, fault_peer, allow, ticks):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    peer.script({"reply": messages.success(messages.words(1, 7))})
    name = "x" * 400000
    assert client.call(f'{{"l_statfile_1":{{"filename":"{name}"}}}}', allow).startswith(
        b'{"status":0,')
    (call,) = peer.calls()
    assert call.data[44:] == name.encode("ascii")
    assert set(call.fragments[:-1]) == {3996}
    client.close()


def test_connections_come_about_while_a_timer_ticks(module, fault_peer, allow, ticks, transport):
    fault_peer(transport)
    for _ in range(300):
        module.RpcClient("lambda").close()
    assert ticks


@pytest.mark.parametrize("garbage", [False, True], ids=["silent", "wrong ids"])
def test_ctrl_c_ends_a_hung_call_at_once(module, fault_peer, allow, transport, garbage):
    peer = fault_peer(transport)
    client = module.RpcClient("lambda")
    for _ in range(3):
        peer.script(otherwise=[{"id": "wrong", "delay": 0.01}] * 20 if garbage else [])
        arrived, raised = [], []

        def interrupt(number, frame, arrived=arrived, raised=raised):
            arrived.extend(peer.calls())
            if not arrived:  # the machine is busy
                signal.setitimer(signal.ITIMER_REAL, 0.05)
                return
            raised.append(time.monotonic())
            signal.raise_signal(signal.SIGINT)

        before = signal.signal(signal.SIGALRM, interrupt)
        signal.setitimer(signal.ITIMER_REAL, 0.05)
        with pytest.raises(KeyboardInterrupt):
            client.call(STATUS, allow)
        assert time.monotonic() - raised[0] < 5
        signal.signal(signal.SIGALRM, before)
        assert len(arrived + peer.calls()) == 1
        peer.script()
        assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(allow.names) == 6
    client.close()


def test_ctrl_c_from_outside_ends_a_script_in_a_hung_call(fault_peer, transport):
    """As a user does it: a signal to a process of its own, which then goes on to use the client."""
    peer = fault_peer(transport)
    peer.script([])
    script = """if True:
        import kvrpc
        class Allow:
            def verify_call(self, name):
                return True
        client = kvrpc.RpcClient("lambda", "127.0.0.1")
        try:
            client.call('{"l_version_1":null}', Allow())
        except KeyboardInterrupt:
            print("interrupted", flush=True)
        print(client.call('{"l_version_1":null}', Allow()).decode(), flush=True)
        client.close()
    """
    process = subprocess.Popen(
        [sys.executable, "-c", script], stdout=subprocess.PIPE, encoding="ascii",
        env={**clean_environment(), "KORVEXRPCPORT": os.environ["KORVEXRPCPORT"],
             "RPCTRANSPORT": transport})
    while peer.event()["event"] != "call":
        continue
    time.sleep(0.05)
    sent = time.monotonic()
    process.send_signal(signal.SIGINT)
    assert process.stdout.readline() == "interrupted\n"
    assert time.monotonic() - sent < 5
    assert process.stdout.read() == '{"status":0,"message":"ok","result":7}\n'
    assert process.wait(20) == 0
    process.stdout.close()
