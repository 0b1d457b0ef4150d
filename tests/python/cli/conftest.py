"""The command in this process, against a simulator in another one."""

import io
import os
import sys
from typing import NamedTuple

import pytest

from kvrpc_tools import cli
from kvrpc_tools.simulator.fixture import running


class Done(NamedTuple):
    code: int
    out: str
    err: str


@pytest.fixture
def kvrpc(monkeypatch, capfd):
    """Runs the words of a command line. What options set in the environment is gone after it."""

    def run(*words, stdin=""):
        before = dict(os.environ)
        monkeypatch.setattr(sys, "stdin", io.TextIOWrapper(io.BytesIO(stdin.encode("utf-8"))))
        capfd.readouterr()
        try:
            code = cli.main(words)
        finally:
            os.environ.clear()
            os.environ.update(before)
        return Done(code, *capfd.readouterr())

    return run


@pytest.fixture(scope="session")
def simulated():
    with running() as started:
        yield started


@pytest.fixture
def simulator(simulated, monkeypatch):
    """Leads the command to a simulator that the tests share."""
    monkeypatch.setenv("KORVEXRPCPORT", str(simulated.port))
    return simulated
