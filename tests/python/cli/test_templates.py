"""The template of every procedure is an argument that the procedure takes."""

import pytest

from kvrpc_tools.schema import own
from kvrpc_tools.simulator.fixture import running

NAMES = [name for name in own().procedures if name != "o_cha_licence_1"]


@pytest.fixture
def own_simulator(monkeypatch):
    """A simulator for one test, because the calls stop servers."""
    with running() as started:
        monkeypatch.setenv("KORVEXRPCPORT", str(started.port))
        yield started


@pytest.mark.parametrize("server", ["alpha", "theta", "lambda", "nue", "omega", "sigma"])
def test_every_template_can_be_called(kvrpc, own_simulator, server):
    names = [name for name in NAMES if own().procedures[name].server == server]
    # The last call of a server may stop it.
    for name in sorted(names, key=lambda each: each.endswith("_exit_1")):
        template = kvrpc("describe", name, "--template")
        assert (template.code, template.err) == (0, "")
        done = kvrpc("call", name, "-", stdin=template.out)
        assert (name, done.code, done.err) == (name, 0, "")
