"""All vectors through the client library: the same bytes go out, and each result is read right.

The peer answers a call only if its bytes are those of the vector, which are the bytes that the raw
module sends.
"""

import json

import pytest
from servers import Started
from test_vectors import LINES, VECTORS

import kvrpc_tools
from kvrpc_tools import ArgumentError
from kvrpc_tools.schema import own


def read_apart(wire, value):
    """Returns a result with Python lists, by a reading of its own: recursive, led by the schema."""
    if wire.item is not None:
        return [read_apart(wire.item, item) for item in value]
    if not wire.record:
        return value
    record = own().records[wire.record]
    if wire.kind == "array":
        return [read_record(record, item) for item in value]
    if wire.kind == "pointer" and record.link is not None:
        nodes = []
        while value is not None:
            nodes.append(read_record(record, value))
            value = value[record.link.key]
        return nodes
    return None if value is None else read_record(record, value)


def read_record(record, value):
    found = {field.key: read_apart(field.type, value[field.key]) for field in record.fields
             if field is not record.link and field.key in value}
    if record.is_union:
        found = {record.discriminant: value[record.discriminant], **found}
    return found


@pytest.fixture(scope="module")
def peer():
    started = Started("vector_peer.py", str(VECTORS))
    yield started
    started.stop()


@pytest.fixture(scope="module")
def connect(peer):
    """Returns the client of a server, made once."""
    clients = {}

    def client_of(server):
        if server not in clients:
            with pytest.MonkeyPatch.context() as patch:
                patch.setenv("KORVEXRPCPORT", str(peer.port))
                clients[server] = getattr(kvrpc_tools, server.title())("localhost")
        return clients[server]

    yield client_of
    for client in clients.values():
        client.close()


def test_every_vector_goes_out_and_comes_back(connect, peer):
    for (server, name), lines in LINES.items():
        client = connect(server)
        wire = own().procedures[name].result
        for line in lines:
            argument = json.loads(line["call"])[name]
            try:
                result = client.call(name, argument)
            except ArgumentError as error:
                assert error.problems
                result = client.call(name, argument, check=False)
            assert peer.lines() == []
            assert result == read_apart(wire, json.loads(line["reply"])["result"]), line["call"]


def test_raw_results_are_those_of_the_reply(connect, peer):
    for (server, name), lines in LINES.items():
        for line in lines:
            argument = json.loads(line["call"])[name]
            result = connect(server).call(name, argument, check=False, raw=True)
            assert json.dumps(result) == json.dumps(json.loads(line["reply"])["result"])
