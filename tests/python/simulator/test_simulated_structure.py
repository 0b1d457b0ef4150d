"""Lines, servers, printers, routes, settings; address books; `theta`, `nue` and the rest."""

import pytest


def rows(listed):
    return [node["data"] for node in listed["first"]]


@pytest.mark.parametrize("part, key", [("faxg", "typid"), ("faxl", "lineid"),
                                       ("printer", "printid"), ("alpha", "alphaid"),
                                       ("theta", "thetaid"), ("pi", "piid"),
                                       ("route", "routeid")])
def test_each_part_is_put_read_listed_and_deleted(call, part, key):
    before = call(f"o_get_{part}_ll_1")["anz"]
    assert call(f"o_put_{part}_1", {key: "zzz"}) is True
    assert call(f"o_get_{part}_1", "zzz")[key] == "zzz"
    listed = call(f"o_get_{part}_ll_1")
    assert listed["anz"] == before + 1 == len(listed["first"])
    assert rows(listed)[-1][key] == "zzz"
    assert call(f"o_del_{part}_1", "zzz") is True
    assert call(f"o_del_{part}_1", "zzz") is False
    assert call(f"o_get_{part}_1", "zzz")[key] == ""
    assert call(f"o_put_{part}_1", {}) is False


def test_a_line_in_the_older_and_the_newer_form_is_one_line(call):
    newer = {"lineid": "fax9", "comment": "neu", "external_prefix": "0", "rcv_prefix": "49",
             "csi": "x"}
    assert call("o_put_faxl_new_1", {"selection": 1, "v1": newer}) == 0
    assert call("o_put_faxl_1", {"lineid": "fax9", "comment": "geändert"}) is True
    asked = {"selection": 1, "v1": {"lineid": "fax9", "outselection": 1}}
    found = call("a_get_faxl_new_1", asked)
    assert found["errcode"] == 0 and found["data"]["selection"] == 1
    assert found["data"]["v1"]["external_prefix"] == "0"
    assert found["data"]["v1"]["comment"] == call("a_get_faxl_1", "fax9")["comment"] == "geändert"
    listed = call("o_get_faxl_new_ll_1", {"selection": 1, "v1": {"outselection": 1}})
    assert [row["v1"]["lineid"] for row in rows(listed)] == ["fax0", "fax1", "fax9"]
    assert call("o_del_faxl_new_1", {"selection": 0, "v0": {"lineid": "fax9"}}) == 0
    assert call("o_get_faxl_new_1", asked)["errcode"] == 1


def test_routes_lead_a_fax_to_its_user(call):
    assert call("a_apply_route_1", {"lineid": "fax0"})["userid"] == "meier"
    newer = {"routeid": "abc", "lineid": "fax1", "absender": "Werft", "userid": "schulz"}
    assert call("o_put_route_new_1", {"selection": 1, "v1": newer}) == 0
    asked = {"selection": 2, "v2": {"lineid": "fax1", "absender": "Werft", "outselection": 1}}
    found = call("o_apply_route_new_1", asked)["v1"]
    assert (found["routeid"], found["userid"], found["errcode"]) == ("abc", "schulz", 0)
    asked["v2"]["absender"] = "andere"
    assert call("a_apply_route_new_1", asked)["v1"]["errcode"] == 1
    block = call("a_get_route_new_ll_1", {"selection": 0, "v0": {"anz": 1}})
    assert [row["v0"]["routeid"] for row in rows(block)] == ["abc"]
    block = call("o_get_route_new_ll_1", {"selection": 0, "v0": {"pos": "abc", "anz": 9}})
    assert [row["v0"]["routeid"] for row in rows(block)] == ["eingang0"]
    assert call("o_get_route_new_1", {"selection": 0, "v0": {"routeid": "abc"}})["errcode"] == 0
    assert call("o_del_route_new_1", {"selection": 0, "v0": {"routeid": "abc"}}) == 0
    assert call("o_get_route_1", "abc")["routeid"] == ""


def test_printers_are_listed_in_blocks_on_both_servers(call):
    call("o_put_printer_1", {"printid": "a4", "comment": "Lager"})
    for server in "ao":
        for asked, name in (({"anz": 1}, "a4"), ({"pos": "a4"}, "laser1")):
            block = call(f"{server}_get_printer_llb_1", asked)
            assert [row["printid"] for row in rows(block)] == [name]


