"""The second attempt of a call: what causes it, what it sends, and what the script gets."""

import pytest
from failures import (
    CANTENCODEARGS,
    LOST,
    PROCUNAVAIL,
    STATUS,
    STATUS_REPLY,
    VERSION,
    VERSION_REPLY,
    failure,
)
from peer import messages

CLOSED = {"cut": 0, "then": "close"}
STATFILE_REPLY = b'{"status":0,"message":"ok","result":{"ok":true,"size":7}}'
REFUSED = {"reply": messages.accepted(messages.PROC_UNAVAIL)}


def kinds(events):
    return [(event["event"], event["connection"]) for event in events]


def without_ends(peer):
    return [event for event in kinds(peer.events()) if event[0] != "gone"]


@pytest.fixture
def peer(fault_peer):
    return fault_peer("tcp")


@pytest.fixture
def client(module, peer):
    """Returns a client over TCP that has the peer's first connection."""
    made = module.RpcClient("lambda")
    assert kinds([peer.event()]) == [("open", 1)]
    yield made
    made.close()


@pytest.mark.parametrize("fault", [
    CLOSED, {"cut": 0, "then": "reset"}, {"cut": 30, "then": "close"}, REFUSED,
    {"reply": messages.success(b"")}, {"reply": messages.auth_error(1)}], ids=str)
def test_a_lost_first_attempt_is_made_good_on_a_new_connection(peer, client, allow, fault):
    peer.script(fault)
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert allow.names == ["l_get_status_1", "l_get_status_1"]
    assert without_ends(peer) == [("call", 1), ("open", 2), ("call", 2)]
    assert client.call(VERSION, allow) == VERSION_REPLY
    assert without_ends(peer) == [("call", 2)]


def test_the_first_connection_is_closed(peer, client, allow):
    peer.script(REFUSED)
    assert client.call(STATUS, allow) == STATUS_REPLY
    seen = kinds(peer.event() for _ in range(4))  # `gone` and `open` come from two threads
    assert sorted(seen) == [("call", 1), ("call", 2), ("gone", 1), ("open", 2)]


def test_both_attempts_send_the_same_call(peer, client, allow):
    peer.script(CLOSED)
    assert client.call('{"l_startserver_1":"fax"}', allow) == (
        b'{"status":0,"message":"ok","result":true}')
    first, second = peer.calls()
    assert first.data[4:] == second.data[4:]


def test_two_lost_attempts_are_told_once_and_keep_the_second_connection(peer, client, allow):
    peer.script(CLOSED, REFUSED)
    assert client.call(STATUS, allow) == failure(PROCUNAVAIL)
    assert allow.names == ["l_get_status_1"] * 2
    peer.events()
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert kinds(peer.events()) == [("call", 2)]
    assert allow.names == ["l_get_status_1"] * 3


def test_two_lost_connections_are_a_failed_call_with_its_text(peer, client, allow):
    peer.script(CLOSED, CLOSED)
    assert client.call(STATUS, allow) == LOST == (
        b'{"status":3,"rpc_err":{"re_status":4,"re_errno":10054},'
        b'"message":"rpc_call: RPC: Unable to receive- Error 10054\\n"}')
    assert allow.names == ["l_get_status_1"] * 2


def test_a_vetting_that_changes_its_mind_ends_the_second_attempt(peer, client):
    peer.script(CLOSED)
    verdicts = [True, False]

    class Once:
        def verify_call(self, name):
            return verdicts.pop(0)

    assert client.call(STATUS, Once()) == b'{"status":9,"message":"call is not allowed"}'
    assert [event["event"] for event in peer.events()].count("call") == 1
    assert verdicts == []


@pytest.mark.parametrize("transport", ["tcp", "udp"])
@pytest.mark.parametrize(("text", "status"), [
    ('{"l_startserver_1":7}', 1), ('{"l_startserver_1":null}', 1), ('{"l_startserver_1":{}}', 1),
    ('{"l_readfile_1":[]}', 1), ('{"l_nothing_1":null}', 4), ("{}", 5), ("7", 5), ("[", 6),
    ("nonsense", 6)])
def test_a_call_that_cannot_be_made_sends_nothing(
    module, fault_peer, allow, transport, text, status
):
    peer = fault_peer(transport)
    client = module.RpcClient("lambda")
    assert client.call(text, allow).startswith(b'{"status":%d,' % status)
    assert peer.calls() == []
    assert client.call(VERSION, allow) == VERSION_REPLY
    assert len(peer.calls()) == 1
    client.close()


def test_a_refused_call_sends_nothing(peer, client, allow, verifier):
    assert client.call(STATUS, verifier(False)) == b'{"status":9,"message":"call is not allowed"}'
    assert client.call(VERSION, allow) == VERSION_REPLY
    assert [call.procedure for call in peer.calls()] == [19]


def test_a_call_too_large_for_a_datagram_sends_nothing_and_spoils_nothing(
    module, fault_peer, allow
):
    peer = fault_peer("udp")
    client = module.RpcClient("lambda")
    peer.script(otherwise={"reply": messages.success(messages.words(1, 7))})
    # 8,800 bytes: 40 for the header, 4 for the length, the name.
    for length, whole in ((1, True), (8757, False), (8756, True), (100000, False), (8756, True)):
        reply = client.call(f'{{"l_statfile_1":{{"filename":"{"x" * length}"}}}}', allow)
        assert reply == (STATFILE_REPLY if whole else failure(CANTENCODEARGS)), length
        assert [len(call.data) for call in peer.calls()] == (
            [44 + -(-length // 4) * 4] if whole else []), length
    client.close()
