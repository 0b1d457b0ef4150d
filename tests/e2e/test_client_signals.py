"""Signals while a call waits for its reply."""

import signal
import time

import pytest

VERSION = '{"l_version_1":0}'
REPLY = b'{"status":0,"message":"ok","result":7}'


class Alarm(Exception):
    pass


def raise_alarm():
    raise Alarm


def test_a_handler_that_raises_ends_the_call_without_a_second_attempt(
    module, lambda_peer, allow, on_alarm
):
    peer = lambda_peer("hang", "answer")
    client = module.RpcClient("lambda")
    on_alarm(raise_alarm)
    started = time.monotonic()
    with pytest.raises(Alarm):
        client.call(VERSION, allow)
    assert time.monotonic() - started < 5
    assert peer.events(3) == ["open", "call 19", "gone"]
    assert peer.is_silent()
    assert allow.names == ["l_version_1"]


def test_the_client_is_usable_at_once_after_a_handler_raised(module, lambda_peer, allow, on_alarm):
    peer = lambda_peer("hang", "hang", "answer")
    client = module.RpcClient("lambda")
    for _ in range(2):
        on_alarm(raise_alarm)
        with pytest.raises(Alarm):
            client.call(VERSION, allow)
        assert peer.events(3) == ["open", "call 19", "gone"]
    started = time.monotonic()
    assert client.call(VERSION, allow) == REPLY
    assert time.monotonic() - started < 5
    client.close()


def test_ctrl_c_ends_a_hanging_call(module, lambda_peer, allow, on_alarm):
    lambda_peer("hang")
    client = module.RpcClient("lambda")
    on_alarm(lambda: signal.raise_signal(signal.SIGINT))
    started = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        client.call(VERSION, allow)
    assert time.monotonic() - started < 5
    client.close()


def test_a_handler_that_returns_lets_the_wait_go_on(module, lambda_peer, allow, on_alarm):
    peer = lambda_peer("slow")
    client = module.RpcClient("lambda")
    ticks = []
    on_alarm(lambda: ticks.append(1), delay=0.01, interval=0.01)
    assert client.call(VERSION, allow) == REPLY
    signal.setitimer(signal.ITIMER_REAL, 0)
    assert len(ticks) >= 10
    assert peer.events(2) == ["open", "call 19"]
    client.close()


def test_a_handler_that_closes_the_client_lets_the_call_end(module, lambda_peer, allow, on_alarm):
    peer = lambda_peer("slow")
    client = module.RpcClient("lambda")
    on_alarm(client.close)
    assert client.call(VERSION, allow) == REPLY
    assert peer.events(3) == ["open", "call 19", "gone"]
    assert client.call(VERSION, allow) == REPLY
    client.close()


def test_a_handler_that_calls_the_same_client_gets_a_connection_of_its_own(
    module, lambda_peer, allow, on_alarm
):
    peer = lambda_peer("slow", "answer")
    client = module.RpcClient("lambda")
    replies = []
    on_alarm(lambda: replies.append(client.call('{"l_startserver_1":""}', allow)))
    assert client.call(VERSION, allow) == REPLY
    assert replies == [b'{"status":0,"message":"ok","result":true}']
    assert allow.names == ["l_version_1", "l_startserver_1", "l_startserver_1"]
    assert peer.events(5) == ["open", "call 19", "open", "call 9", "gone"]
    client.close()


def test_a_handler_that_calls_another_client_disturbs_nothing(module, lambda_peer, allow, on_alarm):
    lambda_peer("slow", "answer")
    client, other = module.RpcClient("lambda"), module.RpcClient("lambda")
    replies = []
    on_alarm(lambda: replies.append(other.call(VERSION, allow)))
    assert client.call(VERSION, allow) == REPLY
    assert replies == [REPLY]
    client.close()
    other.close()


def test_a_handler_that_closes_and_raises_leaves_a_closed_client(
    module, lambda_peer, allow, on_alarm
):
    peer = lambda_peer("hang", "answer")
    client = module.RpcClient("lambda")

    def close_and_raise():
        client.close()
        raise Alarm

    on_alarm(close_and_raise)
    with pytest.raises(Alarm):
        client.call(VERSION, allow)
    assert peer.events(3) == ["open", "call 19", "gone"]
    assert client.call(VERSION, allow) == REPLY
    client.close()


def test_a_call_of_another_thread_that_was_vetting_does_not_wait_for_this_one(
    run_script, lambda_peer
):
    """Its vetting ends while a handler of the waiting call runs, and both share a connection. In a
    process of its own: to wait for each other would stop the interpreter."""
    peer = lambda_peer("slow", "answer")
    done = run_script(f"""
        import faulthandler, os, signal, threading
        import kvrpc
        faulthandler.dump_traceback_later(20, exit=True)
        os.environ["KORVEXRPCPORT"] = "{peer.base_port}"
        client = kvrpc.RpcClient("lambda", "127.0.0.1")
        vetting, waiting = threading.Event(), threading.Event()
        names, replies = [], []

        class Patient:
            def verify_call(self, name):
                names.append(name)
                vetting.set()
                return waiting.wait(10)

        class Quick:
            def verify_call(self, name):
                return True

        def call():
            replies.append(client.call('{{"l_startserver_1":""}}', Patient()))

        def handler(number, frame):
            waiting.set()
            other.join()

        other = threading.Thread(target=call)
        other.start()
        vetting.wait(10)
        signal.signal(signal.SIGALRM, handler)
        signal.setitimer(signal.ITIMER_REAL, 0.1)
        replies.append(client.call('{{"l_version_1":0}}', Quick()))
        print(names, replies)
        client.close()
    """)
    replies = [b'{"status":0,"message":"ok","result":true}', REPLY]
    assert (done.stdout, done.stderr) == (f"{['l_startserver_1'] * 2} {replies}\n", "")
    assert peer.events(5) == ["open", "call 19", "open", "call 9", "gone"]