def test_settings_are_written_by_omega_and_read_by_alpha(call):
    assert call("o_put_config_1", {"name": "retries", "contents": "5"}) is True
    assert call("a_get_config_1", {"name": "retries"}) == call("o_get_config_1", "retries") == "5"
    by_start = call("o_get_config_ll_1", {"selection": 0, "v0": {"basename": "re"}})
    assert [row["name"] for row in rows(by_start)] == ["retries"]
    by_name = call("o_get_config_ll_1", {"selection": 1, "v1": {"pos": "country"}})
    assert [row["name"] for row in rows(by_name)] == ["headline", "retries"]
    assert call("o_del_config_1", "retries") is True
    assert call("a_get_config_1", {"name": "retries"}) == ""


def test_the_configuration_counts(call):
    assert call("a_get_configdata_1")["aktusers"] == 2
    assert call("o_get_configdata_1") == call("a_get_configdata_1")
    newer = call("o_get_configdata_new_1")["v1"]
    assert [entry["gw_type"] for entry in newer["gwuser_count"]] == ["mail", "sms"]
    assert call("a_get_compat_1") == call("o_get_compat_1") == {"low": 1, "high": 3}
    assert call("o_legalhost_1", "zentrale") is True
    assert call("o_legalhost_1", "fremd") is False


# ---- addresses


USER = {"userh": "zentrale", "useru": "meier"}


@pytest.mark.parametrize("writer, reader", ["ao", "oa", "aa", "oo"])
def test_books_and_their_entries(call, writer, reader):
    book = {"tbuchid": "privat", "comment": "Privates", "permissions": b"ab\0",
            "pars": [f"p{i}" for i in range(10)]}
    assert call(f"{writer}_put_tebu_1", {**USER, "data": book}) is True
    entry = {"tbuchid": "privat", "telid": "oma", "tsi": "+49 1", "phone": "0301", "nettype": 2}
    assert call(f"{writer}_put_tebul_1", {**USER, "data": entry}) is True
    found = call(f"{reader}_get_tebu_1", {**USER, "tbuchid": "privat"})
    assert (found["owneru"], found["permissions"], found["pars"][9]) == ("meier", b"ab\0", "p9")
    assert call(f"{reader}_get_tebul_1", {**USER, "tbuchid": "privat", "telid": "oma"})[
        "phone"] == "0301"
    assert [row["telid"] for row in rows(call(f"{reader}_get_tebul_ll_1", {
        **USER, "tbuchid": "privat"}))] == ["oma"]
    assert call(f"{reader}_lookup_tsi_1", {"tsi": "+49 1"})["data"]["telid"] == "oma"
    assert [row["tbuchid"] for row in rows(call(f"{reader}_get_tebu_ll_1", USER))] == [
        "firma", "privat"]
    assert [row["tbuchid"] for row in rows(call(f"{reader}_get_tebu_llb_1", {
        **USER, "pos": "firma"}))] == ["privat"]
    assert call(f"{reader}_check_perm_1", {**USER, "tbuchid": "privat", "perm": 1}) is True
    assert call(f"{reader}_get_tebu_1", {"useru": "schulz", "tbuchid": "privat"})["tbuchid"] == ""
    assert call(f"{writer}_del_tebu_1", {**USER, "tbuchid": "privat"}) is True
    assert call(f"{reader}_lookup_tsi_1", {"tsi": "+49 1"})["errcode"] == 1
    assert call(f"{writer}_put_tebul_1", {**USER, "data": entry}) is False


@pytest.mark.parametrize("writer, reader", ["ao", "oa"])
def test_groups_of_addresses_and_their_members(call, writer, reader):
    assert call(f"{writer}_put_tgroup_1", {**USER, "data": {"groupid": "kunden"}}) is True
    for name in ("müller", "werft"):
        assert call(f"{writer}_put_tgroupl_1", {**USER, "data": {
            "groupid": "kunden", "tbuchid": "firma", "telid": name}}) is True
    asked = {**USER, "groupid": "kunden"}
    assert [row["telid"] for row in rows(call(f"{reader}_get_tgroupl_ll_1", asked))] == [
        "müller", "werft"]
    assert [row["telid"] for row in rows(call(f"{reader}_get_tgroupl_llb_1", {
        **asked, "posb": "firma", "pose": "müller", "anz": 4}))] == ["werft"]
    assert [row["groupid"] for row in rows(call(f"{reader}_get_tgroup_ll_1", USER))] == ["kunden"]
    assert call(f"{reader}_get_tgroup_1", asked)["owneru"] == "meier"
    assert call(f"{reader}_get_tgroup_llb_1", {**USER, "pos": "kunden"})["anz"] == 0
    assert call(f"{writer}_del_tgroupl_1", {**asked, "tbuchid": "firma", "telid": "werft"}) is True
    assert call(f"{writer}_del_tgroup_1", asked) is True
    assert call(f"{reader}_get_tgroupl_ll_1", asked)["anz"] == 0


