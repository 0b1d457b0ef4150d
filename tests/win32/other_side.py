"""A plugin of pytest for the end-to-end tests on the 32-bit Windows interpreter.

The tests start their peers as processes of the interpreter; here these run on the other side of the
loopback, by way of tests/win32/peer_relay.py. What loads the module stays on this side. The tests
that Windows cannot have are named in tests/win32/excluded.txt, each with its reason; an entry that
fits no test is an error.
"""

import json
import os
import socket
import subprocess
import sys
import uuid
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
ERRORS = HERE.parents[1] / "build" / "win32" / "peers"


def runs_a_peer(arguments):
    """Returns true if a command runs only a script of the tests or the simulator."""
    if not arguments or arguments[0] != sys.executable:
        return False
    words = [word for word in arguments[1:] if word not in ("-u",)]
    if words[:2] == ["-m", "kvrpc_tools.simulator"]:
        return "--run" not in words
    if words[:2] == ["-m", "peer"]:
        return True
    return bool(words) and Path(words[0]).parent == HERE.parent / "e2e"


class Popen(subprocess.Popen):
    def __init__(self, arguments, **options):
        self._name = str(uuid.uuid4()) if runs_a_peer(arguments) else None
        self.peer_errors = ERRORS / f"{self._name}"
        if self._name:
            relay = [sys.executable, str(HERE / "peer_relay.py"), self._name]
            arguments = relay + list(arguments[1:])
        super().__init__(arguments, **options)

    def wait(self, timeout=None):
        """Waits for the process. Afterwards the peer has ended as well and released its ports."""
        code = super().wait(timeout)
        if self._name:
            starter = ("127.0.0.1", int(os.environ["KVRPC_PEER_STARTER"]))
            with socket.create_connection(starter) as end:
                end.sendall(json.dumps([self._name]).encode("ascii") + b"\n")
                end.recv(1)
            self._name = None
        return code


def start_peers_on_the_other_side():
    subprocess.Popen = Popen


def excluded():
    """Returns the beginnings of excluded test ids, with their reasons."""
    lines = (HERE / "excluded.txt").read_text(encoding="utf-8").splitlines()
    return dict(line.split(None, 1) for line in lines if line and not line.startswith("#"))


def pytest_configure(config):
    start_peers_on_the_other_side()
    from kvrpc_tools.simulator import fixture  # of the installed wheel

    def log(self):
        """As the simulator wrote it, before it answered."""
        return self.process.peer_errors.read_text(encoding="utf-8")

    fixture.Simulator.log = log


def pytest_collection_modifyitems(config, items):
    entries = excluded()
    found = {entry: [item for item in items if item.nodeid.startswith(entry)] for entry in entries}
    unused = [entry for entry, those in found.items()
              if not those and entry.split("::")[0] in config.args]
    if unused:
        raise pytest.UsageError(f"tests/win32/excluded.txt names no test: {unused}")
    left_out = {item for those in found.values() for item in those}
    config.hook.pytest_deselected(items=sorted(left_out, key=lambda item: item.nodeid))
    items[:] = [item for item in items if item not in left_out]
