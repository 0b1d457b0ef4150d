"""Ports found through the simulator's portmapper, when no variable gives them."""

import json

import port_111
import pytest

from kvrpc_tools.simulator.fixture import running

ASKED = {"lambda": ("l_version_1", 30500), "nue": ("n_get_nr_1", 1), "omega": ("o_sync_1", 0)}


@pytest.fixture
def portmapper():
    """A simulator with its portmapper."""
    with port_111.taken(), running("--portmapper"):
        yield


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_every_server_is_found(portmapper, module, monkeypatch, allow, transport):
    monkeypatch.setenv("RPCTRANSPORT", transport)
    for server, (procedure, result) in ASKED.items():
        client = module.RpcClient(server, "localhost")
        reply = json.loads(client.call('{"%s":null}' % procedure, allow))
        client.close()
        assert (reply["status"], reply["result"]) == (0, result)
