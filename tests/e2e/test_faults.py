"""Each way in which a server can refuse, fail or answer wrongly: the exact reply text, the traffic,
and that the next call works.
"""

import pytest
from failures import (
    AUTHERROR,
    CANTDECODEARGS,
    CANTRECV,
    FAILED,
    LOST,
    PROCUNAVAIL,
    PROGUNAVAIL,
    PROGVERSMISMATCH,
    STATUS,
    STATUS_REPLY,
    SYSTEMERROR,
    UNDECODABLE,
    VERSION,
    VERSION_REPLY,
    failure,
    socket_failure,
)
from peer import messages

REASONS = {
    0: "Authentication OK",
    1: "Invalid client credential",
    2: "Server rejected credential",
    3: "Invalid client verifier",
    4: "Server rejected verifier",
    5: "Client credential too weak",
    6: "Invalid server verifier",
    7: "Failed (unspecified error)",
    8: "(unknown authentication error - 8)",
    -1: "(unknown authentication error - -1)",
}



REFUSALS = [
    *((messages.auth_error(reason), failure(AUTHERROR, f',"re_why":{reason}', f"; why = {text}"))
      for reason, text in REASONS.items()),
    (messages.rpc_mismatch(2, 3), failure(FAILED)),
    (messages.accepted(messages.PROG_UNAVAIL), failure(PROGUNAVAIL)),
    (messages.prog_mismatch(1, 3),
     failure(PROGVERSMISMATCH, ',"re_vers":{"low":1,"high":3}',
             "; low version = 1, high version = 3")),
    (messages.prog_mismatch(0, 0xFFFFFFFF),
     failure(PROGVERSMISMATCH, ',"re_vers":{"low":0,"high":4294967295}',
             "; low version = 0, high version = 4294967295")),
    (messages.accepted(messages.PROC_UNAVAIL), failure(PROCUNAVAIL)),
    (messages.accepted(messages.GARBAGE_ARGS), failure(CANTDECODEARGS)),
    (messages.accepted(messages.SYSTEM_ERR), failure(SYSTEMERROR)),
    (messages.accepted(6), failure(FAILED)),
    (messages.accepted(-1), failure(FAILED)),
    (messages.accepted(messages.PROC_UNAVAIL, verf=messages.verifier(8)), failure(PROCUNAVAIL)),
]

# What no reply looks like. Over TCP it is dropped, over UDP it ends the call.
NO_REPLIES = {
    "nothing behind the id": "",
    "a call": messages.words(0, 0, 0, 0, 0, 1, 2, 3, 4).hex(),
    "neither accepted nor denied": messages.words(1, 2, 0, 0, 0).hex(),
    "denied without a known reason": messages.words(1, 1, 2, 0, 0).hex(),
    "denied with the call status of a version mismatch": messages.words(1, 1, 6, 2, 2).hex(),
    "a verifier beyond its limit": messages.success(b"\0" * 16, messages.verifier(401)),
    "a verifier beyond all bounds": messages.words(1, 0, 1, 0xFFFFFFFF, 0, 0).hex(),
    "versions cut off": messages.accepted(messages.PROG_MISMATCH, messages.words(1)),
}


@pytest.fixture
def pair(module, fault_peer, transport):
    """A peer and a client that is connected to it."""
    peer = fault_peer(transport)
    client = module.RpcClient("lambda")
    yield peer, client
    client.close()


def assert_next_call_works(peer, client, allow):
    peer.script()
    del allow.names[:]
    assert client.call(VERSION, allow) == VERSION_REPLY
    assert [call.procedure for call in peer.calls()] == [19]
    assert allow.names == ["l_version_1"]


@pytest.mark.parametrize(("reply", "expected"), REFUSALS)
def test_a_refusal_is_told_exactly_and_asked_for_twice(pair, allow, reply, expected):
    peer, client = pair
    peer.script(otherwise={"reply": reply})
    assert client.call(STATUS, allow) == expected
    assert [call.procedure for call in peer.calls()] == [29, 29]
    assert allow.names == ["l_get_status_1"] * 2
    assert_next_call_works(peer, client, allow)


