"""Each fault, seen from a client."""

import time

import pytest

from kvrpc_tools.schema import WireType
from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.faults import Faults, parse
from kvrpc_tools.simulator.fixture import running
from tests.python.simulator.client import Client, Unanswered, words

LAMBDA, SLOT, VERSION_PROCEDURE = 26011932, 3, 19


@pytest.fixture(params=["tcp", "udp"])
def faulty(request, schema):
    """Makes a client of a simulator with one fault."""
    started = []

    def make(fault):
        context = running("--fault", fault)
        started.append(context)
        return Client(schema, context.__enter__().port, request.param, patience=1.0)

    yield make
    for context in started:
        context.__exit__(None, None, None)


def ask_version(client):
    return client.exchange(SLOT, LAMBDA, 1, VERSION_PROCEDURE, b"")


def test_drop_leaves_the_call_unanswered(faulty):
    client = faulty("drop:l_version_1:1")
    with pytest.raises(Unanswered):
        client.call("l_version_1")
    assert client.call("l_version_1") > 0


def test_delay_answers_late(faulty):
    client = faulty("delay=0.4:l_version_1:1")
    start = time.monotonic()
    client.call("l_version_1")
    assert time.monotonic() - start >= 0.4


def test_a_delayed_answer_holds_nobody_else_up(schema):
    with running("--fault", "delay=5:l_version_1:1") as simulator:
        slow = Client(schema, simulator.port, "tcp", patience=0.2)
        with pytest.raises(Unanswered):
            slow.call("l_version_1")
        start = time.monotonic()
        Client(schema, simulator.port).call("l_ps_1")
        assert time.monotonic() - start < 4


def test_cut_ends_in_the_middle_of_the_answer(faulty):
    client = faulty("cut:l_version_1:1")
    if client.transport == "tcp":
        with pytest.raises(Unanswered):
            ask_version(client)
    else:
        assert len(ask_version(client)[1]) == 14
    assert client.call("l_version_1") > 0


def test_refuse_denies_the_caller_and_carries_nothing_out(faulty):
    client = faulty("refuse:l_stopgateway_1:1")
    argument = client.codec.encode(WireType("schars", 11), "mail")
    _, reply = client.exchange(SLOT, LAMBDA, 1, 17, argument)
    assert words(reply, 4, 4) == [rpc.REPLY, rpc.DENIED, rpc.AUTH_ERROR, rpc.AUTH_TOO_WEAK]
    assert client.call("l_get_status_1")["state_gateways"] == 1


def test_wrong_id_answers_another_call(faulty):
    client = faulty("wrong-id:l_version_1:1")
    xid, reply = ask_version(client)
    assert words(reply, 1) == [xid ^ 0xFFFFFFFF]


def test_garbage_breaks_off_inside_the_result(faulty):
    client = faulty("garbage:l_version_1:1")
    xid, reply = ask_version(client)
    assert words(reply, 6) == [xid, rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.SUCCESS]
    assert len(reply) == 26


def test_a_fault_befalls_its_procedure_as_often_as_said(schema):
    faults = Faults([parse("drop:l_ps_1:2"), parse("cut")])
    kinds = [faults.next_for(name).kind for name in ("l_ps_1", "l_ps_1", "l_ps_1", "l_version_1")]
    assert kinds == ["drop", "drop", "cut", "cut"]


@pytest.mark.parametrize("text", ["", "burn", "drop:a:b:c", "drop:l_ps_1:x", "delay=x"])
def test_what_is_no_fault_is_said_to_be_none(text):
    with pytest.raises(ValueError):
        parse(text)
