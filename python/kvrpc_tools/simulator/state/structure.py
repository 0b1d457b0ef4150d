"""What the installation is made of: lines and their types, servers, printers, routes, settings.

`omega` writes them, `alpha` reads them. Older and newer forms of a line or a route are views of
one row.
"""

from __future__ import annotations

from typing import Any, Dict, List, Optional

from kvrpc_tools.simulator.state.belongings import Belongings
from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.people import ALPHA_HOST, People
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import Handler, Table

MOST_USERS, MOST_LOGINS, MOST_LINES = 50, 20, 4
_MOST_GATEWAY_USERS = (("mail", 10), ("sms", 5))

# That these fields are the same is read from their names.
_LATER_NAMES = {name: f"scan_{name}" for name in (
    "reserveh", "reserveu", "timeout", "pagewait", "res")}


def _line(name: str, number: int) -> Row:
    return {"lineid": name, "thetaid": ALPHA_HOST, "alphaid": ALPHA_HOST, "typid": "g3",
            "linenr": number, "boxid": "box1", "localtsi": f"+49 30 555010{number}",
            "comment": f"Leitung {number}", "device": f"/dev/{name}",
            "headline": "Faxsystem Beispielstadt"}


class FaxLines(Table):
    """Lines. The later form calls five fields by other names; a row holds both names of each."""

    def put(self, argument: Any) -> bool:
        """Keeps the row, over what is there."""
        row = dict(opened(argument))
        for old, new in _LATER_NAMES.items():
            if new in row:
                row[old] = row[new]
            elif old in row:
                row[new] = row[old]
        return super().put(row)


class Structure:
    """The tables of `omega`, and the limits with today's numbers."""

    KEPT: Kept = dict.fromkeys((
        "line_types", "lines", "printers", "alphas", "thetas", "printing", "routes", "settings"))

    def __init__(self, people: People, belongings: Belongings) -> None:
        self._people = people
        self._belongings = belongings
        self.line_types = Table(["typid"], [
            {"typid": "g3", "comment": "Gruppe 3", "linesmin": 1, "linesmax": MOST_LINES}])
        self.lines = FaxLines(["lineid"], [_line("fax0", 0), _line("fax1", 1)])
        self.printers = Table(["printid"], [
            {"printid": "laser1", "comment": "Drucker im Sekretariat", "piid": ALPHA_HOST,
             "lpfilter": "lp -d laser1", "paper": 4}])
        self.alphas = Table(["alphaid"], [
            {"alphaid": ALPHA_HOST, "net": "tcp", "comment": "der erste Server"}])
        self.thetas = Table(["thetaid"], [{"thetaid": ALPHA_HOST}])
        self.printing = Table(["piid"], [{"piid": ALPHA_HOST, "net": "tcp"}])
        self.routes = Table(["routeid"], [
            {"routeid": "eingang0", "comment": "alles auf fax0", "lineid": "fax0",
             "alphaid": ALPHA_HOST, "userid": "meier"}])
        self.settings = Table(["name"], [
            {"name": "country", "contents": "49", "protect": False},
            {"name": "headline", "contents": "Faxsystem Beispielstadt", "protect": False},
            {"name": "retries", "contents": "3", "protect": True}],
            filled=lambda row: bool(row.get("contents")))

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        offered: Dict[str, Handler] = {}
        for part, table in (("faxg", self.line_types), ("faxl", self.lines),
                            ("printer", self.printers), ("alpha", self.alphas),
                            ("theta", self.thetas), ("pi", self.printing),
                            ("route", self.routes)):
            offered.update(table.offer(put=f"o_put_{part}_1", get=f"o_get_{part}_1",
                                       all=f"o_get_{part}_ll_1", delete=f"o_del_{part}_1"))
        offered.update(self.printers.offer(get="a_get_printer_1", all="a_get_printer_ll_1",
                                           block="a_get_printer_llb_1 o_get_printer_llb_1"))
        offered.update(self.lines.offer(
            put="o_put_faxl_new_1", get="a_get_faxl_1 a_get_faxl_new_1 o_get_faxl_new_1",
            all="a_get_faxl_ll_1 o_get_faxl_new_ll_1", delete="o_del_faxl_new_1"))
        offered.update(self.routes.offer(
            put="o_put_route_new_1", get="o_get_route_new_1", delete="o_del_route_new_1",
            block="a_get_route_new_ll_1 o_get_route_new_ll_1"))
        offered.update(self.settings.offer(put="o_put_config_1", delete="o_del_config_1"))
        offered.update({
            "o_get_config_1": self._setting, "a_get_config_1": self._setting,
            "o_get_config_ll_1": self._settings,
            "o_legalhost_1": lambda host: self.alphas.get(host) is not None,
        })
        for server in "ao":
            offered[f"{server}_apply_route_1"] = self._apply_route
            offered[f"{server}_apply_route_new_1"] = self._apply_route_new
            offered[f"{server}_get_configdata_1"] = self._limits
            offered[f"{server}_get_configdata_new_1"] = self._limits
            offered[f"{server}_get_compat_1"] = lambda _: {"low": 1, "high": 3}
        return offered

    def _setting(self, argument: Any) -> str:
        row = self.settings.get(argument)
        return row["contents"] if row else ""

    def _settings(self, argument: Any) -> List[Row]:
        """Returns settings after a name, or by number those whose names begin with `basename`."""
        asked = opened(argument)
        if argument.get("selection") == 1:
            return self.settings.after((asked["pos"],), asked["anz"],
                                       keep=lambda row: bool(row["protect"] == asked["protect"]))
        wanted = {"filled": True} if asked["skipempty"] else {}
        return self.settings.beginning(asked["basename"], asked["pos"], asked["anz"], **wanted)

    def _route_for(self, argument: Any) -> Optional[Row]:
        """Returns the first route whose line and sender fit. An empty field of a route fits all."""
        asked = opened(argument)
        found = [self.routes.first(lineid=line, absender=sender)
                 for line in (asked["lineid"], "") for sender in (asked["absender"], "")]
        return min((route for route in found if route), default=None, key=self.routes.key_of)

    def _apply_route(self, argument: Any) -> Optional[Row]:
        return self._route_for(argument)

    def _apply_route_new(self, argument: Any) -> Row:
        route = self._route_for(argument)
        return {**(route or {}), "errcode": 0 if route else 1}

    def _limits(self, _: Any) -> Row:
        limit = self._people.limits.get(ALPHA_HOST) or {"logins": MOST_LOGINS}
        return {"users": MOST_USERS, "hwclass": 1, "fax": True, "barcode": True,
                "aktusers": self._people.count_users(), "maxlogins": limit["logins"],
                "aktlogins": self._people.count_logins(), "maxlines": MOST_LINES,
                "aktlines": self.lines.count(), "postscriptlevel": 2,
                "gwuser_count": [
                    {"gw_type": name, "max_users": most,
                     "akt_users": self._belongings.count_gateway_users(name)}
                    for name, most in _MOST_GATEWAY_USERS]}
