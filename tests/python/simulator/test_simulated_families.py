"""What one procedure of a family writes, every other one of it reads, on alpha and omega alike."""

import pytest

from tests.python.simulator.families import FAMILIES, Filler, procedures, rows_with


def cases(attribute):
    return [pytest.param(family, procedure, id=f"{name}-{procedure}")
            for name, family in FAMILIES.items()
            for procedure in procedures(getattr(family, attribute))]


def asked_by(family, reader):
    lists = "_ll" in reader or reader.endswith("listb_1")
    return {"pos": "", "anz": 50, **family.row, **(family.asked if lists else {})}


def key_of(family, procedure):
    """The field that a bare argument holds."""
    known = family.bare.get(procedure) or family.bare.get(procedure[2:])
    return known or next(iter(family.row))


def readings(filler, family):
    """Each reader of a family, with each argument that asks it for the row."""
    return [(reader, asked) for reader in procedures(family.readers) for asked in filler.variants(
        reader, asked_by(family, reader), key_of(family, reader))]


def put(call, filler, family):
    for name, argument in family.first:
        assert call(name, argument) is True
    writer = procedures(family.writers)[0]
    assert call(writer, filler.variants(writer, family.row, None)[0]) in (True, 0, None)


@pytest.mark.parametrize(("family", "writer"), cases("writers"))
def test_a_row_is_read_by_all(fresh_call, schema, family, writer):
    filler = Filler(schema)
    for written in filler.variants(writer, family.row, None):
        call = fresh_call()
        for name, argument in family.first:
            assert call(name, argument) is True
        for reader, asked in readings(filler, family):
            # Each time, because t_get_scan_1 takes away what it reads.
            assert call(writer, written) in (True, 0, None)
            result = call(reader, asked)
            if not isinstance(result, dict):
                assert result == family.row[family.key], reader
                continue
            rows = rows_with(result, family.key, family.row[family.key])
            assert rows, f"{reader}({asked}) after {writer}: {result}"
            for row in rows:
                shared = written_fields(written, family.twins) & set(row)
                assert {key: row[key] for key in shared} == {
                    key: family.row[key] for key in shared}, f"{reader} after {writer}"


@pytest.mark.parametrize(("family", "deleter"), cases("deleters"))
def test_a_deleted_row_is_read_by_none(fresh_call, schema, family, deleter):
    filler = Filler(schema)
    for named in filler.variants(deleter, family.row, key_of(family, deleter)):
        call = fresh_call()
        put(call, filler, family)
        assert call(deleter, named) in (True, 0)
        for reader, asked in readings(filler, family):
            result = call(reader, asked)
            assert result != family.row[family.key]
            assert not rows_with(result, family.key, family.row[family.key]), reader


def written_fields(argument, twins):
    """The fields that an argument names, out of its union and its `data`, and their twins."""
    fields = set()
    for key, value in argument.items():
        fields |= written_fields(value, twins) if isinstance(value, dict) else {key}
    for pair in twins.items():
        fields |= set(pair) if fields & set(pair) else set()
    return fields - {"selection", "outselection"}


# ---- documents and jobs, whose numbers the writers give


JOB_READERS = "a_get_s_rec_1 a_get_s_rec_new_1 a_get_s_1 a_get_sb_1 a_get_s_rec_new_ll_1"
WAITING = "at_get_sendjob_ll_1"
RECEIVED = "a_get_e_1 a_get_eb_1 a_get_e_rec_1 a_get_e_rec_new_1 a_get_e_rec_new_ll_1"
IN_THE_POOL = "a_get_p_1 a_get_pb_1 a_get_p_rec_1"


class Desk:
    """A user's session, with what its calls have in common."""

    def __init__(self, call, schema):
        self.call, self.filler = call, Filler(schema)
        login = call("a_login_1", {"userid": "meier", "passwor": "geheim"})["loginid"]
        self.values = {"userid": "meier", "loginid": login, "pos": 0, "anz": 50, "lng": 9999}
        self.document = call("a_mk_dok_1", "meier")

    def does(self, procedure, **values):
        """The results of a procedure in each form of its argument."""
        values = {**self.values, **values}
        return [self.call(procedure, argument) for argument in self.filler.variants(
            procedure, values, "userid")]

    def shows(self, readers, faxid, **wanted):
        for reader in procedures(readers):
            for result in self.does(reader, faxid=faxid):
                rows = rows_with(result, "faxid", faxid)
                assert rows, reader
                assert {key: rows[-1][key] for key in wanted} == wanted, reader


@pytest.fixture
def desk(call, schema):
    return Desk(call, schema)


def sent(desk, procedure, record):
    """The numbers of the jobs that a procedure makes, one for each form of its argument."""
    records = {"s_record": record, "s_rec_v1": record}
    results = [desk.call(procedure, argument) for argument in arguments(desk, procedure, records)]
    return [result["v0"]["faxid"] if isinstance(result, dict) else result for result in results]


