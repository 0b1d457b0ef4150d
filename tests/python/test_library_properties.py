"""Random arguments and results of every procedure: the library against the raw module.

The peer prints the bytes that it received and the bytes that it answered. The arguments are
compared as bytes, so the library must send exactly what the module sends for the raw text.
"""

import base64
import json
import os

import pytest
from hypothesis import HealthCheck, given, settings
from servers import Started

import kvrpc_tools
from kvrpc_tools import ArgumentError
from kvrpc_tools.schema import own
from kvrpc_tools.simulator.characters import SERVER_CODE
from kvrpc_tools.simulator.codec import Codec
from tests.python.arguments import bad, good

PRINTED = set("\b\t\n\f\r")  # the only control characters that a reply's text keeps
PROCEDURES = [procedure for procedure in own().procedures.values()
              if procedure.argument.kind != "unspecified"]
CODEC = Codec(own())

few = settings(max_examples=4, deadline=None, database=None,
               suppress_health_check=list(HealthCheck))
many = settings(few, max_examples=int(os.environ.get("KVRPC_EXAMPLES", "100")))


def arrives_as(wire, value):
    """Returns what the peer's codec reads of an argument, with zeroes for what was left out."""
    record = own().records.get(wire.record)
    if wire.kind == "opaque":
        return bytes(wire.count) if value is None else base64.b64decode(value)
    if wire.kind == "vector":
        return [arrives_as(wire.item, item) for item in value or [None] * wire.count]
    if record is not None and record.is_union:
        value = value or {record.discriminant: 0}
        arm = next(each for each in record.fields if each.value == value[record.discriminant])
        return {record.discriminant: arm.value, arm.key: arrives_as(arm.type, value.get(arm.key))}
    if record is not None and record.link is not None:
        first, *rest = [fields_as(record, node) for node in value]
        return {record.link.key: rest, **first}
    if record is not None:
        return fields_as(record, value or {})
    if isinstance(value, str):
        return bytes(own().characters[character] for character in value).decode(SERVER_CODE)
    return CODEC.decode(wire, CODEC.encode(wire, None)) if value is None else value


def fields_as(record, value):
    return {field.key: arrives_as(field.type, value.get(field.key))
            for field in record.fields if field is not record.link}


def read_as(value):
    """Returns a result of the peer's codec as the library returns it."""
    if isinstance(value, bytes):
        return base64.b64encode(value).decode()
    if isinstance(value, str):
        return "".join(each for each in value if each >= " " or each in PRINTED)
    if isinstance(value, list):
        return [read_as(item) for item in value]
    if isinstance(value, dict):
        return {key: read_as(item) for key, item in value.items()}
    return value


def raw_text(procedure, argument):
    """Returns the call text that a script writes without the library: with nested nodes."""
    record = own().records.get(procedure.argument.record)
    if record is not None and record.link is not None:
        rest = None
        for node in reversed(argument):
            rest = {**node, record.link.key: rest}
        argument = rest
    return json.dumps({procedure.name: argument})


@pytest.fixture(scope="module")
def peer():
    started = Started("../python/random_peer.py", "1")
    yield started
    started.stop()


@pytest.fixture(scope="module")
def connect(peer, module):
    """Returns the raw client and the library's client of a server, made once."""
    clients = {}

    def clients_of(server):
        if server not in clients:
            with pytest.MonkeyPatch.context() as patch:
                patch.setenv("KORVEXRPCPORT", str(peer.port))
                clients[server] = (module.RpcClient(server),
                                   getattr(kvrpc_tools, server.title())())
        return clients[server]

    yield clients_of
    for raw, library in clients.values():
        raw.close()
        library.close()


class Allow:
    def verify_call(self, name):
        return True


def bytes_of(peer):
    _, argument, result = peer.next_line().split()
    return [bytes.fromhex(each.strip("-")) for each in (argument, result)]


def compare(connect, peer, procedure, argument):
    raw, library = connect(procedure.server)
    reply = json.loads(raw.call(raw_text(procedure, argument), Allow()))
    assert reply["status"] == 0
    raw_argument, _ = bytes_of(peer)
    result = library.call(procedure.name, argument)
    sent, answered = bytes_of(peer)
    assert sent == raw_argument
    arrived = CODEC.decode(procedure.argument, sent)
    assert arrived == arrives_as(procedure.argument, argument)
    assert result == read_as(CODEC.decode(procedure.result, answered))


def refuse(connect, peer, procedure, found):
    argument, path = found
    _, library = connect(procedure.server)
    with pytest.raises(ArgumentError) as caught:
        library.call(procedure.name, argument)
    assert path in [problem.path[:len(path)] for problem in caught.value.problems]
    assert peer.lines() == []


AMOUNTS = [pytest.param(few, id="few"), pytest.param(many, id="many", marks=pytest.mark.slow)]


@pytest.mark.parametrize("amount", AMOUNTS)
@pytest.mark.parametrize("procedure", PROCEDURES, ids=lambda each: each.name)
def test_good_arguments_arrive_and_results_come_back(connect, peer, procedure, amount):
    @amount
    @given(good(procedure.argument))
    def holds(argument):
        compare(connect, peer, procedure, argument)

    holds()


@pytest.mark.parametrize("amount", AMOUNTS)
@pytest.mark.parametrize("procedure", PROCEDURES, ids=lambda each: each.name)
def test_a_mistake_is_named_and_nothing_is_sent(connect, peer, procedure, amount):
    @amount
    @given(bad(procedure.argument))
    def holds(found):
        refuse(connect, peer, procedure, found)

    holds()
