"""The clients over a transport that keeps each call and answers as the test has set."""

import errno
import json
import os
import pickle
import socket

import pytest

from kvrpc_tools import (
    Alpha,
    ArgumentError,
    CallError,
    ConnectError,
    Lambda,
    Refused,
    ResultError,
    RpcError,
    UnknownProcedure,
)
from kvrpc_tools.errors import WINSOCK_NAMES
from kvrpc_tools.schema import own

OK = '{"status":0,"message":"ok","result":%s}'


class Echo:
    """A transport that answers every call with one reply."""

    def __init__(self, reply):
        self.reply = reply
        self.texts = []
        self.closed = 0

    def call(self, text, verifier):
        self.texts.append((text, verifier.verify_call("any")))
        return self.reply.encode()

    def close(self):
        self.closed += 1


def test_a_method_sends_its_argument_and_returns_the_result():
    transport = Echo(OK % '{"loginid":7,"err":0}')
    with Alpha(transport=transport) as alpha:
        assert alpha.a_login_1({"userid": "meier"}) == {"loginid": 7, "err": 0}
    assert transport.texts == [('{"a_login_1":{"userid":"meier"}}', True)]
    assert transport.closed == 1


def test_a_procedure_without_argument_takes_none():
    transport = Echo(OK % "null")
    assert Lambda(transport=transport).l_exit_1() is None
    with pytest.raises(TypeError, match=r"l_exit_1\(\) takes 1 positional argument"):
        Lambda(transport=transport).l_exit_1({})
    assert [text for text, _ in transport.texts] == ['{"l_exit_1":null}']


def test_every_procedure_is_a_method_of_its_server():
    import kvrpc_tools
    for server in own().servers.values():
        if server.procedures:
            client = getattr(kvrpc_tools, server.name.title())
            assert {name for name in dir(client) if name.endswith("_1")} == {
                procedure.name for procedure in server.procedures.values()}


def test_a_misspelt_method_has_a_suggestion():
    with pytest.raises(AttributeError, match="has no method 'a_logn_1', did you mean a_login_1?"):
        Alpha(transport=Echo("")).a_logn_1({})
    assert not hasattr(Alpha(transport=Echo("")), "__missing__")


def test_an_unknown_name_has_a_suggestion():
    with pytest.raises(UnknownProcedure, match="unknown function of alpha, did you mean a_login_1"):
        Alpha(transport=Echo("")).call("a_logn_1", {})
    with pytest.raises(UnknownProcedure, match="it belongs to omega"):
        Alpha(transport=Echo("")).call("o_get_config_1", {})


def test_a_procedure_can_be_called_by_its_name():
    transport = Echo(OK % "true")
    assert Alpha(transport=transport).call("a_check_login_1", 7) is True
    assert transport.texts == [('{"a_check_login_1":7}', True)]


@pytest.mark.parametrize("status, error", [
    (1, ArgumentError), (2, ResultError), (4, UnknownProcedure), (5, ArgumentError),
    (6, ArgumentError), (9, Refused)])
def test_each_status_is_an_exception(status, error):
    with pytest.raises(error) as caught:
        Lambda(transport=Echo(json.dumps({"status": status, "message": "so"}))).l_exit_1()
    assert (caught.value.status, caught.value.message) == (status, "so")
    assert str(caught.value) == "l_exit_1: so"


def test_a_failed_call_has_the_name_of_the_system_error():
    reply = {"status": 3, "rpc_err": {"re_status": 4, "re_errno": 104}, "message": "rpc_call: x\n"}
    with pytest.raises(RpcError) as caught:
        Lambda(transport=Echo(json.dumps(reply))).l_exit_1()
    assert (caught.value.re_status, caught.value.re_errno) == (4, 104)
    assert caught.value.errno_name == "ECONNRESET"
    assert "ECONNRESET" in str(caught.value)


def test_a_number_of_windows_sockets_has_a_name_and_a_text():
    error = RpcError("p", 3, "m", {"re_status": 4, "re_errno": 10054})
    assert error.errno_name == "WSAECONNRESET"
    assert str(error).endswith(f": WSAECONNRESET, {os.strerror(errno.ECONNRESET)}")
    for name in WINSOCK_NAMES.values():
        assert hasattr(errno, name.removeprefix("WSA")), name


@pytest.mark.parametrize("error", [
    CallError("p", 7, "m"), ArgumentError("p", 1, "m"), Refused("p", 9, "m"),
    RpcError("p", 3, "m", {"re_status": 5}),
    ConnectError("m", "alpha", "h", None, "tcp", "look there")],
    ids=lambda each: type(each).__name__)
def test_an_exception_crosses_processes(error):
    again = pickle.loads(pickle.dumps(error))
    assert (type(again), str(again), vars(again)) == (type(error), str(error), vars(error))


def test_a_host_with_a_port_is_told_where_the_port_belongs():
    with pytest.raises(ConnectError, match="Unknown host; a host is a name .* KORVEXRPCPORT"):
        Lambda("127.0.0.1:7000")


def test_a_host_that_is_no_text_is_refused_by_its_type():
    with pytest.raises(TypeError, match="host must be a str or None, not int"):
        Lambda(5)


def test_a_refused_connection_has_a_name(monkeypatch):
    with socket.socket() as sock:
        sock.bind(("127.0.0.1", 0))  # and nobody listens
        monkeypatch.setenv("KORVEXRPCPORT", str(sock.getsockname()[1] - 3))
        with pytest.raises(ConnectError, match=r"Error 10061 \(WSAECONNREFUSED\); does lambda"):
            Lambda("127.0.0.1")


def test_no_connection_says_where_it_was_looked_for(monkeypatch):
    monkeypatch.setenv("KORVEXRPCMAP", "elsewhere:9; no.such.host.invalid : 7000")
    monkeypatch.setenv("RPCTRANSPORT", "udp")
    with pytest.raises(ConnectError) as caught:
        Lambda("no.such.host.invalid")
    error = caught.value
    assert (error.server, error.host, error.port, error.transport) == (
        "lambda", "no.such.host.invalid", 7003, "udp")
    assert "RPC: Unknown host" in error.message
    assert "does not resolve" in error.advice
