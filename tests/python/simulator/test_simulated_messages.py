"""What a server says to messages good and bad, over both transports."""

import socket

import pytest

from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.records import RecordReader, framed
from kvrpc_tools.simulator.transport import LOOPBACK
from tests.python.simulator.client import Client, Unanswered, fragments, words

LAMBDA = 26011932
SLOT = 3


def test_another_rpc_version_is_denied(client):
    _, reply = client.exchange(SLOT, LAMBDA, 1, 19, b"", rpc_version=3)
    assert words(reply, 5, 4) == [rpc.REPLY, rpc.DENIED, rpc.RPC_MISMATCH, 2, 2]


def test_another_program_is_unavailable(client):
    _, reply = client.exchange(SLOT, LAMBDA + 1, 1, 19, b"")
    assert words(reply, 5, 4) == [rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.PROG_UNAVAIL]


def test_another_version_is_a_mismatch(client):
    _, reply = client.exchange(SLOT, LAMBDA, 2, 19, b"")
    assert words(reply, 7, 4) == [rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.PROG_MISMATCH, 1, 1]


def test_the_null_procedure_answers_nothing(client):
    xid, reply = client.exchange(SLOT, LAMBDA, 1, 0, b"")
    assert words(reply, 6) == [xid, rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.SUCCESS]
    assert len(reply) == 24


def test_another_procedure_is_unavailable(client):
    _, reply = client.exchange(SLOT, LAMBDA, 1, 30, b"")
    assert words(reply, 5, 4) == [rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.PROC_UNAVAIL]


@pytest.mark.parametrize("argument", [b"", bytes(43), bytes(48)])
def test_an_argument_of_another_size_is_garbage(client, argument):
    _, reply = client.exchange(SLOT, LAMBDA, 1, 9, argument)
    assert words(reply, 5, 4) == [rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.GARBAGE_ARGS]


@pytest.mark.parametrize("message", [b"", b"\0\0\0", bytes(4) + b"\0\0\0\1" + bytes(32), bytes(12)])
def test_a_message_that_is_no_call_is_not_answered(client, message):
    client.patience = 0.5
    with pytest.raises(Unanswered):
        client.send(SLOT, message)
    assert client.call("l_version_1") > 0


def test_every_known_procedure_is_answered_with_a_well_formed_result(client):
    unspecified = "o_cha_licence_1"
    for name in client.schema.procedures:
        if name != unspecified:
            client.call(name)
        if name == "l_stopfax_1":
            client.call("l_startfax_1")


def test_a_record_in_many_fragments_is_one_call(schema, shared):
    call = rpc.build_call(rpc.Call(7, 2, LAMBDA, 1, 9, bytes(44)))
    with socket.create_connection((LOOPBACK, shared.port + SLOT), timeout=10) as sock:
        for byte in fragments(call, 5):
            sock.send(bytes([byte]))
        reply = _read(sock, 1)[0]
    assert words(reply, 7) == [7, rpc.REPLY, rpc.ACCEPTED, 0, 0, rpc.SUCCESS, 0]


def test_calls_sent_together_are_answered_in_turn(shared):
    calls = [rpc.build_call(rpc.Call(xid, 2, LAMBDA, 1, 19, b"")) for xid in (1, 2, 3)]
    with socket.create_connection((LOOPBACK, shared.port + SLOT), timeout=10) as sock:
        sock.sendall(b"".join(framed(call) for call in calls))
        assert [words(reply, 1) for reply in _read(sock, 3)] == [[1], [2], [3]]


def test_a_record_beyond_all_reason_ends_the_connection(schema, shared):
    with socket.create_connection((LOOPBACK, shared.port + SLOT), timeout=10) as sock:
        sock.sendall(b"\xff\xff\xff\xff" + bytes(100))
        assert _ends(sock)
    assert Client(schema, shared.port).call("l_version_1") > 0


def _ends(sock):
    try:
        return sock.recv(100) == b""
    except ConnectionResetError:
        return True


def _read(sock, count):
    reader, replies = RecordReader(), []
    while len(replies) < count:
        replies += reader.feed(sock.recv(4096))
    return replies
