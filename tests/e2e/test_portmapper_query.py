"""What a portmapper is asked, and what each of its answers means."""

import time

import port_111
import pytest
from failures import TEXTS
from peer import messages
from peer.started import FaultPeer

LAMBDA, ALPHA, TCP, UDP = 26011932, 16011967, 6, 17
HOST = "127.0.0.4"  # an address that no other test asks
FAILED = "clnt_create: RPC: Port mapper failure - "


@pytest.fixture(scope="module")
def mapper():
    with port_111.taken():
        peer = FaultPeer(HOST, port_111.PORT)
        yield peer
        peer.stop()


@pytest.fixture
def answers(mapper):
    """Makes the portmapper answer all coming questions with one word or step."""

    def answer(what):
        step = {"reply": messages.success(messages.words(what))} if isinstance(what, int) else what
        mapper.script(otherwise=step)
        return mapper

    return answer


def reason(module, server="lambda"):
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient(server, HOST)
    return caught.value.message


@pytest.mark.parametrize(("transport", "asked_over", "protocol"), [
    (None, "udp", TCP), ("tcp", "tcp", TCP), ("udp", "udp", UDP)])
def test_one_query_with_these_numbers_goes_out(module, fault_peer, answers, monkeypatch, transport,
                                               asked_over, protocol):
    server = fault_peer(host=HOST)
    monkeypatch.delenv("KORVEXRPCPORT")
    if transport:
        monkeypatch.setenv("RPCTRANSPORT", transport)
    else:
        monkeypatch.delenv("RPCTRANSPORT")
    mapper = answers(server.port)
    module.RpcClient("lambda", HOST).close()
    (call,) = mapper.calls()
    assert call.transport == asked_over
    assert call.data[4:] == messages.words(
        0, 2, 100000, 2, 3, 0, 0, 0, 0, LAMBDA, 1, protocol, 0)


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_port_0_is_not_registered(module, answers, monkeypatch, transport):
    monkeypatch.setenv("RPCTRANSPORT", transport)
    answers(0)
    assert reason(module) == "clnt_create: RPC: Program not registered\n"


@pytest.mark.parametrize(("step", "status"), [
    ({"reply": messages.accepted(messages.PROG_UNAVAIL)}, 8),
    ({"reply": messages.prog_mismatch(3, 4)}, 9),
    ({"reply": messages.accepted(messages.PROC_UNAVAIL)}, 10),
    ({"reply": messages.accepted(messages.GARBAGE_ARGS)}, 11),
    ({"reply": messages.accepted(messages.SYSTEM_ERR)}, 12),
    ({"reply": messages.auth_error(5)}, 7),
    ({"reply": messages.rpc_mismatch(2, 2)}, 16),
    ({"reply": messages.success(b"")}, 2)], ids=str)
@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_a_failed_question_gives_its_reason(module, answers, monkeypatch, transport, step,
                                            status):
    monkeypatch.setenv("RPCTRANSPORT", transport)
    mapper = answers(step)
    assert reason(module) == FAILED + TEXTS[status] + "\n"
    assert len(mapper.calls()) == 1


def test_a_lost_question_over_tcp(module, answers, monkeypatch):
    monkeypatch.setenv("RPCTRANSPORT", "tcp")
    answers({"cut": 3, "then": "close"})
    assert reason(module) == FAILED + "RPC: Unable to receive\n"


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_a_silent_portmapper_is_asked_once_for_three_seconds(module, answers, monkeypatch,
                                                             transport):
    monkeypatch.setenv("RPCTRANSPORT", transport)
    mapper = answers([])
    started = time.monotonic()
    assert reason(module) == FAILED + "RPC: Timed out\n"
    assert 2.9 < time.monotonic() - started < 5.9  # a second question would make it 6
    assert len(mapper.calls()) == 1


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_a_handler_that_raises_ends_the_wait_for_a_silent_portmapper(module, answers, monkeypatch,
                                                                     on_alarm, transport):
    class Alarm(Exception):
        pass

    def ring():
        raise Alarm

    monkeypatch.setenv("RPCTRANSPORT", transport)
    mapper = answers([])
    on_alarm(ring)
    started = time.monotonic()
    with pytest.raises(Alarm):
        module.RpcClient("lambda", HOST)
    assert time.monotonic() - started < 2.9
    assert len(mapper.calls()) == 1


def test_a_port_from_the_environment_asks_nobody(module, fault_peer, answers):
    fault_peer("tcp", "alpha", HOST)
    mapper = answers(0)
    module.RpcClient("alpha", HOST).close()
    assert mapper.calls() == []


def test_port_0_of_the_map_asks_whatever_the_common_port_is(module, fault_peer, answers,
                                                            monkeypatch):
    peer = fault_peer("tcp", "alpha", HOST)
    monkeypatch.setenv("KORVEXRPCMAP", HOST + ":0")
    mapper = answers(peer.port)
    module.RpcClient("alpha", HOST).close()
    assert [call.data[40:44] for call in mapper.calls()] == [messages.words(ALPHA)]


def test_a_map_without_the_host_asks_and_says_nothing(module, fault_peer, answers, monkeypatch,
                                                      capfd):
    peer = fault_peer("tcp", "alpha", HOST)
    monkeypatch.delenv("KORVEXRPCPORT")
    monkeypatch.setenv("KORVEXRPCMAP", "a:7000;b:7100")
    mapper = answers(peer.port)
    module.RpcClient("alpha", HOST).close()
    assert len(mapper.calls()) == 1
    assert capfd.readouterr().err == ""


def test_nobody_on_port_111_refuses_over_tcp(module, mapper, monkeypatch):
    """On another address of loopback than the portmapper of these tests."""
    monkeypatch.setenv("RPCTRANSPORT", "tcp")
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient("lambda", "127.0.0.3")
    assert caught.value.message == "clnt_create: RPC: Remote system error - Error 10061\n"
