"""The notes that kvrpc_tools gives on procedures, records and fields."""

import re

import pytest

from kvrpc_tools.meanings import Note, meanings
from kvrpc_tools.schema import own


def test_every_name_has_a_note_that_is_a_sentence():
    notes = meanings()
    found = [notes.procedure(name) for name in own().procedures]
    for record in own().records.values():
        found.append(notes.record(record.name))
        found += [notes.field(record.name, field.key) for field in record.fields]
        if record.is_union:
            found.append(notes.field(record.name, record.discriminant))
    assert len(found) == 321 + 342 + 1210 + 39
    for note in found:
        assert re.fullmatch(r"[A-Za-z][ -~]*[a-z0-9_)A-Z]\.", note.text), note
        assert note.basis in ("stated", "name", "unknown")


@pytest.mark.parametrize(("record", "text"), [
    ("login_arg", "Argument of a_login_1: userid and passwor."),
    ("apply_route_new_arg",
     "Argument of a_apply_route_new_1 and o_apply_route_new_1, in 3 versions."),
    ("get_user_ll_res", "Result of a_get_system_userlist_1 and 3 others: a count and a list."),
    ("get_s_rec_new_ll_res_node", "List node with one s_rec_new, for get_s_rec_new_ll_res."),
    ("send_new_res_v0", "Version 0 of send_new_res: faxid and errcode."),
    ("cha_userid_arg", "Argument of a_cha_userid_1, in one version."),
    ("s_rec", "Send record: plan, progress and recipient of a send job."),
])
def test_the_note_of_a_record_follows_from_the_tables_or_is_its_own(record, text):
    assert meanings().record(record) == Note(text, "stated")


def test_a_reading_of_a_name_is_marked():
    assert str(meanings().procedure("a_check_login_1")).endswith("(from its name)")
    assert "(from its name)" not in str(meanings().procedure("a_login_1"))


def test_a_records_own_note_of_a_key_wins():
    notes = meanings()
    assert notes.field("put_user_arg", "name").text == "Name of the user."
    assert notes.field("usrconf_rec", "name").text == "Name of the setting."
    assert notes.field("login_arg", "userid").text == "Identifier of a user."


def test_a_selection_is_a_version_an_event_or_a_plain_number():
    notes = meanings()
    for record in own().records.values():
        if record.discriminant == "selection" and record.name != "subscribe_arg_trigger":
            assert notes.field(record.name, "selection").text.startswith("Version of a union")
        if any(field.key == "selection" for field in record.fields):
            assert notes.field(record.name, "selection").basis == "unknown"
    assert notes.field("subscribe_arg_trigger", "selection").text.startswith("Kind of the event")


def test_forms_point_at_each_other():
    notes = meanings()
    pair = notes.later_form("a_sende_1")
    assert pair is not None and pair.later == "a_send_new_1"
    assert pair in notes.earlier_forms("a_send_new_1")
    assert notes.later_form("a_send_new_1") is None
    assert notes.group("a_sende_1").name == "Sending"


def test_a_record_knows_its_procedures():
    assert meanings().used_by("login_arg") == ("a_login_1",)
    assert "a_get_s_1" in meanings().used_by("s_rec")


def test_an_unknown_name_is_a_key_error():
    with pytest.raises(KeyError):
        meanings().procedure("a_logn_1")
