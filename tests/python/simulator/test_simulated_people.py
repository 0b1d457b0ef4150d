"""Sessions, passwords, users, groups and what belongs to a user."""

import pytest

USER = {"alphaid": "zentrale", "userid": "neu", "name": "Neu Anders", "vertretu": "meier",
        "barcode": "77", "prio": 3}


def login(call, user="meier", password="geheim"):
    return call("a_login_1", {"userid": user, "passwor": password})


def test_a_session_lasts_from_login_to_logout(call):
    session = login(call)
    assert session["err"] == 0 and session["loginid"] > 0
    assert call("a_check_login_1", session["loginid"]) is True
    call("a_logout_1", {"userid": "schulz", "loginid": session["loginid"]})
    assert call("a_check_login_1", session["loginid"]) is True
    call("a_logout_1", {"userid": "meier", "loginid": session["loginid"]})
    assert call("a_check_login_1", session["loginid"]) is False


@pytest.mark.parametrize("user, password, error", [("meier", "falsch", 2), ("niemand", "", 1)])
def test_a_wrong_login_is_refused(call, user, password, error):
    assert login(call, user, password) == {"loginid": 0, "err": error}


def test_an_old_session_can_be_taken_up(call):
    asked = {"userid": "meier", "passwor": "geheim", "useold": True}
    first = call("a_mult_login_1", asked)["loginid"]
    assert call("a_mult_login_1", asked)["loginid"] == first
    assert call("a_mult_login_1", {**asked, "useold": False})["loginid"] != first
    assert call("a_get_configdata_1", False)["aktlogins"] == 2


def test_a_session_changes_its_user(call):
    session = login(call)["loginid"]
    change = {"selection": 0, "v0": {"loginid": session, "userid": "schulz"}}
    assert call("a_cha_userid_1", change) == 0
    assert len(call("a_get_e_1", {"loginid": session})["first"]) == 1
    change["v0"]["userid"] = "niemand"
    assert call("a_cha_userid_1", change) == 1


def test_passwords_change(call):
    change = {"userid": "meier", "oldpw": "geheim", "newpw": "neu"}
    assert call("a_cha_pw_1", {**change, "oldpw": "x"}) == 2
    assert call("a_cha_pw_1", change) == 0
    assert login(call)["err"] == 2 and login(call, password="neu")["err"] == 0
    assert call("a_cha_pw_1", {"userid": "meier", "adm": True, "oldpw": "verwalter",
                               "newpw": "dritt"}) == 0
    assert login(call, password="dritt")["err"] == 0


def test_the_administration_password_guards_permissions(call):
    assert call("o_check_admpw_1", "verwalter") == 0
    assert call("o_cha_admpw_1", {"oldpw": "x", "newpw": "y"}) == 2
    assert call("o_cha_admpw_1", {"oldpw": "verwalter", "newpw": "y"}) == 0
    assert call("o_check_admpw_1", "verwalter") == 1
    permit = {"userid": "meier", "admpw": "y", "allow": 5, "deny": 2}
    assert call("a_put_u_perm_1", permit) == 0
    assert call("a_get_user_1", "meier")["allow"] == 5
    assert call("a_put_u_perm_1", {**permit, "admpw": "x"}) == 2


def test_omega_and_alpha_write_and_read_the_same_user_records(call):
    key = {"alphaid": "zentrale", "userid": "neu"}
    for put, delete_first in (("o_put_user_1", True), ("a_put_o_user_1", False)):
        assert call(put, USER) is True
        for get in ("o_get_user_1", "a_get_o_user_1"):
            assert call(get, key)["name"] == "Neu Anders"
        for listed in ("o_get_user_ll_1", "a_get_system_userlist_1"):
            names = [node["data"]["userid"] for node in call(listed)["first"]]
            assert names == ["meier", "neu", "schulz"]
        assert call("o_search_bar_1", "77")["userid"] == "neu"
        if delete_first:
            assert call("o_del_user_1", key) is True
            assert call("o_del_user_1", key) is False


