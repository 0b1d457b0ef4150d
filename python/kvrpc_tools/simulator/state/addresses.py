"""Addresses: single entries, books with their entries, and groups of entries.

`alpha` and `omega` work on the same books. A user sees the books and groups that are their own and
those that nobody owns.
"""

from __future__ import annotations

from typing import Any, Dict, List, Optional

from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import Handler, Table, behind

_BOOK = "firma"


class Addresses:
    """The families tele, tebu, tebul, tgroup and tgroupl."""

    def __init__(self) -> None:
        self.entries = Table(["telid"], [
            {"telid": "zeitung", "comment": "Anzeigenannahme", "tsi": "+49 30 5550200",
             "phone": "030 5550200"}])
        self.books = Table(["tbuchid"], [{"tbuchid": _BOOK, "comment": "Adressen der Firma"}])
        self.lines = Table(["tbuchid", "telid"], [
            {"tbuchid": _BOOK, "telid": "müller", "comment": "Müller & Söhne",
             "tsi": "+49 40 5550300", "phone": "040 5550300"},
            {"tbuchid": _BOOK, "telid": "werft", "comment": "Werft Nord",
             "tsi": "+49 421 5550400", "phone": "0421 5550400"}])
        self.groups = Table(["groupid"])
        self.members = Table(["groupid", "tbuchid", "telid"])
        self._results: Dict[int, List[str]] = {}

    def handlers(self) -> Dict[str, Handler]:
        offered: Dict[str, Handler] = {
            "a_get_tele_1": lambda _: self.entries.rows(),
            "a_search_tele_1": self.entries.get,
            "o_get_tele_ll_1": lambda _: self.entries.rows(),
            "o_get_tele_1": self.entries.get,
            "o_search_tsi_1": self._entry_with_tsi,
            "a_query_tebu_1": self._query,
            "a_fetch_result_1": self._fetch,
        }
        for server in "ao":
            offered.update(self._of(server))
        return offered

    def _of(self, server: str) -> Dict[str, Handler]:
        """The procedures that both servers offer."""
        return {
            **self.entries.offer(put=f"{server}_put_tele_1", delete=f"{server}_del_tele_1"),
            **self.books.offer(get=f"{server}_get_tebu_1"),
            **self.lines.offer(get=f"{server}_get_tebul_1", delete=f"{server}_del_tebul_1"),
            **self.groups.offer(get=f"{server}_get_tgroup_1"),
            **self.members.offer(put=f"{server}_put_tgroupl_1",
                                 delete=f"{server}_del_tgroupl_1"),
            f"{server}_put_tebu_1": lambda given: self.books.put(_owned(given)),
            f"{server}_put_tebul_1": self._put_line,
            f"{server}_put_tgroup_1": lambda given: self.groups.put(_owned(given)),
            f"{server}_del_tebu_1": lambda asked: _drop(self.books, self.lines, "tbuchid", asked),
            f"{server}_del_tgroup_1": lambda asked: _drop(self.groups, self.members, "groupid",
                                                          asked),
            f"{server}_get_tebu_ll_1": lambda asked: _seen_by(self.books, asked),
            f"{server}_get_tebu_llb_1": lambda asked: behind(
                _seen_by(self.books, asked), "tbuchid", asked["pos"], asked["anz"]),
            f"{server}_get_tgroup_ll_1": lambda asked: _seen_by(self.groups, asked),
            f"{server}_get_tgroup_llb_1": lambda asked: behind(
                _seen_by(self.groups, asked), "groupid", asked["pos"], asked["anz"]),
            f"{server}_get_tebul_ll_1": lambda asked: behind(
                self.lines.rows(tbuchid=asked["tbuchid"]), "telid", asked["pos"], asked["anz"]),
            f"{server}_get_tgroupl_ll_1": lambda asked: self.members.rows(
                groupid=asked["groupid"]),
            f"{server}_get_tgroupl_llb_1": self._member_block,
            f"{server}_check_perm_1": lambda asked: any(
                book["tbuchid"] == asked["tbuchid"] for book in _seen_by(self.books, asked)),
            f"{server}_lookup_tsi_1": self._lookup,
        }

    def _put_line(self, argument: Any) -> bool:
        """An entry needs its book."""
        return self.books.get(argument) is not None and self.lines.put(argument)

    def _member_block(self, argument: Row) -> List[Row]:
        """Members behind the entry `pose` of the book `posb`."""
        last = (argument["posb"], argument["pose"])
        rows = [row for row in self.members.rows(groupid=argument["groupid"])
                if (row["tbuchid"], row["telid"]) > last]
        return rows[:argument["anz"]] if argument["anz"] > 0 else rows

    # ---- searching

    def _entry_with_tsi(self, tsi: str) -> Optional[Row]:
        return next(iter(self.entries.rows(tsi=tsi)), None) if tsi else None

    def _lookup(self, argument: Row) -> Optional[Row]:
        """In the book `phonedir`, or in all of them."""
        rows = self.lines.rows(tsi=argument["tsi"]) if argument["tsi"] else []
        if not argument["checkall"] and argument["phonedir"]:
            rows = [row for row in rows if row["tbuchid"] == argument["phonedir"]]
        return rows[0] if rows else None

    def _query(self, argument: Row) -> int:
        """Looks for the words of `aktpar` in a book; the result waits under the number returned."""
        words = [word.lower() for word in argument["aktpar"] if word]
        hits = [row for row in self.lines.rows(tbuchid=argument["tbuchid"])
                if all(word in _as_line(row).lower() for word in words)]
        number = len(self._results) + 1
        self._results[number] = [_as_line(row) for row in hits]
        return number

    def _fetch(self, number: int) -> Row:
        hits = self._results.get(number, [])
        return {"anz": len(hits), "hits": [{"dat": hit} for hit in hits]}


def _as_line(row: Row) -> str:
    return " ".join(str(row.get(field, "")) for field in ("telid", "comment", "tsi", "phone"))


def _owned(argument: Any) -> Row:
    """A book or group that names no owner belongs to the user who puts it."""
    row = opened(argument)
    owner = {"ownerh": row["userh"], "owneru": row["useru"]} if not row.get("owneru") else {}
    return {**row, **owner}


def _seen_by(table: Table, asked: Row) -> List[Row]:
    return [row for row in table.rows() if row.get("owneru", "") in ("", asked["useru"])]


def _drop(table: Table, parts: Table, field: str, asked: Row) -> bool:
    """Deletes a book or group together with what is in it."""
    for part in parts.rows(**{field: asked[field]}):
        parts.delete(part)
    return table.delete(asked)