def arguments(desk, procedure, records):
    common = {"userid": "meier", "poolfaxid": desk.document, **records}
    if procedure == "a_sende_1":
        return [{key: common[key] for key in ("userid", "poolfaxid", "s_record")}]
    return [{"selection": 0, "v0": common}, {"selection": 1, "v1": common}]


@pytest.mark.parametrize("writer", ["a_sende_1", "a_send_new_1"])
def test_a_job_is_read_by_all(desk, writer):
    record = {"empfnr": "040 1", "empftsi": "+49 40", "prio": 2, "comment": "Brief", "sollrepc": 3}
    jobs = sent(desk, writer, record)
    assert all(jobs)
    for job in jobs:
        desk.shows(f"{JOB_READERS} {WAITING}", job, **record)


@pytest.mark.parametrize(("writer", "written"), [
    ("a_cha_s_rec_1", {"prio": 5, "comment": "neu", "sollzeit": 2_000_000_000}),
    ("a_cha_s_rec_new_1", {"prio": 5, "comment": "neu", "sollzeit": 2_000_000_000}),
    ("a_put_s_stat_1", {"status": 3, "seitenok": 4, "errstat": 9, "istrepc": 2}),
    ("a_put_s_stat_new_1", {"status": 3, "seitenok": 4, "errstat": 9, "istrepc": 2})])
def test_what_changes_a_job_is_read_by_all(desk, writer, written):
    job, = sent(desk, "a_sende_1", {"empfnr": "040 1"})
    assert desk.does(writer, faxid=job, **written)[0] in (True, 0)
    desk.shows(JOB_READERS, job, **written)


@pytest.mark.parametrize("writer", ["a_put_page_1", "a_put_pageb_1", "a_cp_page_1", "a_cp_dok_1"])
def test_a_page_is_read_by_all(desk, writer):
    source = desk.document
    text = "Guten Tag"
    assert desk.does("a_put_page_1", faxid=source, seitennr=1, data=text) == [True]
    target = desk.document = desk.call("a_mk_dok_1", "meier")
    assert desk.does(writer, faxid=target, seitennr=1, data=text, sourcefaxid=source, sourcepage=1,
                     destfaxid=target, destpage=1) == [True]
    assert desk.does("a_get_page_1", faxid=target, page=1) == [text]
    assert desk.does("a_get_pageb_1", faxid=target, page=1)[0]["data"] == text
    for reader in ("a_get_inf_1", "s_get_inf_1"):
        assert desk.does(reader, faxid=target)[0]["data"][0] == len(text)
    handle = desk.does("s_open_page_1", faxid=target, page=1)[0]["handle"]
    assert desk.call("s_get_block_1", {"handle": handle, "len": 99})["data"] == text.encode()
    old = desk.does("s_openpage_old_1", faxid=target, page=1)[0]
    assert desk.call("s_getblock_old_1", {"handle": old["handle"], "len": 99})[
        "data"] == text.encode()
    desk.shows(IN_THE_POOL, target, seiten=1)


def test_a_comment_and_a_mark_of_a_document_are_read_by_all(desk):
    assert desk.does("a_put_comment_1", faxid=desk.document, comment="neu") == [True]
    assert desk.does("a_put_public_1", faxid=desk.document, public_=True) == [True]
    desk.shows(IN_THE_POOL, desk.document, comment="neu", public_=True)


def test_a_forwarded_document_is_read_by_all(desk):
    received = 2
    inbox = {row["data"]["faxid"] for row in desk.does("a_get_e_1")[0]["first"]}
    assert desk.does("a_forward_1", sourcetopf=received, faxid=min(inbox), destu="meier",
                     desttopf=received) == [True]
    now = {row["data"]["faxid"] for row in desk.does("a_get_e_1")[0]["first"]}
    new, = now - inbox
    desk.shows(RECEIVED, new, absender="Werft Nord", seiten=2)


def test_a_line_of_a_log_is_read_by_all(desk):
    assert desk.does("a_put_log_1", faxid=desk.document, zeile="gelesen") == [True]
    assert desk.does("a_get_log_1", faxid=desk.document) == ["gelesen\n"]
    assert desk.does("a_get_logb_1", faxid=desk.document)[0]["data"] == "gelesen\n"
    assert desk.does("a_get_logl_1", faxid=desk.document)[0]["data"] == [{"dat": "gelesen\n"}]


@pytest.mark.parametrize("writer", ["a_put_sig_1", "a_put_sigb_1"])
def test_a_signature_is_read_by_all(desk, writer):
    assert desk.does(writer, data="Ida") == [True]
    assert desk.does("a_get_sig_1") == ["Ida"]
    assert desk.does("a_get_sigb_1")[0]["data"] == "Ida"
