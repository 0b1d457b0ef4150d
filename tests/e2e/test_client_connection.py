"""The states of a connection, against a server in another process."""

import json
import os

import pytest

VERSION = '{"l_version_1":0}'
REPLY = b'{"status":0,"message":"ok","result":7}'
LOST = (
    b'{"status":3,"rpc_err":{"re_status":4,"re_errno":10054},'
    b'"message":"rpc_call: RPC: Unable to receive- Error 10054\\n"}'
)


def open_sockets():
    links = []
    for each in os.listdir("/proc/self/fd"):
        try:
            links.append(os.readlink("/proc/self/fd/" + each))
        except OSError:
            pass
    return sum(link.startswith("socket:") for link in links)


def test_construction_connects_and_close_disconnects(module, lambda_peer):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    assert peer.event() == "open"
    assert client.close() is None
    assert peer.event() == "gone"
    assert client.close() is None
    assert peer.is_silent()


def test_create_on_a_connected_client_does_nothing(module, lambda_peer):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    assert client.create() is None
    assert peer.event() == "open"
    assert peer.is_silent()
    client.close()
    assert peer.event() == "gone"
    assert client.create() is None
    assert peer.event() == "open"
    client.close()


def test_calls_are_answered_on_one_connection(module, lambda_peer, allow):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    assert client.call(VERSION, allow) == REPLY
    status = json.loads(client.call('{"l_get_status_1":null}', allow))
    assert status["result"] == {
        "state_fax": 1,
        "state_gateways": 2,
        "state_daemons": 3,
        "state_drivers": 4,
    }
    assert client.call('{"l_startserver_1":"name"}', allow) == (
        b'{"status":0,"message":"ok","result":true}'
    )
    assert peer.events(4) == ["open", "call 19", "call 29", "call 9"]
    client.close()


def test_a_host_given_by_name_wins(module, lambda_peer, monkeypatch, allow):
    lambda_peer("answer")
    monkeypatch.setenv("ZOLMHOST", "no.such.host.invalid")
    client = module.RpcClient("lambda", host="localhost")
    assert client.call(VERSION, allow) == REPLY
    client.close()


def test_call_on_a_closed_client_reconnects_first(module, lambda_peer, allow):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    client.close()
    assert peer.events(2) == ["open", "gone"]
    assert client.call(VERSION, allow) == REPLY
    assert peer.events(2) == ["open", "call 19"]
    client.close()


def test_a_failed_first_attempt_reconnects_and_vets_again(module, lambda_peer, allow):
    peer = lambda_peer("drop", "answer")
    client = module.RpcClient("lambda")
    assert client.call(VERSION, allow) == REPLY
    assert peer.events(4) == ["open", "call 19", "open", "call 19"]
    assert allow.names == ["l_version_1"] * 2
    client.close()


def test_a_second_failure_is_the_reply_and_keeps_the_handle(module, lambda_peer, allow):
    peer = lambda_peer("drop", "drop", "answer")
    client = module.RpcClient("lambda")
    assert client.call(VERSION, allow) == LOST
    assert peer.events(4) == ["open", "call 19"] * 2
    assert client.create() is None
    assert peer.is_silent(), "the failed handle is still there"
    assert client.call(VERSION, allow) == REPLY
    assert peer.events(2) == ["open", "call 19"]
    client.close()


def test_other_statuses_end_the_call_at_once(module, lambda_peer, allow, verifier):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    for text in ("", "[]", '{"l_nothing_1":0}', '{"l_startserver_1":5}'):
        client.call(text, allow)
    client.call(VERSION, verifier(0))
    assert allow.names == ["l_nothing_1", "l_startserver_1"]
    assert peer.event() == "open"
    assert peer.is_silent()
    client.close()


def test_a_reconnect_that_fails_leaves_call_and_a_closed_client(module, lambda_peer, allow):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    peer.stop()
    with pytest.raises(module.ClntCreateError) as caught:
        client.call(VERSION, allow)
    assert caught.value.message == "clnt_create: RPC: Remote system error - Error 10061\n"
    assert allow.names == ["l_version_1"]
    lambda_peer("answer")
    assert client.call(VERSION, allow) == REPLY
    client.close()


def test_a_refused_connection_makes_no_instance(module, lambda_peer):
    lambda_peer("answer").stop()
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient("lambda")
    assert caught.value.message == "clnt_create: RPC: Remote system error - Error 10061\n"


def test_dropping_a_client_leaves_its_socket_open(run_script, lambda_peer):
    """Runs in a process without a leak check, because the open socket is a leak by design."""
    peer = lambda_peer("answer")
    done = run_script(f"""
        import gc, os
        import kvrpc
        os.environ["KORVEXRPCPORT"] = "{peer.base_port}"
        def sockets():
            count = 0
            for each in os.listdir("/proc/self/fd"):
                try:
                    count += os.readlink("/proc/self/fd/" + each).startswith("socket:")
                except OSError:
                    pass
            return count
        before = sockets()
        client = kvrpc.RpcClient("lambda", "127.0.0.1")
        del client
        gc.collect()
        print(sockets() - before, flush=True)
        os._exit(0)
    """)
    assert (done.stdout, done.stderr) == ("1\n", "")
    assert peer.events(2) == ["open", "gone"]


def test_closing_leaves_no_socket(module, lambda_peer, allow):
    lambda_peer("answer", "drop", "answer")
    before = open_sockets()
    client = module.RpcClient("lambda")
    for _ in range(3):
        assert client.call(VERSION, allow) == REPLY
    client.close()
    assert open_sockets() == before


def test_gamma_connects_but_has_no_calls(module, lambda_peer, monkeypatch, allow):
    """Its slot is 1, that of lambda is 3."""
    peer = lambda_peer("answer")
    monkeypatch.setenv("KORVEXRPCPORT", str(peer.base_port + 2))
    client = module.RpcClient("gamma")
    assert peer.event() == "open"
    for _ in range(2):
        with pytest.raises(MemoryError):
            client.call(VERSION, allow)
    assert peer.is_silent(), "the handle stays as it is"
    client.close()
    assert peer.event() == "gone"


def test_a_subclass_sees_the_reconnect_of_call(module, lambda_peer, allow):
    lambda_peer("drop", "answer")
    seen = []

    class Noting(module.RpcClient):
        def create(self):
            seen.append("create")
            return super().create()

        def close(self):
            seen.append("close")
            return super().close()

    client = Noting("lambda")
    assert client.call(VERSION, allow) == REPLY
    assert seen == ["create", "create", "close", "create"]
    client.close()


def test_a_subclass_that_keeps_a_failed_handle_calls_on_it_again(module, lambda_peer, allow):
    peer = lambda_peer("drop", "answer")

    class Keeping(module.RpcClient):
        def close(self):
            pass

    client = Keeping("lambda")
    assert json.loads(client.call(VERSION, allow))["status"] == 3
    assert peer.events(2) == ["open", "call 19"]
    assert peer.is_silent()
    module.RpcClient.close(client)
