"""Process control from end to end: the module against the simulator."""

import json

import pytest

from kvrpc_tools.simulator.fixture import running


@pytest.fixture(scope="module")
def simulator():
    with running() as started:
        yield started


@pytest.fixture(params=["tcp", "udp"])
def call(request, simulator, module, monkeypatch, allow):
    """Calls of `lambda` by name, over either transport; a call must succeed."""
    monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))
    monkeypatch.setenv("RPCTRANSPORT", request.param)
    client = module.RpcClient("lambda")

    def ask(procedure, argument=None):
        reply = json.loads(client.call(json.dumps({procedure: argument}), allow))
        assert list(reply) == ["status", "message", "result"]
        assert (reply["status"], reply["message"]) == (0, "ok")
        return reply["result"]

    yield ask
    ask("l_startfax_1")
    client.close()


def test_an_installation_is_run_from_end_to_end(call):
    assert call("l_get_status_1") == {
        "state_fax": 1, "state_gateways": 1, "state_daemons": 1, "state_drivers": 1}
    assert call("l_stopgateway_1", "mail") is True
    assert call("l_get_status_1")["state_gateways"] == 2
    stopped = [process for process in call("l_ps_1") if process["status"] == 0]
    assert [(process["cmd"], process["pid"]) for process in stopped] == [("mail", 0)]
    assert call("l_startgateway_1", "mail") is True
    assert call("l_get_status_1")["state_gateways"] == 1


def test_a_procedure_without_result_brings_null(call):
    assert call("l_startfax_1") is None
    assert call("l_log_1", {"origin_id": "test", "data": "nothing"}) is None


def test_the_process_list_is_an_array_of_entries_in_their_order(call):
    processes = call("l_ps_1")
    assert len(processes) == 14
    assert {tuple(process) for process in processes} == {("slot", "pid", "status", "cmd", "dir")}


def test_a_log_record_comes_back_as_it_was_written(call):
    record = {"origin_id": "prüfung", "origin_class": -1, "time_stamp": 2_000_000_000,
              "message_class": 2, "severity": 3, "data": "Größe: 5 €", "future_0": 1,
              "future_1": 2, "future_2": 3, "future_3": 4}
    count = call("l_get_nr_recs_1")
    call("l_log_1", record)
    assert call("l_get_nr_recs_1") == count + 1
    assert list(call("l_get_rec_1", count).items()) == list(record.items())


def test_a_file_is_read_in_pieces_of_512_bytes(call):
    name = "/usr/doc/readme.txt"
    size = call("l_statfile_1", {"filename": name})["size"]
    pieces = []
    while sum(map(len, pieces)) < size:
        at = sum(map(len, pieces))
        piece = call("l_readfile_1", {"filename": name, "offset": at, "len": 4096})
        assert piece["ok"] and piece["len"] == len(piece["data"])
        pieces.append(piece["data"])
    assert [len(piece) for piece in pieces[:-1]] == [512] * (len(pieces) - 1)
    assert "überwacht" in "".join(pieces)


def test_a_piece_behind_the_end_is_empty(call):
    name = "/etc/fax.conf"
    size = call("l_statfile_1", {"filename": name})["size"]
    piece = call("l_readfile_1", {"filename": name, "offset": size, "len": 512})
    assert piece == {"ok": True, "len": 0, "data": ""}


def test_an_unknown_file_is_none(call):
    assert call("l_statfile_1", {"filename": "/none"}) == {"ok": False, "size": 0}


def test_the_long_and_the_short_form_reach_the_same_daemons(call):
    assert call("l_stopdaemon64_1", "clean") is True
    assert call("l_get_status_1")["state_daemons"] == 2
    assert call("l_startdaemon_1", "clean") is True
    assert call("l_stopdaemon64_1", "archive-collector") is True
    assert call("l_stopdaemon_1", "archive-collector") is False
    assert call("l_startdaemons_1") is True
    assert call("l_get_status_1")["state_daemons"] == 1


def test_a_server_that_exits_is_found_again_by_the_second_attempt(call, allow):
    before = call("l_ps_1")[0]["pid"]
    call("l_exit_1")
    assert call("l_ps_1")[0]["pid"] != before
    assert allow.names[:2] == ["l_ps_1", "l_exit_1"]


@pytest.mark.parametrize("argument", [5, None, [], {"id": "mail"}, True])
def test_a_wrong_argument_causes_no_traffic(simulator, module, monkeypatch, allow, argument):
    monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))
    client = module.RpcClient("lambda")
    before = simulator.log()
    reply = client.call(json.dumps({"l_stopgateway_1": argument}), allow)
    assert reply == b'{"status":1,"message":"can not json encode arg"}'
    assert json.loads(client.call('{"l_version_1":0}', allow))["status"] == 0
    client.close()
    seen = simulator.log()[len(before):].splitlines()
    assert len(seen) == 1 and "l_version_1" in seen[0]
