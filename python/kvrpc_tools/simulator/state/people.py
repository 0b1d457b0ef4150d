"""Users, their sessions and passwords, and groups of users.

A user has two records. The one that `omega` also knows (`put_user_arg`) is named by `alphaid` and
`userid`. The local one (`user_rec`) is this alpha's own, named by `userid`; a login and a document
need it. Neither makes, changes or deletes the other: that is the simulator's own choice, as are the
error numbers below and the answer True for "no cycle".
"""

from __future__ import annotations

from typing import Any, Dict, List, Optional, Set, Tuple

from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import Handler, Table, put_or_remove

ALPHA_HOST = "zentrale"  # the name of this alpha
DONE, NO_USER, WRONG_PASSWORD = 0, 1, 2

ADMINISTRATION_PASSWORD = "verwalter"

_USERS = (
    {"alphaid": ALPHA_HOST, "userid": "meier", "name": "Ida Meier", "barcode": "1001"},
    {"alphaid": ALPHA_HOST, "userid": "schulz", "name": "Jörg Schulz", "barcode": "1002",
     "vertreth": ALPHA_HOST, "vertretu": "meier"},
)
_LOCAL_RECORDS = (
    {"userid": "meier", "passwor": "geheim", "lineid": "fax0", "printid": "laser1",
     "mailadr": "meier@example.org"},
    {"userid": "schulz", "passwor": "geheim", "lineid": "fax1", "printid": "laser1"},
)


