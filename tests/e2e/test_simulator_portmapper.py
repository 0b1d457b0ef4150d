"""Ports found through the simulator's portmapper, when no variable gives them."""

import json
import socket
import subprocess
import sys
import time

import pytest
from servers import ROOT, plain_environment

PORT = 111
ASKED = {"lambda": ("l_version_1", 30500), "nue": ("n_get_nr_1", 1), "omega": ("o_sync_1", 0)}


def may_bind():
    """Whether this user may serve below port 1024."""
    with socket.socket() as probe:
        probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            probe.bind(("127.0.0.1", PORT))
        except PermissionError:
            return False
        except OSError:
            return True  # Another test is at it; it will be free soon.
    return True


@pytest.fixture
def portmapper():
    """A simulator with its portmapper, once the port is free."""
    if not may_bind():
        pytest.skip(f"only root may serve on port {PORT}")
    end = time.monotonic() + 30
    while True:
        process = subprocess.Popen(
            [sys.executable, "-m", "simulator", "--portmapper"], cwd=ROOT,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
            env=plain_environment())
        if any(line.startswith("KORVEXRPCPORT=") for line in process.stdout):
            break
        problem = process.communicate()[1]
        assert time.monotonic() < end, problem
        time.sleep(0.5)
    yield
    process.terminate()
    process.communicate(timeout=10)


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_every_server_is_found(portmapper, module, monkeypatch, allow, transport):
    monkeypatch.setenv("RPCTRANSPORT", transport)
    for server, (procedure, result) in ASKED.items():
        client = module.RpcClient(server, "localhost")
        reply = json.loads(client.call('{"%s":null}' % procedure, allow))
        client.close()
        assert (reply["status"], reply["result"]) == (0, result)
