"""Documents and their pages, the inbox, send jobs, and pages handed out by `sigma`."""

import pytest

POOL, SENT, RECEIVED = 0, 1, 2


@pytest.fixture
def login(call):
    return call("a_login_1", {"userid": "meier", "passwor": "geheim"})["loginid"]


def named(faxid, **more):
    return {"userid": "meier", "faxid": faxid, **more}


@pytest.fixture
def document(call):
    """A document of two pages in the pool."""
    faxid = call("a_mk_dok_1", "meier")
    for number, text in ((1, "erste Seite"), (2, "zweite Seite")):
        assert call("a_put_page_1", named(faxid, seitennr=number, data=text)) is True
    return faxid


def page(call, faxid, number, topf=POOL):
    return call("a_get_page_1", named(faxid, topf=topf, page=number))


def test_pages_come_back_as_they_were_put(call, document):
    assert page(call, document, 1) == "erste Seite"
    assert page(call, document, 2) == "zweite Seite"
    assert page(call, document, 3) == ""
    information = call("a_get_inf_1", named(document))
    assert information["laenge"] == 2 and information["data"][:3] == [11, 12, 0]


def test_a_page_goes_up_and_comes_down_in_blocks(call, document):
    for at, text in ((0, "Grüße "), (6, "aus "), (10, "Köln")):
        assert call("a_put_pageb_1", named(document, seitennr=3, pos=at, lng=len(text), data=text))
    text = ""
    while True:
        block = call("a_get_pageb_1", named(document, page=3, pos=len(text), lng=5))
        assert block["ok"] is True and block["lng"] == len(block["data"])
        if not block["lng"]:
            break
        text += block["data"]
    assert text == "Grüße aus Köln"


@pytest.mark.parametrize("more", [{"seitennr": 4}, {"seitennr": 0}, {"seitennr": -1},
                                  {"seitennr": 1, "faxid": 999}, {"seitennr": 1, "userid": "x"}])
def test_a_page_needs_its_document_and_the_page_before(call, document, more):
    assert call("a_put_page_1", {**named(document, data="x"), **more}) is False


def test_pages_are_inserted_copied_and_deleted(call, document):
    assert call("a_ins_page_1", named(document, page=1)) is True
    assert page(call, document, 1) == "" and page(call, document, 2) == "erste Seite"
    assert call("a_cp_page_1", {"userid": "meier", "sourcefaxid": document, "sourcepage": 3,
                                "destfaxid": document, "destpage": 1}) is True
    assert page(call, document, 1) == "zweite Seite"
    assert call("a_del_page_1", named(document, page=2)) is True
    assert page(call, document, 2) == "zweite Seite"
    assert call("a_del_page_1", named(document, page=3)) is False


def test_documents_are_copied_and_deleted(call, document):
    copy = call("a_mk_dok_1", "meier")
    assert call("a_cp_dok_1", {"userid": "meier", "sourcefaxid": document,
                               "destfaxid": copy}) is True
    assert page(call, copy, 2) == "zweite Seite"
    assert call("a_del_dok_1", named(document)) is True
    assert call("a_del_dok_1", named(document)) is False
    assert page(call, copy, 1) == "erste Seite"
    assert call("a_mk_dok_1", "niemand") == 0


def test_the_pool_is_listed_with_comments_and_what_others_publish(call, document, login):
    assert call("a_put_comment_1", named(document, comment="Angebot")) is True
    other = call("a_mk_dok_1", "schulz")
    assert call("a_put_public_1", {"userid": "schulz", "faxid": other, "public_": True}) is True
    rows = [node["data"] for node in call("a_get_p_1", {"loginid": login})["first"]]
    assert [(row["faxid"], row["comment"], row["seiten"]) for row in rows] == [
        (document, "Angebot", 2), (other, "", 0)]
    assert call("a_get_pb_1", {"loginid": login, "pos": 1, "anz": 5})["anz"] == 1
    assert call("a_get_p_rec_1", named(document))["comment"] == "Angebot"
    assert call("a_get_p_1", {"loginid": 999}) == {"anz": 0, "first": []}


def test_marks_and_states_are_exchanged(call, document):
    assert call("a_bif_1", {"userid": "meier"}) is False
    assert call("a_exc_bif_1", named(document, newflag=True)) == {"ok": True, "oldflag": False}
    assert call("a_bif_1", {"userid": "meier"}) is True
    assert call("a_bif_new_1", {"vers": 0, "v0": {"userid": "meier"}})["v0"]["out"] is True
    assert call("a_put_bif_1", named(document, bif=False)) is True
    assert call("a_bif_1", {"userid": "meier"}) is False
    status = named(document, status=4, newflag=True)
    assert call("a_exc_status_1", status) == {"errcode": 0, "oldflag": False}
    assert call("a_exc_status_1", {**status, "newflag": False}) == {"errcode": 0, "oldflag": True}
    assert call("a_exc_status_1", {**status, "faxid": 999})["errcode"] == 1


