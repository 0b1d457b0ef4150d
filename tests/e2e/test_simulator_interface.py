"""Every procedure through the module: answered by the simulator, and refused before any traffic."""

import json

import pytest

from kvrpc_tools import schema as schemas
from kvrpc_tools.simulator.fixture import running

UNSPECIFIED = "o_cha_licence_1"


@pytest.fixture(scope="module")
def interface():
    return schemas.load()


def names(keep=lambda kind: True):
    return [(server.name, procedure.name) for server in schemas.load().servers.values()
            for procedure in server.procedures.values() if keep(procedure.argument)]


@pytest.fixture(scope="module")
def simulator():
    with running() as started:
        yield started


@pytest.fixture(scope="module", params=["tcp", "udp"])
def connect(request, simulator, module):
    """A client of a server, kept for the module's tests."""
    clients = {}

    def client_of(server):
        if server not in clients:
            with pytest.MonkeyPatch.context() as patch:
                patch.setenv("KORVEXRPCPORT", str(simulator.port))
                patch.setenv("RPCTRANSPORT", request.param)
                clients[server] = module.RpcClient(server)
        return clients[server]

    yield client_of
    for client in clients.values():
        client.close()


@pytest.fixture(autouse=True)
def port(simulator, monkeypatch):
    """A second attempt makes its connection from the environment."""
    monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))


def empty(interface, kind):
    """The least that a procedure takes: zeroes, with a union's first arm."""
    if kind.kind != "record":
        return {"nothing": None, "bool": False}.get(
            kind.kind, "" if kind.kind in ("chars", "schars", "counted_text") else 0)
    record = interface.records[kind.record]
    if record.is_union:
        arm = record.fields[0]
        return {record.discriminant: arm.value, arm.key: empty(interface, arm.type)}
    return {field.key: "" for field in record.fields
            if field.type.kind in ("text", "string")}


@pytest.mark.parametrize("server, procedure",
                         [pair for pair in names() if pair[1] != UNSPECIFIED], ids=str)
def test_a_procedure_is_answered(connect, interface, monkeypatch, allow, server, procedure):
    argument = empty(interface, interface.procedures[procedure].argument)
    client = connect(server)
    reply = json.loads(client.call(json.dumps({procedure: argument}), allow))
    assert (reply["status"], reply["message"]) == (0, "ok")
    if procedure == "l_stopfax_1":
        client.call('{"l_startfax_1":null}', allow)


@pytest.mark.parametrize("argument", [
    pytest.param({"nobody": 1}, id="unknown member"), pytest.param(None, id="null"),
    pytest.param([], id="array"), pytest.param("x", id="text"), pytest.param(1, id="number")])
@pytest.mark.parametrize("server, procedure", names(lambda kind: kind.kind == "record"), ids=str)
def test_a_record_takes_nothing_else(connect, simulator, allow, server, procedure, argument):
    heard = simulator.log()
    reply = connect(server).call(json.dumps({procedure: argument}), allow)
    assert reply == b'{"status":1,"message":"can not json encode arg"}'
    assert simulator.log() == heard


@pytest.mark.parametrize("server, procedure", names(lambda kind: kind.kind == "record"), ids=str)
def test_a_member_of_the_wrong_type_is_refused(connect, interface, simulator, allow, server,
                                               procedure):
    record = interface.records[interface.procedures[procedure].argument.record]
    heard = simulator.log()
    keys = [field.key for field in record.fields if field.type.kind != "list_next"]
    for key in [record.discriminant] if record.is_union else keys:
        reply = connect(server).call(json.dumps({procedure: {key: {"a": [1]}}}), allow)
        assert reply == b'{"status":1,"message":"can not json encode arg"}'
    assert simulator.log() == heard


def test_the_unspecified_procedure_is_known_and_never_sent(connect, simulator, allow):
    heard = simulator.log()
    for argument in (None, "key", {}, 1):
        reply = connect("omega").call(json.dumps({UNSPECIFIED: argument}), allow)
        assert reply == b'{"status":1,"message":"can not json encode arg"}'
    assert simulator.log() == heard