def test_single_entries_on_both_servers(call):
    entry = {"telid": "bahn", "tsi": "+49 7", "phone": "11861"}
    assert call("a_put_tele_1", entry) is True
    assert call("o_get_tele_1", "bahn")["phone"] == "11861"
    assert call("a_search_tele_1", "bahn") == call("o_search_tsi_1", "+49 7")
    assert call("o_get_tele_ll_1")["anz"] == call("a_get_tele_1")["anz"] == 2
    assert call("o_del_tele_1", "bahn") is True
    assert call("a_del_tele_1", "bahn") is False


def test_a_book_is_searched(call):
    number = call("a_query_tebu_1", {**USER, "tbuchid": "firma", "aktpar": ["söhne", "040"]})
    found = call("a_fetch_result_1", number)
    assert found["anz"] == 1 and found["hits"][0]["dat"].startswith("müller ")
    assert call("a_fetch_result_1", number + 1) == {"anz": 0, "hits": []}


# ---- theta, nue and the rest


def test_lines_are_reserved_and_set_free(call):
    free = [{"data": "fax0"}, {"data": "fax1"}]
    assert call("t_get_frei_1") == {"anz": 2, "first": free}
    assert call("t_reserve_1", {"lineid": "fax0", "hwfeat": 8}) is True
    assert call("t_reserve_1", {"lineid": "fax0", "hwfeat": 8}) is False
    assert call("t_get_trstat_1", "fax0") == 8
    assert call("t_get_frei_1")["first"] == free[1:]
    assert [row["lineid"] for row in rows(call("a_get_frei_ll_1"))] == ["fax1"]
    assert call("t_put_trstat_1", {"lineid": "fax0", "hwfeat": 0}) is True
    assert call("t_get_frei_1")["anz"] == 2
    assert call("t_put_trstat_1", {"lineid": "nichts", "hwfeat": 0xFFFFFFFF}) is False
    assert call("t_put_trstat_1", {"lineid": "fax1", "hwfeat": 0xFFFFFFFF}) is True
    assert call("t_get_trstat_1", "fax1") == 0xFFFFFFFF


def test_a_scan_request_passes_once(call):
    assert call("a_put_scan_1", {"lineid": "fax0", "userid": "meier", "comment": "Vertrag"}) is True
    assert call("t_get_scan_1", "fax0")["comment"] == "Vertrag"
    assert call("t_get_scan_1", "fax0")["userid"] == ""
    assert call("t_put_scan_1", {"lineid": "nichts"}) is False


def test_flags_are_kept_by_group_and_number(call):
    flag = {"group": "nacht", "id": 4, "termin": 99, "msg": "Sicherung"}
    call("t_put_flag_1", flag)
    assert call("t_get_flag_1", {"group": "nacht", "id": 4}) == flag
    assert rows(call("t_get_flag_ll_1", "nacht")) == [flag]
    assert call("t_del_flag_1", flag) is True
    assert call("t_get_flag_ll_1", "nacht")["anz"] == 0


def test_numbers_are_given_out_once(call):
    assert [call("n_get_nr_1"), call("a_get_nue_nr_1")["nue_nr"], call("n_get_nr_1")] == [1, 2, 3]


def test_times_become_texts_and_back(call):
    assert call("a_get_jetzt_1") == 1_000_000_000
    text = call("a_zeitstring_1", 1_000_000_000)
    assert text == "09.09.2001 01:46:40"
    assert call("a_str2zeit_1", text) == 1_000_000_000
    assert call("a_str2zeit_1", "gestern") == 0
    assert call("a_get_tzenv_1") == {"timezone": 0, "daylight": 0, "tzname": ["GMT", "GMT", ""]}


def test_boards_tell_what_has_changed(call):
    call("a_put_board_1", {"color": 2, "id": "eins", "msg": "Wartung"})
    first = call("a_get_board_1", 2)
    assert [row["msg"] for row in first["first"]] == ["Wartung"]
    call("a_put_board_1", {"color": 2, "id": "zwei", "msg": "fertig"})
    later = call("a_get_boardl_1", {"color": 2, "oldchange": first["lastchange"]})
    assert [row["id"] for row in later["first"]] == ["zwei"]
    assert call("a_get_board_1", 3)["first"] == []