def test_logs_and_signatures_whole_and_in_blocks(call, document):
    assert call("a_put_log_1", named(document, zeile="eine Zeile")) is True
    assert call("a_get_log_1", named(document)) == "eine Zeile\n"
    assert call("a_get_logb_1", named(document, pos=5, lng=3))["data"] == "Zei"
    assert call("a_get_logl_1", named(document, lng=99)) == {
        "ok": True, "pos": 11, "data": [{"dat": "eine Zeile\n"}]}
    assert call("a_get_logb_1", named(999))["ok"] is False
    assert call("a_put_sig_1", {"userid": "meier", "data": "Ida"}) is True
    assert call("a_put_sigb_1", {"userid": "meier", "pos": 3, "lng": 6, "data": " Meier"}) is True
    assert call("a_get_sig_1", "meier") == "Ida Meier"
    assert call("a_get_sigb_1", {"userid": "meier", "pos": 4, "lng": 9})["data"] == "Meier"


def test_received_faxes_wait_in_the_inbox(call, login):
    rows = [node["data"] for node in call("a_get_e_1", {"loginid": login})["first"]]
    assert [(row["absender"], row["seiten"], row["lineid"]) for row in rows] == [
        ("Werft Nord", 2, "fax0")]
    fax = rows[0]["faxid"]
    assert "Ida Meier" in page(call, fax, 1, RECEIVED)
    assert call("a_get_e_rec_1", named(fax))["comment"] == "Zeichnung"
    newer = call("a_get_e_rec_new_1", named(fax))
    assert (newer["errcode"], newer["e_rec_new"]["v1"]["lineid"]) == (0, "fax0")
    listed = call("a_get_e_rec_new_ll_1", {"loginid": login})
    assert [node["data"]["v1"]["faxid"] for node in listed["first"]] == [fax]
    assert call("a_get_eb_1", {"loginid": login, "pos": 1, "anz": 9})["anz"] == 0


def test_a_fax_is_forwarded_to_a_user_or_a_group(call, login):
    fax = call("a_get_e_1", {"loginid": login})["first"][0]["data"]["faxid"]
    forward = named(fax, sourcetopf=RECEIVED, desttopf=RECEIVED)
    assert call("a_forward_1", {**forward, "destu": "schulz"}) is True
    assert call("a_forward_1", {**forward, "groupid": "vertrieb"}) is True
    assert call("a_forward_1", {**forward, "destu": "niemand"}) is False
    other = call("a_login_1", {"userid": "schulz", "passwor": "geheim"})["loginid"]
    assert call("a_get_e_1", {"loginid": other})["anz"] == 3
    assert call("a_get_e_1", {"loginid": login})["anz"] == 2


def test_a_document_is_printed_where_there_is_a_printer(call, document):
    assert call("a_print_dok_1", named(document, printid="laser1")) is True
    assert call("a_print_dok_1", named(document, printid="keiner")) is False
    assert call("a_get_log_1", named(document)) == "printed on laser1\n"


# ---- jobs


def send(call, faxid, **record):
    return call("a_sende_1", {"userid": "meier", "poolfaxid": faxid,
                              "s_record": {"empfnr": "040 5550300", **record}})


def status(call, job):
    return call("a_get_s_rec_1", named(job))["status"]


def test_a_job_moves_from_queued_to_sent(call, document):
    job = send(call, document)
    seen = []
    for _ in range(12):
        if status(call, job) not in seen[-1:]:
            seen.append(status(call, job))
        call.time += 0.25
    assert seen == [1, 2, 3]
    record = call("a_get_s_rec_1", named(job))
    assert (record["seiten"], record["seitenok"], record["istrepc"]) == (2, 2, 0)
    assert page(call, job, 1, SENT) == "erste Seite"
    log = call("a_get_log_1", named(job, topf=SENT))
    assert "sent, 2 pages" in log
    assert any("sent" in call("l_get_rec_1", number)["data"]
               for number in range(call("l_get_nr_recs_1")))


def test_a_job_waits_for_its_time(call, document):
    job = send(call, document, sollzeit=int(call.time) + 100)
    call.time += 90
    assert status(call, job) == 1
    call.time += 60
    assert status(call, job) == 3


def test_a_job_without_a_number_fails_and_can_be_restarted(call, document):
    job = send(call, document, empfnr="")
    call.time += 5
    assert status(call, job) == 5
    assert call("a_get_s_rec_1", named(job))["errstat"] == 1
    assert call("a_restart_s_1", named(job)) is True
    assert status(call, job) == 1


