"""What is read in blocks: numbers and names as positions, texts, and servers that go wrong."""

import pytest

from kvrpc_tools import Alpha, BlockError, Lambda, Omega
from kvrpc_tools.blocks import Blocks
from kvrpc_tools.schema import own
from kvrpc_tools.simulator.fixture import running


def blocks_of(name):
    return Blocks(own(), own().procedures[name])



def reads(name):
    try:
        return blocks_of(name) is not None
    except ValueError:
        return False


def test_the_procedures_that_read_in_blocks_are_known():
    assert sorted(name for name in own().procedures if reads(name)) == sorted(
        "a_get_printer_llb_1 a_get_route_new_ll_1 a_get_logb_1 a_get_pageb_1 a_get_sigb_1 "
        "a_get_logl_1 a_get_eb_1 a_get_pb_1 a_get_sb_1 a_get_s_rec_new_ll_1 a_get_e_rec_new_ll_1 "
        "a_get_tebul_ll_1 a_get_tebu_llb_1 a_get_tgroup_llb_1 a_get_muser_addr_ll_1 "
        "a_get_muser_line_ll_1 a_get_usrconf_ll_1 a_get_gwuser_ll_1 a_get_usrconf_new_ll_1 "
        "o_get_tebul_ll_1 o_get_muser_addr_ll_1 o_get_muser_line_ll_1 o_get_tebu_llb_1 "
        "o_get_tgroup_llb_1 o_get_gwuser_ll_1 o_get_printer_llb_1 o_get_route_new_ll_1 "
        "o_get_config_ll_1".split())


def entry(path, value):
    for key in reversed(path.split(".")):
        value = {key: value}
    return value


@pytest.mark.parametrize("name, argument, path", [
    ("a_get_printer_llb_1", {}, "data.printid"),
    ("a_get_tebul_ll_1", {"tbuchid": "b"}, "data.telid"),
    ("a_get_tebu_llb_1", {}, "data.tbuchid"),
    ("a_get_tgroup_llb_1", {}, "data.groupid"),
    ("a_get_muser_addr_ll_1", {}, "data.mailaddr"),
    ("a_get_muser_line_ll_1", {}, "data.lineid"),
    ("a_get_usrconf_ll_1", {}, "name"),
    ("o_get_config_ll_1", {"selection": 1, "v1": {}}, "data.name"),
])
@pytest.mark.parametrize("inclusive", [False, True])
def test_a_name_leads_to_the_next_block(name, argument, path, inclusive):
    names = [f"n{number:03}" for number in range(7)]
    asked = []

    def call(given):
        inner = given.get("v1", given)
        asked.append((inner.get("pos", ""), inner["anz"]))
        found = [each for each in names
                 if each > asked[-1][0] or inclusive and each == asked[-1][0]]
        return {"errcode": 0, "first": [entry(path, each) for each in found[:inner["anz"]]]}

    seen = []
    found = list(blocks_of(name).read(call, argument, 3, seen.append))
    assert found == [entry(path, each) for each in names]
    assert seen[-1] == 7 and seen == sorted(seen)
    assert asked[0] == ("", 3) and asked[1] == ("n002", 3)
    assert argument in ({}, {"tbuchid": "b"}, {"selection": 1, "v1": {}})


@pytest.mark.parametrize("value, name, arm", [
    (0, "route", "v0"), (1, "route", "v1"), (0, "gwuser", "v0"), (1, "gwuser", "v0"),
    (2, "gwuser", "v1"), (3, "gwuser", "v1")])
def test_the_name_in_a_union_is_found(value, name, arm):
    """Each entry has every field of its arm, and only the name's leads on."""
    procedure = f"a_get_{name}_new_ll_1" if name == "route" else "a_get_gwuser_ll_1"
    record = own().records[f"put_{name}_new_arg" if name == "route" else "put_gwuser_arg"]
    fields = own().records[next(each.type.record for each in record.fields if each.key == arm)]
    expected = {"route": "routeid", 0: "mailaddr", 1: "lineid", 2: "lineid", 3: "mailaddr"}[
        name if name == "route" else value]
    assert expected in [field.key for field in fields.fields]
    positions = []

    def call(given):
        positions.append(given[f"v{value}"].get("pos"))
        if len(positions) > 1:
            return {"errcode": 0, "first": []}
        values = {field.key: field.key for field in fields.fields}
        return {"errcode": 0, "first": [
            {"data": {"selection": int(arm[1]), arm: values}}]}

    list(blocks_of(procedure).read(call, {"selection": value, f"v{value}": {}}, None, None))
    assert positions == [None, expected]


def test_a_number_leads_to_the_next_block():
    asked = []

    def call(given):
        asked.append((given["pos"] if "pos" in given else 0, given["anz"]))
        return {"anz": 0, "first": list(range(10))[asked[-1][0]:][:given["anz"]]}

    reader = blocks_of("a_get_sb_1")
    assert list(reader.read(call, {"loginid": 1}, 4, None)) == list(range(10))
    assert asked == [(0, 4), (4, 4), (8, 4), (10, 4)]
    assert list(reader.read(call, {"pos": 9, "anz": 2}, None, None)) == [9]
    assert asked[-1] == (10, 2)


@pytest.mark.parametrize("reply, told", [
    ({"first": [{"data": 1}, {"data": 2}]}, "the same block again"),
    ({"first": [], "errcode": 3}, "says errcode 3")])
def test_a_list_that_goes_wrong_ends(reply, told):
    with pytest.raises(BlockError, match=told):
        list(blocks_of("a_get_sb_1").read(lambda given: reply, {}, 2, None))


def test_a_text_that_cannot_be_read_is_an_error_and_later_the_end():
    replies = [{"ok": True, "lng": 2, "data": "ab"}, {"ok": False, "lng": 0, "data": ""}]
    reader = blocks_of("a_get_pageb_1")
    assert list(reader.read(lambda given: replies.pop(0), {}, 2, None)) == ["ab"]
    with pytest.raises(BlockError, match="says ok False"):
        list(reader.read(lambda given: {"ok": False, "lng": 0, "data": ""}, {}, 2, None))


def test_lines_that_do_not_move_on_are_an_error():
    with pytest.raises(BlockError, match="does not move on"):
        list(blocks_of("a_get_logl_1").read(
            lambda given: {"ok": True, "pos": 5, "data": [{"dat": "x"}]}, {"pos": 5}, 2, None))


@pytest.fixture(scope="module")
def simulator():
    with running() as started, pytest.MonkeyPatch.context() as patch:
        patch.setenv("KORVEXRPCPORT", str(started.port))
        yield started


def test_pages_and_lists_come_whole_from_a_server(simulator, monkeypatch):
    monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))
    with Alpha() as alpha, Omega() as omega, Lambda() as other:
        faxid = alpha.a_mk_dok_1("meier")
        page = {"userid": "meier", "faxid": faxid, "seitennr": 1}
        text = "".join(chr(97 + number % 26) for number in range(10_000))
        assert alpha.a_put_page_1({**page, "data": text})
        asked = {"userid": "meier", "topf": 0, "faxid": faxid, "page": 1}
        assert "".join(alpha.blocks("a_get_pageb_1", asked, step=999)) == text
        assert "".join(alpha.blocks("a_get_pageb_1", asked)) == text
        whole = omega.o_get_printer_ll_1()["first"]
        assert len(whole) > 0
        assert list(omega.blocks("o_get_printer_llb_1", {}, step=1)) == whole
        with pytest.raises(ValueError, match="does not read in blocks"):
            other.blocks("l_readfile_1", {})
