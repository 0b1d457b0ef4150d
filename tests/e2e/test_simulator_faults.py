"""How calls recover from a server that misbehaves.

tests/python/test_fault_table.py has each fault.
"""

import json
import time

import pytest

from kvrpc_tools.simulator.fixture import running

STATUS = '{"l_get_status_1":null}'
CANNOT_RECEIVE = 4


@pytest.fixture
def faulty(module, monkeypatch):
    """Makes a client of a simulator with faults."""
    contexts, clients = [], []

    def make(transport, *faults):
        contexts.append(running(*(word for fault in faults for word in ("--fault", fault))))
        simulator = contexts[-1].__enter__()
        monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))
        monkeypatch.setenv("RPCTRANSPORT", transport)
        clients.append(module.RpcClient("lambda"))
        return clients[-1], simulator

    yield make
    for client in clients:
        client.close()
    for context in contexts:
        context.__exit__(None, None, None)


def calls_of(simulator, procedure):
    return [line for line in simulator.log().splitlines() if procedure in line]


def test_a_cut_answer_is_made_good_by_the_second_attempt(faulty, allow):
    client, simulator = faulty("tcp", "cut:l_get_status_1:1")
    assert json.loads(client.call(STATUS, allow))["status"] == 0
    assert allow.names == ["l_get_status_1"] * 2
    assert len(calls_of(simulator, "l_get_status_1")) == 2


def test_two_cut_answers_are_a_lost_connection(faulty, allow):
    client, _ = faulty("tcp", "cut:l_get_status_1:2")
    reply = json.loads(client.call(STATUS, allow))
    assert reply == {"status": 3, "rpc_err": {"re_status": CANNOT_RECEIVE, "re_errno": 10054},
                     "message": reply["message"]}
    assert reply["message"].startswith("rpc_call: RPC: Unable to receive")
    assert json.loads(client.call(STATUS, allow))["status"] == 0


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_a_late_answer_is_waited_for(faulty, allow, transport):
    client, _ = faulty(transport, "delay=0.7:l_get_status_1:1")
    start = time.monotonic()
    assert json.loads(client.call(STATUS, allow))["status"] == 0
    assert 0.7 <= time.monotonic() - start < 4
    assert allow.names == ["l_get_status_1"]


@pytest.mark.slow
@pytest.mark.parametrize("fault", ["drop", "wrong-id"])
def test_a_datagram_without_an_answer_is_sent_again_after_five_seconds(faulty, allow, fault):
    client, simulator = faulty("udp", f"{fault}:l_get_status_1:1")
    start = time.monotonic()
    assert json.loads(client.call(STATUS, allow))["status"] == 0
    assert 4.5 <= time.monotonic() - start < 8
    assert allow.names == ["l_get_status_1"]
    assert len(calls_of(simulator, "l_get_status_1")) == 2


@pytest.mark.slow
@pytest.mark.parametrize("fault", ["drop", "wrong-id"])
def test_an_answer_that_never_comes_is_asked_for_again_on_a_new_connection(faulty, allow, fault):
    client, simulator = faulty("tcp", f"{fault}:l_get_status_1:1")
    start = time.monotonic()
    assert json.loads(client.call(STATUS, allow))["status"] == 0
    assert 24 <= time.monotonic() - start < 35
    assert allow.names == ["l_get_status_1"] * 2
    assert len(calls_of(simulator, "l_get_status_1")) == 2


def test_a_server_that_is_stopped_loses_its_clients_until_it_is_started(module, faulty, allow):
    control, _ = faulty("tcp")
    omega = module.RpcClient("omega")
    assert json.loads(omega.call('{"o_sync_1":null}', allow))["status"] == 0
    control.call('{"l_stopserver_1":"omega"}', allow)
    assert json.loads(omega.call('{"o_sync_1":null}', allow))["status"] == 3
    control.call('{"l_startserver_1":"omega"}', allow)
    assert json.loads(omega.call('{"o_sync_1":null}', allow))["status"] == 0
    omega.close()
