"""What the end-to-end tests share: the built module, clients, scripts in processes of their own.

A client of `frame_client` never connects, so tests with it reach everything up to the network and
need none. Tests with a connection use `lambda_peer`.
"""

import ctypes
import importlib
import os
import pathlib
import sys

import pytest

HERE = pathlib.Path(__file__).resolve().parent

sys.path.insert(0, str(HERE.parent))
sys.path.insert(0, str(HERE))

from lambda_peer import LambdaPeer  # noqa: E402


def pytest_collection_modifyitems(config, items):
    """What waits for a minute starts first, and on one build of several."""
    waiting = [item for item in items if item.get_closest_marker("once")]
    others = [item for item in items if not item.get_closest_marker("once")]
    if pathlib.Path(os.environ.get("KVRPC_BUILD", "debug")).name == "debug":
        items[:] = waiting + others
    else:
        items[:] = others
        config.hook.pytest_deselected(items=waiting)


@pytest.fixture(scope="session")
def module():
    return importlib.import_module("kvrpc")


@pytest.fixture
def meant_to_leak():
    """What is allocated while the test runs may be left behind: the leak check passes it over."""
    sanitizer = ctypes.CDLL(None) if os.environ.get("KVRPC_SANITIZED") else None
    if sanitizer:
        sanitizer.__lsan_disable()
    yield
    if sanitizer:
        sanitizer.__lsan_enable()


@pytest.fixture
def frame_client(module):
    """A class whose clients have no connection and never make one."""

    class FrameClient(module.RpcClient):
        def create(self):
            pass

    return FrameClient


class Verifier:
    """Answers every vetting with one verdict and keeps the names it was asked for."""

    def __init__(self, verdict=True):
        self.verdict = verdict
        self.names = []

    def verify_call(self, name):
        self.names.append(name)
        return self.verdict


@pytest.fixture
def allow():
    return Verifier()


@pytest.fixture
def verifier():
    return Verifier


@pytest.fixture
def lambda_peer(monkeypatch):
    """Starts a peer that serves `lambda` by a list of actions, and points the environment to it."""
    peers = []

    def start(*actions):
        peer = LambdaPeer(actions)
        peers.append(peer)
        monkeypatch.setenv("KORVEXRPCPORT", str(peer.base_port))
        monkeypatch.setenv("ZOLMHOST", "127.0.0.1")
        return peer

    yield start
    for peer in peers:
        peer.stop()
