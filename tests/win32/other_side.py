"""A plugin of pytest for the end-to-end tests on the 32-bit Windows interpreter.

The tests start their peers as processes of the interpreter; here tests/win32/peer_starter.py starts
them on the other side of the loopback. What loads the module stays on this side. The tests
that Windows cannot have are named in tests/win32/excluded.txt, each with its reason; an entry that
fits no test is an error.
"""

import asyncio  # noqa: F401  (it makes a class of subprocess.Popen, which is replaced below)
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


def unix_path(text):
    """Z: is the root of the other side."""
    return text[2:].replace("\\", "/") if text[:3].upper() in ("Z:\\", "Z:/") else text


class Peer:
    """A process of the other side, with as much of subprocess.Popen as the tests use."""

    def __init__(self, arguments, encoding=None, **_):
        name = str(uuid.uuid4())
        self.peer_errors = ERRORS / name
        self.returncode = None
        self._control = connect(os.environ["KVRPC_PEER_STARTER"])
        words = [name, *map(unix_path, arguments[1:])]
        self._control.sendall(json.dumps(words).encode("ascii") + b"\n")
        mode = "" if encoding else "b"
        with connect(self._number()) as stream:
            self.stdin = stream.makefile("w" + mode, encoding=encoding)
            self.stdout = stream.makefile("r" + mode, encoding=encoding)

    def wait(self, timeout=None):
        """Waits for the process. Afterwards it has released its ports."""
        if self.returncode is None:
            self._control.settimeout(timeout)
            try:
                self.returncode = self._number()
            except socket.timeout:
                raise subprocess.TimeoutExpired(self.peer_errors.name, timeout) from None
            self._control.close()
        return self.returncode

    def kill(self):
        if self.returncode is None:
            self._control.shutdown(socket.SHUT_WR)

    terminate = kill

    def _number(self):
        line = b""
        while not line.endswith(b"\n"):
            got = self._control.recv(16)
            if not got:
                raise ConnectionError("the starter of the peers has gone")
            line += got
        return int(line)


def connect(port):
    return socket.create_connection(("127.0.0.1", int(port)))


def start_peers_on_the_other_side():
    here = subprocess.Popen

    def start(arguments, **options):
        return (Peer if runs_a_peer(arguments) else here)(arguments, **options)

    subprocess.Popen = start


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
