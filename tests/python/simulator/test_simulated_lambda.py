"""`lambda`: processes, log and files, as a client sees them."""

import pytest

from tests.python.simulator.client import Client, Unanswered


@pytest.fixture
def call(schema, simulator):
    return Client(schema, simulator.port).call


@pytest.fixture
def look(schema, shared):
    """Calls that change nothing, at a simulator that the module shares."""
    return Client(schema, shared.port).call


def entry(call, name):
    return next(process for process in call("l_ps_1") if process["cmd"] == name)


def test_everything_runs_at_first(look):
    assert look("l_get_status_1") == {
        "state_fax": 1, "state_gateways": 1, "state_daemons": 1, "state_drivers": 1}
    assert look("l_version_1") > 0


def test_the_process_list_has_slots_numbers_and_directories(look):
    processes = look("l_ps_1")
    assert [process["slot"] for process in processes] == list(range(len(processes)))
    assert len({process["pid"] for process in processes}) == len(processes)
    assert {"lambda", "alpha", "fax0", "mail", "archive-collector"} <= {
        process["cmd"] for process in processes}
    assert all(process["dir"].startswith("/usr/fax/") for process in processes)


@pytest.mark.parametrize("kind, name, state", [
    ("server", "omega", "state_fax"), ("driver", "fax1", "state_drivers"),
    ("gateway", "sms", "state_gateways"), ("daemon", "clean", "state_daemons")])
def test_one_process_stops_and_starts(call, kind, name, state):
    before = entry(call, name)["pid"]
    assert call(f"l_stop{kind}_1", name) is True
    assert call("l_get_status_1")[state] == 2
    assert (entry(call, name)["pid"], entry(call, name)["status"]) == (0, 0)
    assert call(f"l_start{kind}_1", name) is True
    assert call("l_get_status_1")[state] == 1
    assert entry(call, name)["pid"] not in (0, before)


@pytest.mark.parametrize("procedure", [
    "l_startserver_1", "l_stopserver_1", "l_startdriver_1", "l_stopdriver_1",
    "l_startgateway_1", "l_stopgateway_1", "l_startdaemon_1", "l_stopdaemon_1",
    "l_startdaemon64_1", "l_stopdaemon64_1"])
def test_an_unknown_process_is_neither_started_nor_stopped(look, procedure):
    assert look(procedure, "nobody") is False


def test_a_long_name_needs_the_long_form(call):
    assert call("l_stopdaemon_1", "archive-collector") is False
    assert call("l_stopdaemon64_1", "archive-collector") is True
    assert call("l_startdaemon64_1", "archive-collector") is True


@pytest.mark.parametrize("kinds, state", [("gateways", "state_gateways"),
                                          ("daemons", "state_daemons")])
def test_a_whole_kind_stops_and_starts(call, kinds, state):
    assert call(f"l_stop{kinds}_1") is True
    assert call("l_get_status_1")[state] == 0
    assert call(f"l_start{kinds}_1") is True
    assert call("l_get_status_1")[state] == 1


def test_the_whole_system_stops_but_for_lambda_and_starts(call):
    call("l_stopfax_1")
    assert set(call("l_get_status_1").values()) == {0}
    assert [process["cmd"] for process in call("l_ps_1") if process["pid"]] == ["lambda"]
    assert call("l_startdrivers_1") is True
    assert call("l_get_status_1")["state_drivers"] == 1
    call("l_startfax_1")
    assert set(call("l_get_status_1").values()) == {1}


def test_lambda_does_not_stop_itself(look):
    assert look("l_stopserver_1", "lambda") is False
    assert look("l_kill_1", entry(look, "lambda")["pid"]) is False


def test_a_stopped_server_does_not_answer(schema, simulator):
    call = Client(schema, simulator.port).call
    call("l_stopserver_1", "omega")
    with pytest.raises(Unanswered):
        call("o_sync_1")
    call("l_startserver_1", "omega")
    call("o_sync_1")


