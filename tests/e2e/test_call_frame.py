"""The call text and the reply text, as far as a client without a connection takes them."""

import json
import pickle
import sys

import pytest

UNPARSABLE = b'{"status":6,"message":"can not parse json object"}'
MALFORMED = b'{"status":5,"message":"malformed json call: format is {\\"function\\":arg}"}'
UNKNOWN = b'{"status":4,"message":"unknown function"}'
REFUSED = b'{"status":9,"message":"call is not allowed"}'
CANNOT_ENCODE = b'{"status":1,"message":"can not json encode arg"}'
NO_HANDLE = (
    b'{"status":3,"rpc_err":{"re_status":16},'
    b'"message":"rpc_call: RPC: Failed (unspecified error)\\n"}'
)

SERVERS = {
    "alpha": "a_exit_1",
    "lambda": "l_exit_1",
    "omega": "o_exit_1",
    "sigma": "s_exit_1",
    "theta": "t_exit_1",
}


@pytest.mark.parametrize("text", ["", " ", "{", '{"a"', '{"a":}', "nul", "]", '{"a":1', '{"a":1,}'])
def test_a_text_that_does_not_parse_is_status_6_and_is_not_vetted(frame_client, allow, text):
    assert frame_client("lambda").call(text, allow) == UNPARSABLE
    assert allow.names == []


@pytest.mark.parametrize(
    "text", ["[]", "42", "{}", "null", "true", '"text"', '[{"a":1}]', "-1.5e3"]
)
def test_a_text_without_a_call_is_status_5_and_is_not_vetted(frame_client, allow, text):
    assert frame_client("lambda").call(text, allow) == MALFORMED
    assert allow.names == []


def test_an_unknown_name_is_status_4_after_vetting(frame_client, allow):
    assert frame_client("lambda").call('{"l_nothing_1":1}', allow) == UNKNOWN
    assert allow.names == ["l_nothing_1"]


@pytest.mark.parametrize("which", SERVERS)
def test_names_of_other_servers_are_unknown(frame_client, allow, which):
    client = frame_client(which)
    for server, name in SERVERS.items():
        if server != which:
            assert client.call('{"%s":0}' % name, allow) == UNKNOWN, name


@pytest.mark.parametrize("name", ["L_VERSION_1", "l_version_", "l_version_11", " l_version_1", ""])
def test_names_are_compared_exactly(frame_client, allow, name):
    assert frame_client("lambda").call(json.dumps({name: 0}), allow) == UNKNOWN
    assert allow.names == [name]


def test_a_refused_name_is_status_9_whether_it_exists_or_not(frame_client, verifier):
    client = frame_client("lambda")
    assert client.call('{"l_version_1":0}', verifier(False)) == REFUSED
    assert client.call('{"l_nothing_1":0}', verifier(False)) == REFUSED


def test_an_argument_of_the_wrong_type_is_status_1(frame_client, allow):
    assert frame_client("lambda").call('{"l_startserver_1":5}', allow) == CANNOT_ENCODE
    assert allow.names == ["l_startserver_1"]


def test_without_a_connection_both_attempts_fail(frame_client, allow):
    assert frame_client("lambda").call('{"l_version_1":0}', allow) == NO_HANDLE
    assert allow.names == ["l_version_1"] * 2


def test_only_the_first_member_counts(frame_client, allow):
    client = frame_client("lambda")
    text = '{"l_nothing_1":1,"l_version_1":0,"l_nothing_1":2}'
    assert client.call(text, allow) == UNKNOWN
    assert client.call('{"l_version_1":null,"ignored":[{}]}', allow) == NO_HANDLE
    assert allow.names == ["l_nothing_1"] + ["l_version_1"] * 2


def test_a_syntax_error_in_a_later_member_is_status_6(frame_client, allow):
    client = frame_client("lambda")
    assert client.call('{"l_version_1":0,"ignored":}', allow) == UNPARSABLE
    assert client.call('{"l_version_1":0,', allow) == UNPARSABLE
    assert allow.names == []


@pytest.mark.parametrize("which", ["gamma", "delta", "", "Lambda", "lambda ", "lambd"])
def test_a_server_without_dispatcher_is_a_memory_error(frame_client, allow, which):
    client = frame_client(which)
    for text in ("", '{"l_version_1":0}'):
        with pytest.raises(MemoryError):
            client.call(text, allow)
    assert allow.names == []


def test_the_key_ends_at_its_nul(frame_client, allow):
    assert frame_client("lambda").call('{"l_version_1\\u0000x":0}', allow) == NO_HANDLE
    assert allow.names == ["l_version_1"] * 2


def test_the_reply_is_bytes_of_json(frame_client, allow):
    reply = frame_client("lambda").call('{"l_version_1":0}', allow)
    assert type(reply) is bytes
    assert list(json.loads(reply)) == ["status", "rpc_err", "message"]


def test_the_reply_is_a_bytes_object_like_any_other(frame_client, allow):
    reply = frame_client("lambda").call("[]", allow)
    assert reply == MALFORMED and hash(reply) == hash(bytes(bytearray(reply)))
    assert {reply: 1}[MALFORMED] == 1
    assert sys.getsizeof(reply) == sys.getsizeof(bytes(bytearray(reply)))
    assert reply + b"x" == MALFORMED + b"x" and reply[:10] == MALFORMED[:10]
    assert pickle.loads(pickle.dumps(reply)) == reply


def test_texts_of_any_size_pass(frame_client, allow):
    client = frame_client("lambda")
    assert client.call('{"l_nothing_1":"' + "x" * 5_000_000 + '"}', allow) == UNKNOWN
    assert client.call("[" * 1_000_000, allow) == UNPARSABLE
    assert client.call("[" * 1_000_000 + "]" * 1_000_000, allow) == MALFORMED
    name = "n" * 1_000_000
    assert client.call('{"%s":0}' % name, allow) == UNKNOWN
    assert allow.names[-1] == name
