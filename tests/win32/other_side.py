"""A plugin of pytest for the end-to-end tests on the 32-bit Windows interpreter.

The tests start their peers as processes of the interpreter; here these run on the other side of the
loopback, by way of tests/win32/peer_relay.py. What loads the module stays on this side. The tests
that Windows cannot have are named in tests/win32/excluded.txt, each with its reason; an entry that
fits no test is an error.
"""

import subprocess
import sys
import time
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent


def runs_a_peer(arguments):
    """Whether a command runs a script of the tests or the simulator alone."""
    if not arguments or arguments[0] != sys.executable:
        return False
    words = [word for word in arguments[1:] if word not in ("-u",)]
    if words[:2] == ["-m", "simulator"]:
        return "--run" not in words
    if words[:2] == ["-m", "peer"]:
        return True
    return bool(words) and Path(words[0]).parent == HERE.parent / "e2e"


class Popen(subprocess.Popen):
    def __init__(self, arguments, **options):
        if runs_a_peer(arguments):
            arguments = [sys.executable, str(HERE / "peer_relay.py"), *arguments[1:]]
        super().__init__(arguments, **options)


def excluded():
    """The beginnings of test ids, with their reasons."""
    lines = (HERE / "excluded.txt").read_text(encoding="utf-8").splitlines()
    return dict(line.split(None, 1) for line in lines if line and not line.startswith("#"))


def pytest_configure(config):
    subprocess.Popen = Popen
    from simulator import fixture  # the root of the repository is on the path from here on

    log = fixture.Simulator.log

    def settled_log(self):
        time.sleep(0.3)  # what the simulator says takes longer than its answers
        return log(self)

    fixture.Simulator.log = settled_log


def pytest_collection_modifyitems(config, items):
    entries = excluded()
    found = {entry: [item for item in items if item.nodeid.startswith(entry)] for entry in entries}
    if config.args_source == config.ArgsSource.TESTPATHS or "tests/e2e" in config.args:
        unused = [entry for entry, those in found.items() if not those]
        if unused:
            raise pytest.UsageError(f"tests/win32/excluded.txt names no test: {unused}")
    left_out = {item for those in found.values() for item in those}
    config.hook.pytest_deselected(items=sorted(left_out, key=lambda item: item.nodeid))
    items[:] = [item for item in items if item not in left_out]
