"""What the simulator makes of members whose meaning is only read from their names."""

import re

import pytest

NIGHT, DAY, HOUR = 1_000_000_000 // 86400 * 86400 + 22 * 3600, 86400, 3600


def put_address(call, server, tsi, user="meier", barred=False):
    assert call(f"{server}_put_reply_addr_1", {"selection": 0, "v0": {
        "nettype": 1, "tsi": tsi, "userid": user, "alphaid": "b", "phone": "1",
        "barred": barred}}) == 0


def addresses(call, server, version, **asked):
    found = call(f"{server}_get_reply_addr_ll_1", {"selection": version, f"v{version}": {
        "nettype": 1, "anz": 0, **asked}})
    return [node["data"]["v0"]["tsi"] for node in found["first"]]


def read_address(call, server, tsi):
    return call(f"{server}_get_reply_addr_1", {"selection": 0, "v0": {
        "nettype": 1, "tsi": tsi, "userid": "meier", "alphaid": "b"}})["data"]["v0"]


@pytest.mark.parametrize("server", "ao")
def test_reply_addresses_are_listed_by_user_by_last_access_and_by_barred(call, server):
    put_address(call, server, "1")
    put_address(call, server, "2", user="schulz")
    put_address(call, server, "3", barred=True)
    assert addresses(call, server, 0) == ["1", "2", "3"]
    assert addresses(call, server, 0, userid="meier", alphaid="b") == ["1", "3"]
    assert addresses(call, server, 0, tsi="1", userid="meier", alphaid="b") == ["3"]
    assert addresses(call, server, 2, barred=True) == ["3"]
    read_address(call, server, "1")
    assert addresses(call, server, 1, lastaccess=int(call.time)) == ["1"]
    assert addresses(call, server, 1, lastaccess=0) == ["1", "2", "3"]


def test_reading_a_reply_address_counts(call):
    put_address(call, "a", "1")
    assert read_address(call, "a", "1")["count"] == 1
    again = read_address(call, "o", "1")
    assert (again["count"], again["lastaccess"]) == (2, call.time)


def limits(call):
    return call("a_get_configdata_new_1", True)["v1"]


def test_gateway_users_are_counted_by_their_type(call):
    call("o_put_gwuser_1", {"selection": 1, "v1": {
        "gw_type": "mail", "mailaddr": "x@y", "lineid": "fax0"}})
    assert {row["gw_type"]: row["akt_users"] for row in limits(call)["gwuser_count"]} == {
        "mail": 1, "sms": 0}


def test_a_gateway_user_is_touched_on_request(call):
    call("o_put_gwuser_1", {"selection": 1, "v1": {
        "gw_type": "mail", "mailaddr": "x@y", "lineid": "fax0"}})
    seen = []
    for touch in (False, True, False):
        found = call("o_get_gwuser_1", {"selection": 0, "v0": {
            "gw_type": "mail", "mailaddr": "x@y", "touch": touch}})
        seen += re.findall("'lastaccess': ([0-9]+)", repr(found))
    assert seen == ["0", str(int(call.time)), str(int(call.time))]


def test_the_number_of_logins_that_is_put_is_the_limit(call):
    assert limits(call)["maxlogins"] == 20
    assert call("o_put_logins_1", {"alphaid": "zentrale", "logins": 7})
    assert limits(call)["maxlogins"] == 7


def job(call, **record):
    document = call("a_mk_dok_1", "meier")
    call("a_put_page_1", {"userid": "meier", "faxid": document, "seitennr": 1, "data": "x"})
    number = call("a_sende_1", {"userid": "meier", "poolfaxid": document, "s_record": record})
    return lambda: call("a_get_s_rec_new_1", {"selection": 1, "v1": {
        "userid": "meier", "faxid": number}})["s_rec_new"]["v1"]


def test_a_job_without_a_number_is_repeated_as_often_as_planned(call):
    look = job(call, sollrepc=2)
    seen = []
    for _ in range(5):
        call.time += 100
        seen.append((look()["status"], look()["istrepc"]))
    assert seen == [(1, 0), (1, 1), (1, 1), (5, 2), (5, 2)]


def test_a_restarted_job_has_made_no_attempt(call):
    look = job(call, sollrepc=2)
    call.time += 400
    failed = look()
    assert (failed["status"], failed["istrepc"], failed["errstat"]) == (5, 2, 1)
    assert call("a_restart_s_1", {"userid": "meier", "faxid": failed["faxid"]}) is True
    restarted = look()
    assert restarted["status"] == 1
    for field in ("istrepc", "istzeit", "errstat", "seitenok", "dauer", "charge_value"):
        assert restarted[field] == 0, field
    for field in ("error_string", "lineid_xmt", "charge_unit"):
        assert restarted[field] == "", field
    assert restarted["ready"] is False
    call.time += 400
    assert (look()["status"], look()["istrepc"]) == (5, 2)


def test_only_a_job_that_waits_has_a_next_attempt(call):
    look = job(call, empfnr="1", sollzeit=int(call.time) + 100)
    assert look()["nextzeit"] == int(call.time) + 100
    assert call("a_cancel_s_1", {"userid": "meier", "faxid": look()["faxid"]}) is True
    assert look()["nextzeit"] == 0


def test_a_job_with_the_night_flag_waits_for_the_night(call):
    call.time = float(NIGHT - 3 * HOUR)
    look = job(call, empfnr="1", nachtkz=True)
    call.time += 2 * HOUR
    assert (look()["status"], look()["nextzeit"]) == (1, NIGHT)
    call.time += 2 * HOUR
    assert look()["status"] == 3


@pytest.mark.parametrize("clock", [NIGHT + HOUR, NIGHT + 7 * HOUR])
def test_a_job_with_the_night_flag_does_not_wait_at_night(call, clock):
    call.time = float(clock)
    look = job(call, empfnr="1", nachtkz=True)
    call.time += 10
    assert look()["status"] == 3


def test_a_subscription_ends_with_its_session(call):
    login = call("a_login_1", {"userid": "meier", "passwor": "geheim"})["loginid"]
    asked = {"loginid": login, "ip_address": 1, "port": 2,
             "trigger": {"selection": 1, "topf_change": {"topf": 2}}}
    assert call("a_subscribe_1", asked) == 0
    call("a_logout_1", {"userid": "meier", "loginid": login})
    assert call("a_unsubscribe_1", {**asked, "all": True}) == 1
