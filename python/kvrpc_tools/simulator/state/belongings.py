"""What is kept for users beside their own rows: settings, mail and gateway addresses.

Reading a reply address adds one to its `count` and sets its `lastaccess`; reading a gateway user
with `touch` sets `lastaccess`. Both are the simulator's own, as is what the versions of the list of
reply addresses leave out: version 0 other users, if it names one, version 1 addresses that were
last read before `lastaccess`.
"""

from __future__ import annotations

from typing import Any, Callable, Dict, List, Optional

from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import LAST, Handler, Key, Table

# Settings of this user go for everybody who has none of their own.
EVERYBODY = ""


class Belongings:
    """The families usrconf, muser, gwuser and reply_addr."""

    KEPT: Kept = dict.fromkeys((
        "settings", "mail_users", "gateway_users", "reply_addresses"))

    def __init__(self, now: Callable[[], float]) -> None:
        self._now = now
        self.settings = Table(["userid", "name"], [
            {"userid": EVERYBODY, "name": "language", "content": "deutsch"},
            {"userid": "meier", "name": "cover", "content": "standard"}])
        self.mail_users = Table(["mailaddr"])
        self.gateway_users = Table(["gw_type", "mailaddr"])
        self.reply_addresses = Table(["nettype", "tsi", "userid", "alphaid"])

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        offered: Dict[str, Handler] = {
            **self.settings.offer(put="a_put_usrconf_1 a_put_usrconf_new_1",
                                  delete="a_del_usrconf_1 a_del_usrconf_new_1"),
            "a_get_usrconf_1": lambda asked: (self._setting(asked) or {}).get("content", ""),
            "a_get_usrconf_new_1": self._setting_with_error,
            "a_get_usrconf_ll_1": self._settings,
            "a_get_usrconf_new_ll_1": self._settings,
        }
        for server in "ao":
            offered.update(self.mail_users.offer(
                put=f"{server}_put_muser_1", get=f"{server}_get_muser_addr_1",
                delete=f"{server}_del_muser_1", block=f"{server}_get_muser_addr_ll_1"))
            offered.update(self.gateway_users.offer(
                put=f"{server}_put_gwuser_1", delete=f"{server}_del_gwuser_1"))
            offered.update(self.reply_addresses.offer(
                put=f"{server}_put_reply_addr_1", delete=f"{server}_del_reply_addr_1"))
            offered[f"{server}_get_reply_addr_1"] = self._reply_address
            offered[f"{server}_get_muser_line_1"] = self._mail_user_of_line
            offered[f"{server}_get_muser_line_ll_1"] = self._mail_users_by_line
            offered[f"{server}_get_gwuser_1"] = self._gateway_user
            offered[f"{server}_get_gwuser_ll_1"] = self._gateway_users
            offered[f"{server}_get_reply_addr_ll_1"] = self._reply_addresses
        return offered

    # ---- settings

    def _setting(self, argument: Any) -> Optional[Row]:
        asked = opened(argument)
        return (self.settings.get(asked)
                or self.settings.get({"userid": EVERYBODY, "name": asked["name"]}))

    def _setting_with_error(self, argument: Any) -> Row:
        row = self._setting(argument)
        return {"errcode": 0 if row else 1, "content": row["content"] if row else ""}

    def _settings(self, argument: Any) -> List[Row]:
        """Returns a user's own settings by name, and with `user_only` false everybody's as well."""
        asked = opened(argument)
        found: Dict[str, Row] = {}
        for user in ([] if asked["user_only"] else [EVERYBODY]) + [asked["userid"]]:
            found.update((row["name"], row) for row in self.settings.after(
                (asked["pos"],), asked["anz"], within=(user,)))
        rows = [found[name] for name in sorted(found)]
        return rows[:asked["anz"]] if asked["anz"] > 0 else rows

    # ---- addresses

    def _mail_user_of_line(self, line: str) -> Optional[Row]:
        return self.mail_users.first(lineid=line)

    def _mail_users_by_line(self, argument: Row) -> List[Row]:
        return self.mail_users.after(_past(argument["pos"]), argument["anz"], by=("lineid",))

    def _gateway_user(self, argument: Any) -> Optional[Row]:
        """By mail address or by line, as the argument has it."""
        asked = opened(argument)
        fields = {field: asked[field] for field in ("gw_type", "mailaddr", "lineid")
                  if field in asked}
        row = self.gateway_users.first(**fields)
        if row is not None and asked.get("touch"):
            row["lastaccess"] = int(self._now())
        return row

    def _gateway_users(self, argument: Any) -> List[Row]:
        """Versions 0 and 3 go by mail address, 1 and 2 by line."""
        asked = opened(argument)
        by = ("gw_type", "lineid") if argument["selection"] in (1, 2) else ()
        return self.gateway_users.after(_past(asked["pos"]), asked["anz"],
                                        within=(asked["gw_type"],), by=by)

    def count_gateway_users(self, gw_type: str) -> int:
        """Returns how many users a type of gateway has."""
        return self.gateway_users.count(gw_type=gw_type)

    def _reply_address(self, argument: Any) -> Optional[Row]:
        row = self.reply_addresses.get(argument)
        if row is not None:
            row.update(count=row.get("count", 0) + 1, lastaccess=int(self._now()))
        return row

    def _reply_addresses(self, argument: Any) -> List[Row]:
        """Of one network; version 2 either the barred ones or the others."""
        asked = opened(argument)

        def keep(row: Row) -> bool:
            if "barred" in asked:
                return bool(row.get("barred") == asked["barred"])
            if "lastaccess" in asked:
                return bool(row.get("lastaccess", 0) >= asked["lastaccess"])
            return not asked["userid"] or all(row.get(field) == asked[field]
                                              for field in ("userid", "alphaid"))
        return self.reply_addresses.after(_past(asked["tsi"]), asked["anz"],
                                          within=(asked["nettype"],), keep=keep)


def _past(position: str) -> Key:
    """Returns what is after all keys that have this text in this place."""
    return (position, LAST) if position else ()
