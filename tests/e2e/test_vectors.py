"""The exact bytes of every procedure: call text to call, result to reply text, TCP and UDP."""

import collections
import json

import pytest
from servers import ROOT, Started

VECTORS = ROOT / "tests" / "vectors" / "procedures.jsonl"


def read_lines():
    found = collections.defaultdict(list)
    for text in VECTORS.read_text(encoding="utf-8").splitlines():
        line = json.loads(text)
        found[line["program"], line["procedure"]].append(line)
    return found


LINES = read_lines()
PROGRAMS = sorted({program for program, _ in LINES})


@pytest.fixture(scope="module")
def peer():
    started = Started("vector_peer.py", str(VECTORS))
    yield started
    started.stop()


@pytest.fixture(scope="module", params=["tcp", "udp"])
def connect(request, peer, module):
    """Makes one client for each program, and closes them when the module's tests are over."""
    clients = {}
    with pytest.MonkeyPatch.context() as patch:
        patch.setenv("KORVEXRPCPORT", str(peer.port))
        patch.setenv("RPCTRANSPORT", request.param)
        for program in PROGRAMS:
            clients[program] = module.RpcClient(program, "localhost")
    yield clients.__getitem__
    for client in clients.values():
        client.close()


def test_the_vectors_are_whole():
    assert sum(len(lines) for lines in LINES.values()) == 640
    assert {len(lines) for lines in LINES.values()} == {2}


@pytest.mark.parametrize("program, procedure", LINES, ids=lambda value: value)
def test_a_procedure_sends_and_replies_byte_for_byte(connect, peer, allow, program, procedure):
    client = connect(program)
    for line in LINES[program, procedure]:
        reply = client.call(line["call"], allow)
        assert peer.lines() == []
        assert reply == line["reply"].encode("utf-8")
    assert allow.names == [procedure] * 2
