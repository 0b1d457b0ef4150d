"""Replies that end too early or come in pieces, at each byte of a small record and of a list."""

import json
from pathlib import Path

import pytest
from failures import LOST, STATUS, STATUS_REPLY, UNDECODABLE
from peer import messages

VECTORS = Path(__file__).resolve().parents[1] / "vectors" / "procedures.jsonl"
LIST = "a_get_tgroupl_ll_1"


def list_vector():
    lines = map(json.loads, VECTORS.read_text(encoding="utf-8").splitlines())
    return next(line for line in lines if line["procedure"] == LIST
                and line["reply"].count('"telid"') == 1)


def small_record():
    return "lambda", STATUS, STATUS_REPLY, {"reply": messages.success(messages.RESULTS[29])}


def linked_list():
    vector = list_vector()
    answer = {"reply": messages.success(bytes.fromhex(vector["res_xdr"]))}
    return "alpha", vector["call"], vector["reply"].encode("utf-8"), answer


@pytest.fixture(params=[small_record, linked_list])
def case(request):
    """A server, a call text, its good reply and the step that brings it."""
    return request.param()


def message_length(answer):
    return 4 + len(answer["reply"]) // 2


@pytest.mark.parametrize("end", ["close", "reset"])
def test_a_stream_cut_at_each_byte_is_a_lost_connection(module, fault_peer, allow, case, end):
    server, text, good, answer = case
    peer = fault_peer("tcp", server)
    client = module.RpcClient(server)
    for cut in range(4 + message_length(answer)):
        broken = {**answer, "cut": cut, "then": end}
        peer.script(broken, broken, otherwise=answer)
        assert client.call(text, allow) == LOST, cut
        assert len(peer.calls()) == 2, cut
        assert client.call(text, allow) == good, cut
    client.close()


@pytest.mark.parametrize("end", ["close", "reset"])
def test_a_stream_that_ends_behind_the_reply_is_noticed_by_the_next_call(
    module, fault_peer, allow, case, end
):
    server, text, good, answer = case
    peer = fault_peer("tcp", server)
    client = module.RpcClient(server)
    peer.script({**answer, "then": end}, otherwise=answer)
    assert client.call(text, allow) == good
    assert client.call(text, allow) == good
    assert len(allow.names) == 3
    client.close()


def test_a_datagram_cut_at_each_byte_does_not_decode(module, fault_peer, allow, case):
    server, text, good, answer = case
    peer = fault_peer("udp", server)
    client = module.RpcClient(server)
    for cut in range(4, message_length(answer)):
        broken = {**answer, "cut": cut}
        peer.script(broken, broken, otherwise=answer)
        assert client.call(text, allow) == UNDECODABLE, cut
        assert len(peer.calls()) == 2, cut
        assert client.call(text, allow) == good, cut
    client.close()


def test_a_datagram_without_a_whole_id_is_dropped(module, fault_peer, allow, case):
    server, text, good, answer = case
    peer = fault_peer("udp", server)
    client = module.RpcClient(server)
    for cut in range(4):
        peer.script([{**answer, "cut": cut}, answer])
        assert client.call(text, allow) == good, cut
        assert len(peer.calls()) == 1, cut
    client.close()


@pytest.mark.parametrize("form", [
    {"piece": 1},
    {"piece": 3},
    {"fragment": 1},
    {"fragment": 3, "piece": 1},
    {"fragment": 5, "empty": 1},
    {"fragment": 1, "empty": 2, "piece": 1},
    {"empty": 1},
], ids=str)
def test_a_stream_may_come_in_any_pieces(module, fault_peer, allow, case, form):
    server, text, good, answer = case
    peer = fault_peer("tcp", server)
    client = module.RpcClient(server)
    peer.script(otherwise={**answer, **form})
    for _ in range(3):
        assert client.call(text, allow) == good
    assert len(peer.calls()) == len(allow.names) == 3
    client.close()


def test_a_stream_may_trickle(module, fault_peer, allow, case):
    server, text, good, answer = case
    peer = fault_peer("tcp", server)
    client = module.RpcClient(server)
    peer.script({**answer, "piece": 2, "pause": 0.005}, otherwise=answer)
    assert client.call(text, allow) == good
    assert client.call(text, allow) == good
    assert len(allow.names) == 2
    client.close()
