"""What is kept for users beside their own rows: settings, mail and gateway addresses."""

from __future__ import annotations

from typing import Any, Dict, List, Optional

from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import Handler, Table, behind

# Settings of this user go for everybody who has none of their own.
EVERYBODY = ""


class Belongings:
    """The families usrconf, muser, gwuser and reply_addr."""

    KEPT: Kept = dict.fromkeys((
        "settings", "mail_users", "gateway_users", "reply_addresses"))

    def __init__(self) -> None:
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
                put=f"{server}_put_reply_addr_1", get=f"{server}_get_reply_addr_1",
                delete=f"{server}_del_reply_addr_1"))
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
        """A user's own, and with `user_only` false everybody's as well, by name."""
        asked = opened(argument)
        found = {} if asked["user_only"] else {
            row["name"]: row for row in self.settings.rows(userid=EVERYBODY)}
        found.update((row["name"], row) for row in self.settings.rows(userid=asked["userid"]))
        rows = [found[name] for name in sorted(found)]
        return behind(rows, "name", asked["pos"], asked["anz"])

    # ---- addresses

    def _mail_user_of_line(self, line: str) -> Optional[Row]:
        return next(iter(self.mail_users.rows(lineid=line)), None)

    def _mail_users_by_line(self, argument: Row) -> List[Row]:
        rows = sorted(self.mail_users.rows(), key=lambda row: str(row["lineid"]))
        return behind(rows, "lineid", argument["pos"], argument["anz"])

    def _gateway_user(self, argument: Any) -> Optional[Row]:
        """By mail address or by line, as the argument has it."""
        asked = opened(argument)
        fields = {field: asked[field] for field in ("gw_type", "mailaddr", "lineid")
                  if field in asked}
        return next(iter(self.gateway_users.rows(**fields)), None)

    def _gateway_users(self, argument: Any) -> List[Row]:
        """Versions 0 and 3 go by mail address, 1 and 2 by line."""
        asked = opened(argument)
        field = "lineid" if argument["selection"] in (1, 2) else "mailaddr"
        rows = sorted(self.gateway_users.rows(gw_type=asked["gw_type"]),
                      key=lambda row: str(row[field]))
        return behind(rows, field, asked["pos"], asked["anz"])

    def _reply_addresses(self, argument: Any) -> List[Row]:
        """Of one network; version 2 either the barred ones or the others."""
        asked = opened(argument)
        rows = self.reply_addresses.rows(nettype=asked["nettype"])
        if "barred" in asked:
            rows = [row for row in rows if row.get("barred") == asked["barred"]]
        return behind(rows, "tsi", asked["tsi"], asked["anz"])