def test_a_user_is_named_by_the_alpha_as_well(call):
    for alpha in ("nord", "sued"):
        assert call("o_put_user_1", {"alphaid": alpha, "userid": "weber", "name": f"Weber {alpha}"})
    assert call("o_get_user_1", {"alphaid": "nord", "userid": "weber"})["name"] == "Weber nord"
    assert call("a_get_o_user_1", {"alphaid": "sued", "userid": "weber"})["name"] == "Weber sued"
    assert call("a_get_o_user_1", {"alphaid": "west", "userid": "meier"})["name"] == ""
    assert call("o_del_user_1", {"alphaid": "nord", "userid": "weber"}) is True
    assert call("o_get_user_1", {"alphaid": "sued", "userid": "weber"})["name"] == "Weber sued"


def test_the_local_record_and_the_one_of_omega_are_two(call):
    assert call("o_put_user_1", USER) is True
    assert login(call, "neu", "")["err"] == 1  # no local record yet
    assert call("a_put_user_1", {"userid": "neu", "passwor": "pw", "prio": 7})
    assert login(call, "neu", "pw")["err"] == 0
    key = {"alphaid": "zentrale", "userid": "neu"}
    assert call("a_get_user_1", "neu")["prio"] == 7
    assert call("o_get_user_1", key)["prio"] != 7
    assert call("a_del_user_1", "neu") is True
    assert call("a_del_user_1", "neu") is False
    assert call("o_get_user_1", key)["name"] == "Neu Anders"
    assert call("a_mk_dok_1", "neu") == 0


def test_users_are_listed_in_blocks(call):
    block = call("a_get_system_userlistb_1", {"anz": 1})
    assert [node["data"]["userid"] for node in block["first"]] == ["meier"]
    block = call("o_get_user_llb_1", {"userid": "meier", "anz": 5})
    assert [node["data"]["userid"] for node in block["first"]] == ["schulz"]


def test_deputies_must_not_go_in_a_circle(call):
    assert call("a_check_cycle_1", {"userid": "meier", "vertretu": "schulz"}) is False
    assert call("a_check_cycle_1", {"userid": "neu", "vertretu": "schulz"}) is True
    assert call("o_check_v_cycle_1", {"x_user": "meier", "v_user": "meier"}) is False


def test_groups_have_members(call):
    assert call("o_put_group_1", {"groupid": "lager", "comment": "Lager"}) is True
    member = {"groupid": "lager", "alphaid": "zentrale", "userid": "meier"}
    assert call("a_check_groupl_1", member) is False
    assert call("o_put_groupl_1", member) is True
    assert call("a_check_groupl_1", member) is True
    assert [node["data"] for node in call("o_get_groupl_ll_1", "lager")["first"]] == [member]
    assert call("a_get_group_1", "lager")["first"][0]["data"]["name"] == "Ida Meier"
    assert call("o_get_group_member_ll_1", "lager") == call("a_get_group_1", "lager")
    assert [node["data"]["groupid"] for node in call("a_get_groups_1")["first"]] == [
        "lager", "vertrieb"]
    assert call("o_del_group_1", "lager") is True
    assert call("a_check_groupl_1", member) is False
    assert call("a_get_o_group_1", "lager")["groupid"] == ""


def test_a_group_becomes_a_distribution_list(call):
    made = call("o_make_verteiler_1", {"groupid": "vertrieb"})
    assert made == {"ok": True, "first": [
        {"alphaid": "zentrale", "user_ll": [{"data": "meier"}, {"data": "schulz"}]}]}


