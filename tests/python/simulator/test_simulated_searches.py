"""What searches and changes cost in long lists, as counted steps of the interpreter.

A search that looks at each row would take ten times as many steps in a list of ten times the
length, and building up such a list by single calls would take a hundred times as many.
"""

import itertools
import sys

import pytest

from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.state.jobs import DONE

SHORT, LONG = 150, 1_500
OWNER = {"userh": "", "useru": ""}
USER = {"userid": "meier"}


def steps(action):
    """Runs it. Returns how many steps of the interpreter it took."""
    count = 0

    def trace(frame, event, _):
        nonlocal count
        frame.f_trace_opcodes = True
        count += event == "opcode"
        return trace

    before = sys.gettrace()
    sys._getframe().f_trace_opcodes = True  # before, because CPython 3.12 looks only then
    sys.settrace(trace)
    try:
        action()
    finally:
        sys.settrace(before)
    return count


class Filled:
    """An installation with so many rows of each kind. `wanted` is the number of one of them."""

    def __init__(self, schema, count):
        self.installation = Simulation(schema).installation
        self.run = self.installation.run
        self.wanted = count // 2
        self.next = itertools.count(count)
        self.login = self.run("a_login_1", {**USER, "passwor": "geheim"})["loginid"]
        self.document = self.run("a_mk_dok_1", "meier")
        for number in range(count):
            for write in WRITES.values():
                write(self, number)


def name(number):
    return f"n{number:05}"


def job(at, number):
    document = at.run("a_mk_dok_1", "meier")
    at.run("a_sende_1", {**USER, "poolfaxid": document, "s_record": {
        "empfnr": "1", "comment": "", "sollzeit": 4_000_000_000, "nachtkz": False,
        "gw_type": "mail"}})
    at.run("a_put_s_stat_1", {"faxid": document + 1, "status": DONE})


def public_document(at, number):
    document = at.run("a_mk_dok_1", "schulz")
    at.run("a_put_public_1", {"userid": "schulz", "faxid": document, "public_": True})


def notification(at, number, port=1):
    return {"loginid": at.login, "ip_address": number, "port": port,
            "trigger": {"selection": 1, "topf_change": {"topf": 2}}}


WRITES = {
    "user": lambda at, i: at.run("o_put_user_1", {
        "alphaid": "b", "userid": name(i), "barcode": name(i)}),
    "address": lambda at, i: at.run("a_put_tele_1", {"telid": name(i), "tsi": name(i)}),
    "entry of a book": lambda at, i: at.run("a_put_tebul_1", {
        **OWNER, "tbuchid": "firma", "telid": name(i), "tsi": name(i)}),
    "mail user": lambda at, i: at.run("a_put_muser_1", {"mailaddr": name(i), "lineid": name(i)}),
    "gateway user": lambda at, i: at.run("a_put_gwuser_1", {"selection": 1, "v1": {
        "gw_type": "mail", "mailaddr": name(i), "lineid": name(i)}}),
    "route": lambda at, i: at.run("o_put_route_1", {"routeid": name(i), "lineid": name(i)}),
    "setting": lambda at, i: at.run("o_put_config_1", {
        "name": name(i), "contents": "x" * (i % 2), "protect": False}),
    "line": lambda at, i: at.run("o_put_faxl_1", {"lineid": name(i)}),
    "member of a group": lambda at, i: at.run("o_put_groupl_1", {
        "groupid": "vertrieb", "alphaid": name(i), "userid": name(i)}),
    "message": lambda at, i: at.run("a_put_board_1", {"color": 1, "id": name(i), "msg": "x"}),
    "notification": lambda at, i: at.run("a_subscribe_1", notification(at, i)),
    "session": lambda at, i: at.run("a_login_1", {**USER, "passwor": "geheim"}),
    "line of a log": lambda at, i: at.run("a_put_log_1", {
        **USER, "topf": 0, "faxid": at.document, "zeile": "x"}),
    "job": job,
    "public document": public_document,
}

SEARCHES = {
    "o_search_bar_1": lambda at: name(at.wanted),
    "o_search_tsi_1": lambda at: name(at.wanted),
    "a_lookup_tsi_1": lambda at: {"tsi": name(at.wanted), "phonedir": "firma", "checkall": False},
    "o_lookup_tsi_1": lambda at: {"tsi": name(at.wanted), "phonedir": "", "checkall": True},
    "a_get_muser_line_1": lambda at: name(at.wanted),
    "a_get_muser_line_ll_1": lambda at: {"pos": name(at.wanted), "anz": 5},
    "a_get_gwuser_1": lambda at: {"selection": 2, "v2": {
        "gw_type": "mail", "lineid": name(at.wanted), "touch": False}},
    "a_get_gwuser_ll_1": lambda at: {"selection": 1, "v1": {
        "gw_type": "mail", "pos": name(at.wanted), "anz": 5}},
    "a_apply_route_1": lambda at: {"lineid": name(at.wanted), "absender": "Werft"},
    "a_get_configdata_new_1": lambda at: None,
    "o_get_config_ll_1": lambda at: {"selection": 0, "v0": {
        "basename": "n", "skipempty": True, "pos": at.wanted // 2, "anz": 5}},
    "a_get_sendjob_ll_1": lambda at: {"selection": 0, "v0": {"anz": 5}},
    "a_get_s_rec_new_ll_1": lambda at: {
        "loginid": at.login, "gw_type": "mail", "mailaddr": "", "pos": at.wanted, "anz": 5},
    "a_get_pb_1": lambda at: {"loginid": at.login, "pos": at.wanted, "anz": 5},
    "a_bif_1": lambda at: {**USER, "topf": 0},
    "a_mult_login_1": lambda at: {**USER, "passwor": "geheim", "useold": True},
    "a_get_boardl_1": lambda at: {"color": 1, "oldchange": 2 * at.wanted - 5},
    "t_reserve_1": lambda at: {"lineid": name(at.wanted), "hwfeat": 1},
    "a_unsubscribe_1": lambda at: {**notification(at, at.wanted), "all": True},
    "a_get_logb_1": lambda at: {
        **USER, "topf": 0, "faxid": at.document, "pos": at.wanted, "lng": 5},
    "o_check_groupl_1": lambda at: {
        "groupid": "vertrieb", "alphaid": name(at.wanted), "userid": name(at.wanted)},
}


@pytest.fixture(scope="module")
def filled(schema):
    return Filled(schema, SHORT), Filled(schema, LONG)


def cost(at, procedure):
    """Returns the steps of a second search, because the first one may make the order for all later
    ones."""
    at.run(procedure, SEARCHES[procedure](at))
    return steps(lambda: at.run(procedure, SEARCHES[procedure](at)))


@pytest.mark.parametrize("procedure", SEARCHES)
def test_a_search_does_not_look_at_each_row(filled, procedure):
    short, long = (cost(at, procedure) for at in filled)
    assert long < 2 * short


@pytest.mark.parametrize("kind", WRITES)
def test_a_row_is_added_without_a_look_at_the_others(filled, kind):
    for at in filled:
        for procedure in SEARCHES:  # so that there are the orders which each change keeps
            at.run(procedure, SEARCHES[procedure](at))
    short, long = (steps(lambda at=at: WRITES[kind](at, next(at.next))) for at in filled)
    assert long < 2 * short


def test_the_users_of_a_group_are_divided_by_server_in_one_pass(filled):
    short, long = (steps(lambda at=at: at.run("o_make_verteiler_1", {"groupid": "vertrieb"}))
                   for at in filled)
    assert long < 2 * LONG / SHORT * short
