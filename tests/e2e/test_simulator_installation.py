"""What one procedure writes, another reads: through the module, on two servers at once."""

import base64
import json
import time

import pytest

from kvrpc_tools.simulator.fixture import running

USER = {"userh": "zentrale", "useru": "meier"}


@pytest.fixture(params=["tcp", "udp"])
def servers(request, module, monkeypatch, allow):
    """Calls of any server by the procedure's name; a call must succeed."""
    initials = {"a": "alpha", "l": "lambda", "n": "nue", "o": "omega", "s": "sigma", "t": "theta"}
    clients = {}
    with running() as simulator:
        monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))
        monkeypatch.setenv("RPCTRANSPORT", request.param)

        def call(procedure, argument=None):
            name = initials[procedure[0]]
            if name not in clients:
                clients[name] = module.RpcClient(name)
            reply = json.loads(clients[name].call(json.dumps({procedure: argument}), allow))
            assert reply["status"] == 0, reply
            return reply["result"]

        yield call
        for client in clients.values():
            client.close()


def chain(node):
    while node is not None:
        yield node
        node = node["next"]


def test_a_book_of_alpha_is_a_book_of_omega(servers):
    permissions = base64.b64encode(b"\x00\xff\x10").decode()
    book = {"tbuchid": "bücher", "comment": "Öl & Gas", "permissions": permissions,
            "pars": [f"Feld {i}" for i in range(10)]}
    assert servers("a_put_tebu_1", {**USER, "data": book}) is True
    found = servers("o_get_tebu_1", {**USER, "tbuchid": "bücher"})
    assert {key: found[key] for key in book} == book
    assert servers("o_put_tebul_1", {**USER, "data": {"tbuchid": "bücher", "telid": "ä"}}) is True
    entries = servers("a_get_tebul_ll_1", {**USER, "tbuchid": "bücher"})
    assert [node["data"]["telid"] for node in chain(entries["first"])] == ["ä"]


def test_a_document_goes_from_alpha_through_sigma(servers):
    fax = servers("a_mk_dok_1", "meier")
    text = "Zeile für Zeile\n" * 100
    for at in range(0, len(text), 500):
        piece = text[at:at + 500]
        assert servers("a_put_pageb_1", {"userid": "meier", "faxid": fax, "seitennr": 1, "pos": at,
                                         "lng": len(piece), "data": piece}) is True
    assert servers("a_get_page_1", {"userid": "meier", "topf": 0, "faxid": fax, "page": 1}) == text
    opened = servers("s_open_page_1", {"faxid": fax, "topf": 0, "page": 1})
    data = b""
    while True:
        block = servers("s_get_block_1", {"handle": opened["handle"], "len": 700})
        if not block["data"]:
            break
        data += base64.b64decode(block["data"])
    assert data.decode("iso8859-15") == text
    assert servers("s_close_page_1", opened["handle"]) == 0


def test_a_job_is_sent_while_one_waits(servers):
    login = servers("a_login_1", {"userid": "meier", "passwor": "geheim"})["loginid"]
    fax = servers("a_mk_dok_1", "meier")
    servers("a_put_page_1", {"userid": "meier", "faxid": fax, "seitennr": 1, "data": "x"})
    job = servers("a_sende_1", {"userid": "meier", "poolfaxid": fax,
                                "s_record": {"empfnr": "040 1"}})
    waiting = servers("t_get_sendjob_ll_1", {"selection": 0, "v0": {"anz": 9}})
    assert [node["data"]["v0"]["s_rec"]["faxid"] for node in chain(waiting["first"])] == [job]
    asked = {"selection": 1, "v1": {"userid": "meier", "faxid": job}}
    end = time.monotonic() + 20
    while servers("a_get_s_rec_new_1", asked)["s_rec_new"]["v1"]["status"] != 3:
        assert time.monotonic() < end
        time.sleep(0.05)
    sent = servers("a_get_s_1", {"loginid": login})
    assert [node["data"]["faxid"] for node in chain(sent["first"])] == [job]


def test_lines_of_omega_are_reserved_by_theta_and_seen_by_alpha(servers):
    assert servers("o_put_faxl_1", {"lineid": "fax7", "comment": "neu"}) is True
    free = [node["data"] for node in chain(servers("t_get_frei_1", 0)["first"])]
    assert free == ["fax0", "fax1", "fax7"]
    assert servers("t_reserve_1", {"lineid": "fax7", "hwfeat": 2}) is True
    seen = [node["data"]["lineid"] for node in chain(servers("a_get_frei_ll_1", 0)["first"])]
    assert seen == ["fax0", "fax1"]
    assert servers("a_get_faxl_1", "fax7")["comment"] == "neu"


def test_numbers_come_from_one_place(servers):
    assert [servers("n_get_nr_1"), servers("a_get_nue_nr_1")["nue_nr"]] == [1, 2]
