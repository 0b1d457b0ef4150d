"""Families that are no table: what each writer writes, each reader reads."""

import re
from pathlib import Path

import pytest

from kvrpc_tools.simulator.state import Installation
from tests.python.simulator.families import FAMILIES, procedures

ALPHA = {"alphaid": "zentrale"}
MEIER = {"userid": "meier"}
MEMBER = {**ALPHA, "userid": "weber", "groupid": "vertrieb"}
JOURNAL = "/var/log/lambda.log"

ZEROES = procedures("aost_get_kzg_1 aost_write_log_1 ao_sync_1 a_clean_cache_1 a_reload_dest_1 "
                    "a_reload_srvconf_1 o_cha_licence_1")


def limits(call):
    return [call("a_get_configdata_1"), call("o_get_configdata_1"),
            call("a_get_configdata_new_1")["v1"], call("o_get_configdata_new_1")["v1"]]


@pytest.mark.parametrize("member, written, value", [
    ("maxlogins", ("o_put_logins_1", {**ALPHA, "logins": 7}), 7),
    ("aktusers", ("o_put_user_1", {**ALPHA, "userid": "weber"}), 3),
    ("aktusers", ("a_put_o_user_1", {**ALPHA, "userid": "weber"}), 3),
    ("aktusers", ("o_del_user_1", {**ALPHA, "userid": "meier"}), 1),
    ("aktlines", ("o_put_faxl_1", {"lineid": "fax9"}), 3),
    ("aktlogins", ("a_login_1", {**MEIER, "passwor": "geheim"}), 1),
    ("aktlogins", ("a_mult_login_1", {**MEIER, "passwor": "geheim"}), 1)])
def test_limits_and_numbers_are_read_by_all(call, member, written, value):
    call(*written)
    assert [row[member] for row in limits(call)] == [value] * 4


def test_a_member_of_a_group_is_read_by_all(call):
    checks = ("a_check_groupl_1", "o_check_groupl_1")
    assert [call(check, MEMBER) for check in checks] == [False, False]
    assert call("o_put_groupl_1", MEMBER) is True
    assert [call(check, MEMBER) for check in checks] == [True, True]
    made = call("o_make_verteiler_1", {"groupid": "vertrieb"})["first"]
    assert {"data": "weber"} in made[0]["user_ll"]
    assert call("o_del_groupl_1", MEMBER) is True
    assert [call(check, MEMBER) for check in checks] == [False, False]


@pytest.mark.parametrize("writer, argument", [
    ("a_put_bif_1", {"bif": True}), ("a_exc_bif_1", {"newflag": True})])
def test_the_mark_of_a_document_is_read_by_all(call, writer, argument):
    document = {**MEIER, "faxid": call("a_mk_dok_1", "meier")}

    def read():
        return [call("a_bif_1", MEIER), call("a_bif_new_1", {"vers": 0, "v0": MEIER})["v0"]["out"]]

    assert read() == [False, False]
    call(writer, {**document, **argument})
    assert read() == [True, True]
    assert call("a_exc_bif_1", document) == {"ok": True, "oldflag": True}
    assert read() == [False, False]


def test_the_mark_of_a_public_document_is_read_by_other_users(call):
    document = {"userid": "schulz", "faxid": call("a_mk_dok_1", "schulz")}
    assert call("a_put_bif_1", {**document, "bif": True}) is True
    assert call("a_bif_1", MEIER) is False
    assert call("a_put_public_1", {**document, "public_": True}) is True
    assert call("a_bif_1", MEIER) is True
    assert call("a_del_dok_1", document) is True
    assert call("a_bif_1", MEIER) is False


@pytest.mark.parametrize("writer, argument, line", [
    ("l_log_1", {"origin_id": "skript", "data": "hier"}, "hier"),
    ("a_a_log_1", "hier", "hier"),
    ("a_dump_job_list_1", 0, "job 4: status 1")])
def test_a_record_of_the_log_is_read_by_all(call, writer, argument, line):
    document = call("a_mk_dok_1", "meier")
    assert call("a_sende_1", {**MEIER, "poolfaxid": document, "s_record": {"empfnr": "1"}}) == 4
    before = call("l_get_nr_recs_1")
    call(writer, argument)
    assert call("l_get_nr_recs_1") == before + 1
    assert call("l_get_rec_1", before)["data"] == line
    size = call("l_statfile_1", {"filename": JOURNAL})["size"]
    tail = call("l_readfile_1", {"filename": JOURNAL, "offset": size - len(line) - 1, "len": 99})
    assert tail["data"] == line + "\n"


@pytest.mark.parametrize("change", [
    ("a_cha_pw_1", {**MEIER, "oldpw": "geheim", "newpw": "neu"}),
    ("a_put_user_1", {**MEIER, "passwor": "neu"})])
def test_a_password_is_read_by_all(call, change):
    assert call(*change) in (0, True)
    for reader in ("a_login_1", "a_mult_login_1"):
        assert call(reader, {**MEIER, "passwor": "geheim"})["err"] == 2
        assert call(reader, {**MEIER, "passwor": "neu"})["err"] == 0
    assert call("a_cha_pw_1", {**MEIER, "oldpw": "neu", "newpw": "x"}) == 0


@pytest.mark.parametrize("host", ["zentrale", ""])
@pytest.mark.parametrize("writer", ["o_put_user_1", "a_put_o_user_1"])
def test_a_deputy_is_read_by_both_cycle_checks(call, writer, host):
    def read():
        return [call("a_check_cycle_1", {**MEIER, "vertreth": host, "vertretu": "weber"}),
                call("o_check_v_cycle_1", {"x_host": host, "x_user": "meier", "v_host": host,
                                           "v_user": "weber"})]

    assert read() == [True, True]
    assert call(writer, {**ALPHA, "userid": "weber", "vertretu": "meier"}) is True
    assert read() == [False, False]


def test_these_procedures_only_answer_zeroes(call, schema):
    handlers = Installation(schema).handlers
    assert sorted(set(schema.procedures) - set(handlers)) == sorted(ZEROES)
    for name in set(ZEROES) - {"o_cha_licence_1"}:  # whose records are not described
        assert not any(numbers_in(call(name))), name
    assert call("a_init_1") == 0


def numbers_in(value):
    if isinstance(value, dict):
        return [each for item in value.values() for each in numbers_in(item)]
    return [value]


def test_each_procedure_is_called_in_these_tests(schema):
    named = set()
    for family in FAMILIES.values():
        for names in (family.writers, family.readers, family.deleters):
            named.update(procedures(names))
    text = "".join(file.read_text(encoding="utf-8") for file in Path(__file__).parent.glob("*.py"))
    written = set(re.findall(r"(?:[a-z]|{[a-z]+})[\w{}]*_1\b", text))
    # A name with a value in braces, such as l_stop{kind}_1, and one for both servers.
    patterns = [re.sub(r"{[a-z]+}", "[a-z]+", name) for name in written if "{" in name]
    named.update(*(procedures(name) for name in written if re.match("[aost]{2,}_", name)))
    known = re.compile("|".join(patterns))
    assert [name for name in schema.procedures
            if name not in named | written and not known.fullmatch(name)] == []
