"""Which sockets are ready, on Linux and on the other systems."""

import importlib.util
import socket
import sys

import pytest

from kvrpc_tools.simulator import polling

SYSTEMS = ["linux", "win32"] if sys.platform == "linux" else ["win32"]  # only Linux has epoll


@pytest.fixture(params=SYSTEMS)
def poll(request, monkeypatch):
    """The module as that system has it, and its `Poll`."""
    monkeypatch.setattr(sys, "platform", request.param)
    spec = importlib.util.spec_from_file_location("polling_elsewhere", polling.__file__)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    made = module.Poll()
    yield module, made
    made.close()


@pytest.fixture
def pair():
    one, other = socket.socketpair()
    with one, other:
        yield one, other


def test_a_socket_is_ready_to_read_once_something_has_come(poll, pair):
    module, waiting = poll
    one, other = pair
    waiting.register(one, module.READ)
    assert waiting.poll(0) == []
    other.send(b"x")
    assert waiting.poll(5) == [(one.fileno(), module.READ)]


def test_a_socket_is_watched_for_other_events_than_before(poll, pair):
    module, waiting = poll
    one, _ = pair
    waiting.register(one, module.READ)
    waiting.modify(one, module.READ | module.WRITE)
    assert waiting.poll(5) == [(one.fileno(), module.WRITE)]


def test_the_end_of_a_connection_is_something_to_read(poll, pair):
    module, waiting = poll
    one, other = pair
    waiting.register(one, module.READ)
    other.close()
    (number, events), = waiting.poll(5)
    assert number == one.fileno()
    assert events & ~module.WRITE


def test_a_socket_that_is_not_watched_is_never_ready(poll, pair):
    module, waiting = poll
    one, other = pair
    waiting.register(one, module.READ)
    waiting.unregister(one)
    other.send(b"x")
    assert waiting.poll(0) == []