@pytest.mark.parametrize("procedure, server", [("l_exit_1", "lambda"), ("a_exit_1", "alpha"),
                                               ("s_exit_1", "sigma"), ("t_exit_1", "theta"),
                                               ("o_exit_1", "omega"), ("n_exit_1", "nue"),
                                               ("t_shutdown_1", "theta")])
def test_a_server_that_exits_comes_back_under_another_number(call, procedure, server):
    before = entry(call, server)["pid"]
    call(procedure)
    assert entry(call, server)["pid"] not in (0, before)


def test_a_process_is_killed_by_its_number(call):
    assert call("l_kill_1", entry(call, "mail")["pid"]) is True
    assert entry(call, "mail")["pid"] == 0
    assert call("l_kill_1", 99999) is False
    assert call("l_kill_1", 0) is False


def test_a_process_tells_its_status(call):
    mail = entry(call, "mail")
    call("l_set_stat_1", {"slot": mail["slot"], "pid": mail["pid"], "status": 5})
    assert entry(call, "mail")["status"] == 5
    call("l_set_stat_1", {"slot": mail["slot"], "pid": mail["pid"] + 1, "status": 6})
    assert entry(call, "mail")["status"] == 5


def test_a_server_registers(call):
    assert call("l_regserver_1", {"id": "theta", "ok": True}) is True
    assert call("l_regserver_1", {"id": "nobody", "ok": True}) is False
    call("l_regserver_1", {"id": "theta", "ok": False})
    assert entry(call, "theta")["pid"] == 0


def test_the_log_is_written_and_read_back(call):
    record = {"origin_id": "script", "origin_class": 3, "time_stamp": 1_000_000_000,
              "message_class": 4, "severity": 2, "data": "Gerät gestört",
              "future_0": 5, "future_1": 6, "future_2": 7, "future_3": -8}
    count = call("l_get_nr_recs_1")
    call("l_log_1", record)
    assert call("l_get_nr_recs_1") == count + 1
    assert call("l_get_rec_1", count) == record
    assert call("l_get_rec_1", count + 1)["data"] == ""
    assert call("l_get_rec_1", -1)["data"] == ""


def test_the_log_tells_of_starts_and_stops(call):
    call("l_stopgateway_1", "mail")
    last = call("l_get_rec_1", call("l_get_nr_recs_1") - 1)
    assert (last["origin_id"], last["data"]) == ("lambda", "gateway mail stopped")


def test_a_file_is_read_in_pieces(look):
    name = "/usr/doc/readme.txt"
    found = look("l_statfile_1", {"filename": name})
    assert found["ok"] is True and found["size"] > 512
    text = ""
    while True:
        piece = look("l_readfile_1", {"filename": name, "offset": len(text), "len": 512})
        assert piece["ok"] is True and piece["len"] == len(piece["data"]) <= 512
        if not piece["len"]:
            break
        text += piece["data"]
    assert len(text) == found["size"]
    assert text.startswith("Die Anlage") and "überwacht" in text


def test_a_piece_is_as_long_as_asked_for(look):
    piece = look("l_readfile_1", {"filename": "/etc/fax.conf", "offset": 2, "len": 9})
    assert (piece["len"], piece["data"]) == (9, "Faxsystem")


def test_the_log_is_a_file_as_well(call):
    call("l_log_1", {"origin_id": "script", "data": "hier"})
    size = call("l_statfile_1", {"filename": "/var/log/lambda.log"})["size"]
    tail = call("l_readfile_1", {"filename": "/var/log/lambda.log", "offset": size - 13, "len": 20})
    assert tail["data"] == "script: hier\n"


@pytest.mark.parametrize("asked", [
    {"filename": "/none"}, {"filename": ""}, {"filename": "/etc/fax.conf", "offset": -1},
    {"filename": "/etc/fax.conf", "len": -1}])
def test_what_cannot_be_read_is_said_to_be_none(look, asked):
    answer = look("l_readfile_1", asked)
    assert (answer["ok"], answer["len"], answer["data"]) == (False, 0, "")