def test_a_job_is_cancelled_only_while_it_is_under_way(call, document):
    job = send(call, document)
    assert call("a_cancel_s_1", named(job)) is True
    assert status(call, job) == 4
    assert call("a_cancel_s_1", named(job)) is False
    call.time += 60
    assert status(call, job) == 4


def test_a_job_in_the_newer_form_and_its_changes(call, document, login):
    sent = call("a_send_new_1", {"selection": 1, "v1": {
        "userid": "meier", "poolfaxid": document, "headline": "Kopf",
        "s_rec_v1": {"empfnr": "030 1", "gw_type": "mail", "sollzeit": int(call.time) + 50}}})
    assert sent["v0"]["errcode"] == 0
    job = sent["v0"]["faxid"]
    change = {"userid": "meier", "faxid": job, "prio": 7, "comment": "eilig", "timeout": 30,
              "sollzeit": int(call.time) + 60}
    assert call("a_cha_s_rec_new_1", {"selection": 1, "v1": change}) == 0
    full = call("a_get_s_rec_new_1", {"selection": 1, "v1": named(job)})
    assert (full["errcode"], full["s_rec_new"]["selection"]) == (0, 1)
    assert full["s_rec_new"]["v1"]["prio"] == 7 and full["s_rec_new"]["v1"]["timeout"] == 30
    asked = {"selection": 1, "v1": {"loginid": login, "gw_type": "mail"}}
    listed = call("a_get_s_rec_new_ll_1", asked)
    assert [node["data"]["v1"]["faxid"] for node in listed["first"]] == [job]
    asked["v1"]["gw_type"] = "sms"
    assert call("a_get_s_rec_new_ll_1", asked)["anz"] == 0
    call.time += 100
    assert call("a_cha_s_rec_1", named(job)) is False
    assert call("a_get_s_rec_new_1", {"selection": 1, "v1": named(999)})["errcode"] == 1


def test_jobs_are_listed_for_users_and_for_lines(call, document, login):
    jobs = [send(call, document) for _ in range(3)]
    rows = call("a_get_s_1", {"loginid": login})
    assert [node["data"]["faxid"] for node in rows["first"]] == jobs
    assert call("a_get_sb_1", {"loginid": login, "pos": 1, "anz": 1})["first"][0]["data"][
        "faxid"] == jobs[1]
    waiting = {"selection": 0, "v0": {"anz": 2}}
    assert call("t_get_sendjob_ll_1", waiting) == call("a_get_sendjob_ll_1", waiting)
    first = call("t_get_sendjob_ll_1", waiting)["first"]
    assert [node["data"]["v0"]["s_rec"]["faxid"] for node in first] == jobs[:2]


def test_a_transmitting_server_tells_how_far_a_job_is(call, document):
    job = send(call, document)
    assert call("a_put_s_stat_1", {"faxid": job, "status": 3, "seitenok": 2}) is True
    assert status(call, job) == 3
    assert call("a_put_s_stat_new_1", {"selection": 1, "v1": {"faxid": 999}}) == 1


def test_a_document_that_is_not_there_is_not_sent(call):
    assert send(call, 999) == 0


# ---- sigma


def test_a_page_is_handed_out_by_its_handle(call, document):
    opened = call("s_open_page_1", {"faxid": document, "topf": POOL, "page": 2})
    assert opened["err"] == 0
    blocks = [call("s_get_block_1", {"handle": opened["handle"], "len": 5}) for _ in range(4)]
    assert [block["data"] for block in blocks] == [b"zweit", b"e Sei", b"te", b""]
    assert call("s_close_page_1", opened["handle"]) == 0
    assert call("s_close_page_1", opened["handle"]) != 0
    assert call("s_get_block_1", {"handle": opened["handle"], "len": 5})["err"] != 0
    assert call("s_open_page_1", {"faxid": document, "page": 9})["err"] != 0


def test_a_handle_that_was_changed_is_not_taken(call, document):
    handle = call("s_open_page_1", {"faxid": document, "page": 1})["handle"]
    assert call("s_get_block_1", {"handle": {**handle, "long3": 1}, "len": 5})["err"] != 0


def test_the_old_form_reads_by_offset(call, document):
    opened = call("s_openpage_old_1", {"faxid": document, "page": 1, "pct": 3})
    assert (opened["errcode"], opened["pages"], opened["pct"]) == (0, 2, 3)
    block = {"handle": opened["handle"], "offset": 6, "len": 99, "faxid": document}
    assert call("s_getblock_old_1", block) == {"errcode": 0, "data": b"Seite"}
    assert call("s_closepage_old_1", opened["handle"]) == 0
    assert call("s_getblock_old_1", block)["errcode"] != 0
    assert call("s_get_inf_1", {"faxid": document})["laenge"] == 2
