"""Calls answered by a server that nobody here wrote: pyvisa-py's rpc module."""

import pytest
from servers import Started

pytestmark = pytest.mark.peers


@pytest.fixture(params=["tcp", "udp"])
def server(request, monkeypatch):
    started = Started("foreign_server.py", request.param)
    monkeypatch.setenv("KORVEXRPCPORT", str(started.port))
    monkeypatch.setenv("RPCTRANSPORT", request.param)
    yield started
    started.stop()


@pytest.fixture
def client(server, module):
    made = module.RpcClient("lambda")
    yield made
    made.close()


def test_a_procedure_without_argument_brings_a_number(client, allow):
    assert client.call('{"l_version_1":null}', allow) == (
        b'{"status":0,"message":"ok","result":-30500}')


def test_a_record_comes_back_in_its_order(client, allow):
    assert client.call('{"l_get_status_1":null}', allow) == (
        b'{"status":0,"message":"ok","result":{"state_fax":1,"state_gateways":2,'
        b'"state_daemons":-2147483648,"state_drivers":2147483647}}')


def test_a_text_arrives_in_the_servers_code(client, server, allow):
    assert client.call('{"l_startserver_1":"Börse€"}', allow) == (
        b'{"status":0,"message":"ok","result":true}')
    assert client.call('{"l_startserver_1":"nobody"}', allow) == (
        b'{"status":0,"message":"ok","result":false}')
    assert [server.next_line(), server.next_line()] == ["start Börse€", "start nobody"]


def test_a_procedure_that_it_does_not_have_is_a_failed_call(client, allow):
    reply = client.call('{"l_ps_1":null}', allow)
    assert reply.startswith(b'{"status":3,"rpc_err":{"re_status":10}')
    assert allow.names == ["l_ps_1"] * 2


def test_calls_follow_one_another_on_one_client(client, allow):
    replies = {client.call('{"l_version_1":null}', allow) for _ in range(200)}
    assert replies == {b'{"status":0,"message":"ok","result":-30500}'}
