"""Fixtures of the simulator's tests: a running simulator, its clients, an installation alone."""

import pytest

from kvrpc_tools import schema as schemas
from kvrpc_tools.simulator.codec import Codec
from kvrpc_tools.simulator.fixture import running
from kvrpc_tools.simulator.state import Installation
from tests.python.simulator.client import Client


@pytest.fixture(scope="session")
def schema():
    return schemas.load()


@pytest.fixture(scope="session")
def codec(schema):
    return Codec(schema)


@pytest.fixture
def simulator():
    with running() as started:
        yield started


@pytest.fixture(scope="module")
def shared():
    """One simulator for a module's tests that leave it as they found it."""
    with running() as started:
        yield started


@pytest.fixture(params=["tcp", "udp"])
def client(request, schema, shared):
    return Client(schema, shared.port, request.param)


class Office:
    """An installation in this process, with a clock that the test turns.

    Arguments and results cross as bytes, as they do from a client.
    """

    def __init__(self, schema, codec):
        self.time = 1_000_000_000.0
        self._schema, self._codec = schema, codec
        self._installation = Installation(schema, lambda: self.time)

    def __call__(self, name, argument=None):
        procedure = self._schema.procedures[name]
        data = self._codec.encode(procedure.argument, argument)
        result = self._installation.run(name, self._codec.decode(procedure.argument, data))
        return self._codec.decode(procedure.result, self._codec.encode(procedure.result, result))


@pytest.fixture
def call(schema, codec):
    return Office(schema, codec)


@pytest.fixture
def fresh_call(schema, codec):
    """Makes a new installation each time it is called."""
    return lambda: Office(schema, codec)
