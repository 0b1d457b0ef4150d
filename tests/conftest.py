"""Where the tests and the processes that they start find what is tested, and what they share.

The module is taken from the directory that KVRPC_LIB names, or else from build/lib, and kvrpc_tools
from python/.
"""

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

sys.path[:0] = [*PATHS, str(ROOT / "tests")]
os.environ["PYTHONPATH"] = os.pathsep.join(
    [*PATHS, *filter(None, [os.environ.get("PYTHONPATH")])])

from peer import FaultPeer  # noqa: E402
from settings import SETTINGS, clean_environment  # noqa: E402


@pytest.fixture(autouse=True)
def no_settings(monkeypatch):
    for name in SETTINGS:
        monkeypatch.delenv(name, raising=False)


@pytest.fixture
def run_script():
    """Runs a script text in a process of its own and returns the completed process."""

    def run(script, *arguments, interpreter=sys.executable, environment=None, timeout=120):
        return subprocess.run(
            [interpreter, *arguments, "-c", textwrap.dedent(script)],
            capture_output=True,
            encoding="utf-8",
            timeout=timeout,
            env={**clean_environment(), **(environment or {})},
        )

    return run


@pytest.fixture
def fault_peer(monkeypatch):
    """Starts a scripted peer in a server's place and points the environment to it."""
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
    """Installs a handler and sends the alarm after a while, again and again if asked."""

    def start(handler, delay=0.1, interval=0.0):
        signal.signal(signal.SIGALRM, lambda number, frame: handler())
        signal.setitimer(signal.ITIMER_REAL, delay, interval)

    before = signal.getsignal(signal.SIGALRM)
    yield start
    signal.setitimer(signal.ITIMER_REAL, 0)
    signal.signal(signal.SIGALRM, before)