class People:
    """Who uses the installation."""

    KEPT: Kept = dict.fromkeys((
        "users", "local_records", "groups", "members", "limits", "_logins", "_last_login",
        "_admin_password"))

    def __init__(self) -> None:
        self._admin_password = ADMINISTRATION_PASSWORD
        self._logins: Dict[int, str] = {}
        self._last_login = 0
        self.look_again()
        self.users = Table(["alphaid", "userid"], _USERS)
        self.local_records = Table(["userid"], _LOCAL_RECORDS)
        self.groups = Table(["groupid"], [{"groupid": "vertrieb", "comment": "Vertrieb"}])
        self.members = Table(["groupid", "alphaid", "userid"], [
            {"groupid": "vertrieb", "alphaid": ALPHA_HOST, "userid": user["userid"]}
            for user in _USERS])
        self.limits = Table(["alphaid"])

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {**self._sessions(), **self._users(), **self._groups()}

    def look_again(self) -> None:
        """Makes what a search needs, because other sessions were loaded."""
        self._logins_of: Dict[str, List[int]] = {}
        for login, user in sorted(self._logins.items()):
            self._logins_of.setdefault(user, []).append(login)

    def count_users(self) -> int:
        """Returns how many users there are."""
        return self.users.count()

    def count_logins(self) -> int:
        """Returns how many sessions there are."""
        return len(self._logins)

    def user_of(self, login: int) -> Optional[str]:
        """Returns the user of a session, or None if there is no such session."""
        return self._logins.get(login)

    def is_local(self, userid: str) -> bool:
        """Returns whether this alpha has a local record of the user."""
        return self.local_records.get(userid) is not None

    # ---- sessions and passwords

    def _sessions(self) -> Dict[str, Handler]:
        return {
            "a_login_1": self._login,
            "a_mult_login_1": self._login,
            "a_logout_1": self._logout,
            "a_check_login_1": lambda login: login in self._logins,
            "a_cha_userid_1": self._change_user,
            "a_cha_pw_1": self._change_password,
            "a_put_u_perm_1": self._permit,
            "o_cha_admpw_1": self._change_admin_password,
            "o_check_admpw_1": lambda password: password == self._admin_password,
            "o_put_logins_1": self.limits.put,
            "a_init_1": lambda _: 0,
        }

    def _login(self, argument: Row) -> Row:
        user = self.local_records.get(argument)
        if user is None:
            return {"err": NO_USER}
        if user.get("passwor", "") != argument["passwor"]:
            return {"err": WRONG_PASSWORD}
        old = self._logins_of.get(argument["userid"])
        if argument.get("useold") and old:
            return {"loginid": old[0]}
        self._last_login += 1
        self._enter(self._last_login, argument["userid"])
        return {"loginid": self._last_login}

    def _enter(self, login: int, user: str) -> None:
        """Makes a session one of this user. It may have been one of another user before."""
        self._leave(login)
        self._logins[login] = user
        put_or_remove(self._logins_of.setdefault(user, []), login, True)

    def _leave(self, login: int) -> None:
        user = self._logins.pop(login, None)
        if user is not None:
            put_or_remove(self._logins_of[user], login, False)

    def _logout(self, argument: Row) -> None:
        if self.user_of(argument["loginid"]) == argument["userid"]:
            self._leave(argument["loginid"])

    def _change_user(self, argument: Any) -> bool:
        asked = opened(argument)
        if asked["loginid"] not in self._logins or not self.is_local(asked["userid"]):
            return False
        self._enter(asked["loginid"], asked["userid"])
        return True

    def _change_password(self, argument: Row) -> int:
        """Changes a password. `oldpw` is the administration's password if `adm` is set."""
        user = self.local_records.get(argument)
        if user is None:
            return NO_USER
        valid = self._admin_password if argument["adm"] else user.get("passwor", "")
        if argument["oldpw"] != valid:
            return WRONG_PASSWORD
        user["passwor"] = argument["newpw"]
        return DONE

    def _permit(self, argument: Row) -> int:
        if argument["admpw"] != self._admin_password:
            return WRONG_PASSWORD
        user = self.local_records.get(argument)
        if user is None:
            return NO_USER
        user.update(allow=argument["allow"], deny=argument["deny"])
        return DONE

    def _change_admin_password(self, argument: Row) -> int:
        if argument["oldpw"] != self._admin_password:
            return WRONG_PASSWORD
        self._admin_password = argument["newpw"]
        return DONE

    # ---- users

    def _users(self) -> Dict[str, Handler]:
        return {
            **self.users.offer(
                put="a_put_o_user_1 o_put_user_1", get="a_get_o_user_1 o_get_user_1",
                all="a_get_system_userlist_1 o_get_user_ll_1", delete="o_del_user_1"),
            **self.local_records.offer(
                put="a_put_user_1", get="a_get_user_1", delete="a_del_user_1"),
            "a_get_system_userlistb_1": self._user_block,
            "o_get_user_llb_1": self._user_block,
            "o_search_bar_1": self._by_barcode,
            "a_check_cycle_1": lambda asked: self._no_cycle(
                ("", asked["userid"]), (asked["vertreth"], asked["vertretu"])),
            "o_check_v_cycle_1": lambda asked: self._no_cycle(
                (asked["x_host"], asked["x_user"]), (asked["v_host"], asked["v_user"])),
        }

    def _user_block(self, argument: Row) -> List[Row]:
        """Returns at most `anz` users after that of `alphaid` and `userid`, in the order of both.

        Without an `alphaid`, those of this alpha's name and later ones.
        """
        last = (argument["alphaid"] or ALPHA_HOST, argument["userid"])
        asked = argument["alphaid"] or argument["userid"]
        return self.users.after(last if asked else (), argument["anz"])

    def _by_barcode(self, barcode: str) -> Optional[Row]:
        return self.users.first(barcode=barcode) if barcode else None

    def _no_cycle(self, user: Tuple[str, str], deputy: Tuple[str, str]) -> bool:
        """Returns whether `deputy` can stand in for `user` without being its own deputy in the end.

        Both are a host and a name; an empty host is this alpha.
        """
        seen: Set[Tuple[str, str]] = {_on_host(user)}
        while deputy[1]:
            if _on_host(deputy) in seen:
                return False
            seen.add(_on_host(deputy))
            row = self.users.get(dict(zip(("alphaid", "userid"), _on_host(deputy)))) or {}
            deputy = (row.get("vertreth", ""), row.get("vertretu", ""))
        return True

    # ---- groups

    def _groups(self) -> Dict[str, Handler]:
        return {
            **self.groups.offer(put="o_put_group_1", get="o_get_group_1 a_get_o_group_1",
                                all="o_get_group_ll_1 a_get_groups_1"),
            **self.members.offer(put="o_put_groupl_1", delete="o_del_groupl_1"),
            "o_del_group_1": self._delete_group,
            "o_get_groupl_ll_1": lambda group: self.members.rows(groupid=group),
            "a_check_groupl_1": lambda member: self.members.get(member) is not None,
            "o_check_groupl_1": lambda member: self.members.get(member) is not None,
            "a_get_group_1": self.members_of,
            "o_get_group_member_ll_1": self.members_of,
            "o_make_verteiler_1": self._distribution,
        }

    def members_of(self, group: str) -> List[Row]:
        """Returns the users of a group, with their names."""
        return [{**(self.users.get(row) or {}), **row} for row in self.members.rows(groupid=group)]

    def _delete_group(self, group: str) -> bool:
        for member in self.members.rows(groupid=group):
            self.members.delete(member)
        return self.groups.delete(group)

    def _distribution(self, argument: Row) -> Row:
        """Returns the users that a group or a single user means, by server."""
        rows = self.members_of(argument["groupid"]) if argument["groupid"] else [argument]
        users: Dict[str, List[Row]] = {}
        for row in rows:
            users.setdefault(row["alphaid"], []).append({"data": row["userid"]})
        return {"ok": bool(rows), "first": [
            {"alphaid": host, "user_ll": users[host]} for host in sorted(users)]}


def _on_host(user: Tuple[str, str]) -> Tuple[str, str]:
    return (user[0] or ALPHA_HOST, user[1])
