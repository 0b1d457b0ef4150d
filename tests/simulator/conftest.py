import pytest

from simulator import schema as schemas
from simulator.codec import Codec
from simulator.fixture import running
from tests.simulator.client import Client


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
