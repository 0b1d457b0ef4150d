"""Every procedure through the module: answered by the simulator, and refused before any traffic."""

import json

import pytest

from kvrpc_tools import schema as schemas
from kvrpc_tools.simulator.fixture import running

UNSPECIFIED = "o_cha_licence_1"
REFUSED = b'{"status":1,"message":"can not json encode arg"}'


@pytest.fixture(scope="module")
def interface():
    return schemas.load()


def procedures_with_record(server):
    """Returns the procedures of a server whose argument is a record."""
    return [each for each in schemas.load().servers[server].procedures.values()
            if each.argument.kind == "record"]


SERVERS = [name for name in schemas.load().servers if procedures_with_record(name)]
ANSWERED = [(server.name, procedure.name) for server in schemas.load().servers.values()
            for procedure in server.procedures.values() if procedure.name != UNSPECIFIED]


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
    """Keeps the port set during each test: a second attempt reads the environment again."""
    monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))


def empty(interface, kind):
    """Returns the smallest argument: zero or an empty text, a record with only its texts, a union
    with its first arm.
    """
    if kind.kind != "record":
        return {"nothing": None, "bool": False}.get(
            kind.kind, "" if kind.kind in ("chars", "schars", "counted_text") else 0)
    record = interface.records[kind.record]
    if record.is_union:
        arm = record.fields[0]
        return {record.discriminant: arm.value, arm.key: empty(interface, arm.type)}
    return {field.key: "" for field in record.fields
            if field.type.kind in ("text", "string")}


@pytest.mark.parametrize("server, procedure", ANSWERED, ids=str)
def test_a_procedure_is_answered(connect, interface, monkeypatch, allow, server, procedure):
    argument = empty(interface, interface.procedures[procedure].argument)
    client = connect(server)
    reply = json.loads(client.call(json.dumps({procedure: argument}), allow))
    assert (reply["status"], reply["message"]) == (0, "ok")
    if procedure == "l_stopfax_1":
        client.call('{"l_startfax_1":null}', allow)


@pytest.mark.parametrize("server", SERVERS)
def test_a_record_takes_nothing_else(connect, simulator, allow, server):
    heard = simulator.log()
    taken = []
    for procedure in procedures_with_record(server):
        for argument in ({"nobody": 1}, None, [], "x", 1):
            reply = connect(server).call(json.dumps({procedure.name: argument}), allow)
            if reply != REFUSED:
                taken.append((procedure.name, argument, reply))
    assert taken == []
    assert simulator.log() == heard


@pytest.mark.parametrize("server", SERVERS)
def test_a_member_of_the_wrong_type_is_refused(connect, interface, simulator, allow, server):
    heard = simulator.log()
    taken = []
    for procedure in procedures_with_record(server):
        record = interface.records[procedure.argument.record]
        keys = [field.key for field in record.fields if field.type.kind != "list_next"]
        for key in [record.discriminant] if record.is_union else keys:
            reply = connect(server).call(json.dumps({procedure.name: {key: {"a": [1]}}}), allow)
            if reply != REFUSED:
                taken.append((procedure.name, key, reply))
    assert taken == []
    assert simulator.log() == heard


def test_the_unspecified_procedure_is_known_and_never_sent(connect, simulator, allow):
    heard = simulator.log()
    for argument in (None, "key", {}, 1):
        reply = connect("omega").call(json.dumps({UNSPECIFIED: argument}), allow)
        assert reply == REFUSED
    assert simulator.log() == heard