def test_settings_of_a_user_in_the_older_and_the_newer_form(call):
    assert call("a_put_usrconf_1", {"userid": "meier", "name": "farbe", "content": "blau"})
    asked = {"selection": 1, "v1": {"userid": "meier", "name": "farbe"}}
    assert call("a_get_usrconf_new_1", asked) == {"errcode": 0, "content": "blau"}
    assert call("a_put_usrconf_new_1", {"selection": 1, "v1": {
        "userid": "meier", "name": "ein längerer Name", "content": "grün"}})
    assert call("a_get_usrconf_1", {"userid": "meier", "name": "language"}) == "deutsch"
    listed = call("a_get_usrconf_new_ll_1", {"selection": 1, "v1": {"userid": "meier"}})
    assert [node["data"]["v1"]["name"] for node in listed["first"]] == [
        "cover", "ein längerer Name", "farbe", "language"]
    own = call("a_get_usrconf_ll_1", {"userid": "meier", "user_only": True, "pos": "cover",
                                      "anz": 1})
    assert [node["content"] for node in own["first"]] == ["grün"]
    assert call("a_del_usrconf_1", {"userid": "meier", "name": "farbe"}) is True
    assert call("a_get_usrconf_new_1", asked)["errcode"] == 1


def test_mail_users_by_address_and_by_line(call):
    for address, line in (("a@example.org", "fax1"), ("b@example.org", "fax0")):
        assert call("a_put_muser_1", {"mailaddr": address, "lineid": line, "lastaccess": 9})
    assert call("o_get_muser_addr_1", "a@example.org")["lineid"] == "fax1"
    assert call("o_get_muser_line_1", "fax0")["mailaddr"] == "b@example.org"
    by_line = call("a_get_muser_line_ll_1", {})
    assert [node["data"]["lineid"] for node in by_line["first"]] == ["fax0", "fax1"]
    by_address = call("o_get_muser_addr_ll_1", {"pos": "a@example.org"})
    assert [node["data"]["mailaddr"] for node in by_address["first"]] == ["b@example.org"]
    assert call("o_del_muser_1", "a@example.org") is True
    assert call("a_get_muser_addr_1", "a@example.org")["lineid"] == ""


def test_gateway_users_in_every_version(call):
    row = {"gw_type": "mail", "mailaddr": "a@example.org", "lineid": "fax0", "lastaccess": 4}
    assert call("a_put_gwuser_1", {"selection": 1, "v1": row}) == 0
    found = call("o_get_gwuser_1", {"selection": 0, "v0": {"gw_type": "mail",
                                                           "mailaddr": "a@example.org"}})
    assert found == {"data": {"selection": 0, "v0": row}, "errcode": 0}
    found = call("a_get_gwuser_1", {"selection": 2, "v2": {
        "gw_type": "mail", "lineid": "fax0", "outselection": 1}})
    assert found["data"] == {"selection": 1, "v1": row}
    listed = call("a_get_gwuser_ll_1", {"selection": 3, "v3": {"gw_type": "mail",
                                                               "outselection": 1}})
    assert [node["data"]["v1"] for node in listed["first"]] == [row]
    gone = {"selection": 0, "v0": {"gw_type": "mail", "mailaddr": "a@example.org"}}
    assert call("o_del_gwuser_1", gone) == 0
    assert call("o_del_gwuser_1", gone) == 1


def test_reply_addresses(call):
    key = {"nettype": 1, "tsi": "+49 1", "userid": "meier", "alphaid": "zentrale"}
    assert call("o_put_reply_addr_1", {"selection": 0, "v0": {**key, "phone": "0301",
                                                              "barred": True}}) == 0
    found = call("a_get_reply_addr_1", {"selection": 0, "v0": key})
    assert (found["errcode"], found["data"]["v0"]["phone"]) == (0, "0301")
    for barred, count in ((True, 1), (False, 0)):
        listed = call("a_get_reply_addr_ll_1", {"selection": 2, "v2": {"nettype": 1,
                                                                       "barred": barred}})
        assert listed["anz"] == count
    assert call("a_del_reply_addr_1", {"selection": 0, "v0": key}) == 0
    assert call("o_get_reply_addr_1", {"selection": 0, "v0": key})["errcode"] == 1