def test_notifications_are_registered_for_a_session(call):
    login = call("a_login_1", {"userid": "meier", "passwor": "geheim"})["loginid"]
    wish = {"loginid": login, "ip_address": 0x7F000001, "port": 99,
            "trigger": {"selection": 2, "doc_change": {"topf": 1, "faxid": 5}}}
    assert call("a_subscribe_1", wish) == 0
    assert call("a_subscribe_1", {**wish, "loginid": 999}) == 1
    other = {**wish, "trigger": {"selection": 4, "logout_msg": {"userid": "meier"}}}
    assert call("a_unsubscribe_1", other) == 1
    assert call("a_unsubscribe_1", wish) == 0
    assert call("a_subscribe_1", wish) == 0
    assert call("a_unsubscribe_1", {**other, "all": True}) == 0
    assert call("a_unsubscribe_1", wish) == 1


def test_a_line_for_the_log_and_a_text_for_translation(call):
    assert call("a_a_log_1", "von alpha") is True
    assert call("l_get_rec_1", call("l_get_nr_recs_1") - 1)["data"] == "von alpha"
    assert call("a_tra_str_1", {"language": "deutsch", "meta_zeile": "Seite"}) == "Seite"
    assert call("a_gamma_1", {"a_g_dok": "1", "next": [{"a_g_dok": "2"}]}) is True


OWNER = {"userh": "zentrale", "useru": "meier"}
MEMBER = {"userh": "zentrale", "useru": "schulz"}
STRANGER = {"userh": "zentrale", "useru": "weber"}
NAMESAKE = {"userh": "nord", "useru": "meier"}


@pytest.mark.parametrize(("user", "allowed"), [(OWNER, {1, 2, 4}), (MEMBER, {1, 2}),
                                               (STRANGER, {1}), (NAMESAKE, {1})])
@pytest.mark.parametrize("server", "ao")
def test_a_permission_is_that_of_the_owner_the_group_or_the_rest(call, server, user, allowed):
    book = {"tbuchid": "b", "ownerg": "vertrieb", "permissions": bytes([7, 3, 1])}
    assert call("a_put_tebu_1", {**OWNER, "data": book}) is True
    for perm in (1, 2, 4, 8):
        asked = {**user, "tbuchid": "b", "perm": perm}
        assert call(f"{server}_check_perm_1", asked) is (perm in allowed)
    assert call(f"{server}_check_perm_1", {**user, "tbuchid": "none", "perm": 0}) is False


def test_permissions_of_zero_grant_nothing(call):
    assert call("a_put_tebu_1", {**OWNER, "data": {"tbuchid": "b"}}) is True
    assert call("a_check_perm_1", {**OWNER, "tbuchid": "b", "perm": 1}) is False
    assert call("a_get_tebu_1", {**OWNER, "tbuchid": "b"})["tbuchid"] == "b"  # but it is the owner


@pytest.mark.parametrize("server", "ao")
def test_a_book_that_a_user_may_only_read_stays_as_it_is(call, server):
    book = {"tbuchid": "b", "comment": "mine", "permissions": bytes([3, 0, 1])}
    assert call("a_put_tebu_1", {**OWNER, "data": book}) is True
    entry = {"tbuchid": "b", "telid": "oma"}
    assert call("a_put_tebul_1", {**OWNER, "data": entry}) is True
    assert call(f"{server}_get_tebul_1", {**STRANGER, **entry})["telid"] == "oma"
    assert call(f"{server}_put_tebul_1", {**STRANGER, "data": entry}) is False
    assert call(f"{server}_del_tebul_1", {**STRANGER, **entry}) is False
    assert call(f"{server}_put_tebu_1", {**STRANGER, "data": {**book, "comment": "x"}}) is False
    assert call(f"{server}_del_tebu_1", {**STRANGER, "tbuchid": "b"}) is False
    assert call("a_get_tebu_1", {**OWNER, "tbuchid": "b"})["comment"] == "mine"


@pytest.mark.parametrize("server", "ao")
def test_what_a_user_may_not_read_is_not_there(call, server):
    assert call("a_put_tebu_1", {**OWNER, "data": {"tbuchid": "b"}}) is True
    assert call("a_put_tebul_1", {**OWNER, "data": {"tbuchid": "b", "telid": "oma"}}) is True
    assert call(f"{server}_get_tebu_1", {**NAMESAKE, "tbuchid": "b"})["tbuchid"] == ""
    assert [row["tbuchid"] for row in rows(call(f"{server}_get_tebu_ll_1", NAMESAKE))] == ["firma"]
    assert call(f"{server}_get_tebul_ll_1", {**NAMESAKE, "tbuchid": "b"})["anz"] == 0
    number = call("a_query_tebu_1", {**NAMESAKE, "tbuchid": "b", "aktpar": ["oma"]})
    assert call("a_fetch_result_1", number)["anz"] == 0