@pytest.mark.parametrize("result", [b"", messages.words(1), messages.words(1, 2, 3) + b"\0\0\0"])
def test_a_result_that_ends_early_does_not_decode(pair, allow, result):
    peer, client = pair
    peer.script(otherwise={"reply": messages.success(result)})
    assert client.call(STATUS, allow) == UNDECODABLE
    assert len(peer.calls()) == 2
    assert_next_call_works(peer, client, allow)


def test_a_result_may_be_longer_than_is_read(pair, allow):
    peer, client = pair
    peer.script(otherwise={"reply": messages.success(messages.words(1, 2, 3, 4, 5, 6))})
    for _ in range(3):
        assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(peer.calls()) == 3


@pytest.mark.parametrize("length", [1, 8, 400])
def test_a_verifier_is_not_looked_at(pair, allow, length):
    peer, client = pair
    reply = messages.success(messages.RESULTS[29], messages.verifier(length))
    peer.script(otherwise={"reply": reply})
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(peer.calls()) == 2


@pytest.mark.parametrize("reply", NO_REPLIES.values(), ids=NO_REPLIES)
def test_what_is_no_reply_is_dropped_over_tcp(module, fault_peer, allow, reply):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    peer.script([{"reply": reply}, {}])
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(peer.calls()) == 1
    client.close()


@pytest.mark.parametrize("reply", NO_REPLIES.values(), ids=NO_REPLIES)
def test_what_is_no_reply_ends_the_call_over_udp(module, fault_peer, allow, reply):
    peer = fault_peer("udp")
    client = module.RpcClient("lambda")
    peer.script([{"reply": reply}, {}], [{"reply": reply}, {}])
    assert client.call(STATUS, allow) == UNDECODABLE
    assert len(peer.calls()) == 2
    assert_next_call_works(peer, client, allow)
    client.close()


@pytest.mark.parametrize("reply", [
    messages.success(messages.words(9, 9, 9, 9)), messages.auth_error(5), messages.accepted(5)])
def test_a_reply_under_another_id_is_dropped(pair, allow, reply):
    peer, client = pair
    peer.script([{"id": "wrong", "reply": reply}, {"id": "wrong", "reply": reply}, {}])
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(peer.calls()) == 1
    assert_next_call_works(peer, client, allow)


def test_a_duplicate_is_dropped_by_the_next_call(pair, allow):
    peer, client = pair
    peer.script({"times": 3})
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert_next_call_works(peer, client, allow)


def test_the_reply_of_the_call_before_is_dropped(pair, allow):
    peer, client = pair
    peer.script({}, [{"id": "before", "reply": messages.success(messages.words(9))}, {}])
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert client.call(VERSION, allow) == VERSION_REPLY
    assert len(peer.calls()) == 2


def test_garbage_on_a_stream_is_a_record_that_is_dropped_or_lost(module, fault_peer, allow):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    garbage = {"raw": "8000000b" + "5a" * 11}
    peer.script([garbage, {}], otherwise=[{"raw": "7f" * 40, "then": "close"}])
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert client.call(STATUS, allow) == LOST
    assert client.call(STATUS, allow) == LOST  # on the lost connection, then on a new one
    peer.script()
    assert client.call(STATUS, allow) == STATUS_REPLY
    client.close()


def test_an_empty_record_is_dropped(module, fault_peer, allow):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    peer.script([{"raw": "80000000"}, {"raw": "0000000080000000"}, {}])
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(peer.calls()) == 1
    client.close()


def test_a_datagram_from_a_stranger_with_the_right_id_is_taken(module, fault_peer, allow):
    peer = fault_peer("udp")
    client = module.RpcClient("lambda")
    peer.script({"stranger": True})
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(peer.calls()) == 1
    client.close()


def test_a_datagram_beyond_the_buffer_is_10040(module, fault_peer, allow):
    peer = fault_peer("udp")
    client = module.RpcClient("lambda")
    whole = messages.success(messages.words(1, 2, 3, 4) + b"\0" * (8800 - 24 - 16))
    assert len(whole) // 2 + 4 == 8800
    peer.script({"reply": whole}, otherwise={"reply": whole + "00"})
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert client.call(STATUS, allow) == socket_failure(CANTRECV, 10040)
    assert len(peer.calls()) == 3
    assert_next_call_works(peer, client, allow)
    client.close()
