"""Puts what is tested on the path of the tests and of the processes that they start, and defines
the fixtures that all tests share.

The module is taken from the directory that KVRPC_LIB names, by default build/lib, and kvrpc_tools
from python/. A client of `frame_client` never connects, so a test with it needs no network. Tests
with a connection use `lambda_peer` or `fault_peer`.
"""

import ctypes
import importlib
import os
import signal
import subprocess
import sys
import textwrap
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[1]
LIBRARY = Path(os.environ.get("KVRPC_LIB", ROOT / "build" / "lib")).resolve()
PATHS = [str(LIBRARY), str(ROOT / "python")]

sys.path[:0] = [*PATHS, str(ROOT / "tests"), str(ROOT / "tests" / "e2e")]
os.environ["PYTHONPATH"] = os.pathsep.join(
    [*PATHS, *filter(None, [os.environ.get("PYTHONPATH")])])

# A script's `&` and nohup start a process with SIGINT ignored, and its children inherit that. With
# Python's own handler here, the processes that tests start get the default action.
if signal.getsignal(signal.SIGINT) is signal.SIG_IGN:
    signal.signal(signal.SIGINT, signal.default_int_handler)

from lambda_peer import LambdaPeer  # noqa: E402
from peer.started import FaultPeer  # noqa: E402
from settings import SETTINGS, clean_environment  # noqa: E402
from verifier import Verifier  # noqa: E402


def pytest_collection_modifyitems(config, items):
    """Starts the tests that wait for a minute first, and runs them on the debug build only."""
    waiting = [item for item in items if item.get_closest_marker("once")]
    others = [item for item in items if not item.get_closest_marker("once")]
    if Path(os.environ.get("KVRPC_BUILD", "debug")).name == "debug":
        items[:] = waiting + others
    else:
        items[:] = others
        config.hook.pytest_deselected(items=waiting)


@pytest.fixture(autouse=True)
def no_settings(monkeypatch):
    for name in SETTINGS:
        monkeypatch.delenv(name, raising=False)


@pytest.fixture
def run_script():
    """Runs the text of a script in a process of its own. Returns the completed process."""

    def run(script, *arguments, interpreter=sys.executable, environment=None, timeout=120):
        return subprocess.run(
            [interpreter, *arguments, "-c", textwrap.dedent(script)],
            capture_output=True,
            encoding="utf-8",
            timeout=timeout,
            env={**clean_environment(), **(environment or {})},
        )

    return run


@pytest.fixture(params=["tcp", "udp"])
def transport(request):
    """Runs the test once over each transport."""
    return request.param


@pytest.fixture
def fault_peer(monkeypatch):
    """Starts a scripted peer as a server, and sets the environment so that clients reach it."""
    peers = []

    def start(transport="tcp", server="lambda", host="127.0.0.1"):
        peer = FaultPeer(host)
        peers.append(peer)
        monkeypatch.setenv("KORVEXRPCPORT", str(peer.base_port(server)))
        monkeypatch.setenv("RPCTRANSPORT", transport)
        for variable in ("ZOLMHOST", "ALPHAHOST"):
            monkeypatch.setenv(variable, peer.host)
        return peer

    yield start
    for peer in peers:
        peer.stop()


@pytest.fixture
def on_alarm():
    """Installs a handler and sends SIGALRM after `delay` seconds, then every `interval` seconds."""

    def start(handler, delay=0.1, interval=0.0):
        signal.signal(signal.SIGALRM, lambda number, frame: handler())
        signal.setitimer(signal.ITIMER_REAL, delay, interval)

    before = signal.getsignal(signal.SIGALRM)
    yield start
    signal.setitimer(signal.ITIMER_REAL, 0)
    signal.signal(signal.SIGALRM, before)


@pytest.fixture(scope="session")
def module():
    return importlib.import_module("kvrpc")


@pytest.fixture
def meant_to_leak():
    """Excludes what is allocated while the test runs from the leak check."""
    sanitizer = ctypes.CDLL(None) if os.environ.get("KVRPC_SANITIZED") else None
    if not hasattr(sanitizer, "__lsan_disable"):  # that of threads looks for no leaks
        sanitizer = None
    if sanitizer:
        sanitizer.__lsan_disable()
    yield
    if sanitizer:
        sanitizer.__lsan_enable()


@pytest.fixture
def frame_client(module):
    """A class of clients that never connect."""

    class FrameClient(module.RpcClient):
        def create(self):
            pass

    return FrameClient


@pytest.fixture
def allow():
    return Verifier()


@pytest.fixture
def verifier():
    return Verifier


@pytest.fixture
def lambda_peer(monkeypatch):
    """Starts a `lambda` that follows a list of actions, and sets the environment to reach it."""
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
