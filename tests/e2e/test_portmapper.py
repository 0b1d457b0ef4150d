"""Ports from a portmapper that nobody here wrote."""

import socket

import port_111
import pytest
from failures import STATUS, STATUS_REPLY

pytestmark = pytest.mark.peers

LAMBDA, TCP, UDP = 26011932, 6, 17
HOST = "127.0.0.1"
NOT_REGISTERED = "clnt_create: RPC: Program not registered\n"


@pytest.fixture(scope="module", autouse=True)
def portmapper():
    with port_111.remote_tea():
        yield


@pytest.fixture
def peer(fault_peer, monkeypatch):
    """Starts a server for `lambda` whose port is in no variable."""
    started = fault_peer()
    monkeypatch.delenv("KORVEXRPCPORT")
    return started


@pytest.fixture
def registered(peer):
    """Registers the peer for this protocol only."""

    def register(protocol, program=LAMBDA):
        for other in (TCP, UDP):
            port_111.ask(port_111.UNSET, program, 1, other, 0)
        port_111.register(program, protocol, peer.port)

    return register


def set_transport(monkeypatch, transport):
    if transport is None:
        monkeypatch.delenv("RPCTRANSPORT")
    else:
        monkeypatch.setenv("RPCTRANSPORT", transport)


@pytest.mark.parametrize(("transport", "protocol"), [(None, TCP), ("tcp", TCP), ("udp", UDP)])
def test_a_registered_server_is_found(module, peer, registered, allow, monkeypatch, transport,
                                      protocol):
    registered(protocol)
    set_transport(monkeypatch, transport)
    client = module.RpcClient("lambda", HOST)
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert [call.transport for call in peer.calls()] == [transport or "tcp"]
    client.close()


@pytest.mark.parametrize(("transport", "protocol"), [(None, UDP), ("tcp", UDP), ("udp", TCP)])
def test_a_server_on_the_other_protocol_is_not_registered(module, registered, monkeypatch,
                                                          transport, protocol):
    registered(protocol)
    set_transport(monkeypatch, transport)
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient("lambda", HOST)
    assert caught.value.message == NOT_REGISTERED


@pytest.mark.parametrize("transport", [None, "tcp", "udp"])
def test_a_server_that_nobody_registered(module, peer, monkeypatch, transport):
    set_transport(monkeypatch, transport)
    for server in ("sigma", "nue"):
        with pytest.raises(module.ClntCreateError) as caught:
            module.RpcClient(server, HOST)
        assert caught.value.message == NOT_REGISTERED


def test_a_server_that_has_gone_refuses_the_connection(module, peer, registered):
    registered(TCP)
    peer.stop()
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient("lambda", HOST)
    assert caught.value.message == "clnt_create: RPC: Remote system error - Error 10061\n"


@pytest.mark.parametrize("transport", [None, "udp"])
def test_the_second_attempt_asks_again(module, fault_peer, peer, registered, allow, monkeypatch,
                                       transport):
    set_transport(monkeypatch, transport)
    protocol = UDP if transport else TCP
    registered(protocol)
    other = fault_peer()
    monkeypatch.delenv("KORVEXRPCPORT")
    set_transport(monkeypatch, transport)
    client = module.RpcClient("lambda", HOST)
    peer.script({"reply": "00000001"} if transport else {"cut": 0, "then": "close"})
    port_111.register(LAMBDA, protocol, other.port)
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert [len(one.calls()) for one in (peer, other)] == [1, 1]
    client.close()


def test_the_shifted_number_is_asked_for(run_script, peer, registered):
    registered(TCP, LAMBDA + 5)
    done = run_script("""
        import kvrpc
        try:
            kvrpc.RpcClient("lambda", "127.0.0.1").close()
            print("connected")
            kvrpc.RpcClient("sigma", "127.0.0.1")
        except kvrpc.ClntCreateError as error:
            print(error.message, end="")
    """, environment={"KORVEXRPCOFFSET": "5"})
    assert done.stdout == "connected\n" + NOT_REGISTERED


def test_many_creations_leave_no_socket(module, peer, registered):
    registered(TCP)
    with socket.socket() as probe:
        number = probe.fileno()
    for _ in range(50):
        module.RpcClient("lambda", HOST).close()
    with socket.socket() as probe:
        assert probe.fileno() == number
