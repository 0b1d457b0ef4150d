"""Addresses: single entries, books with their entries, and groups of entries.

`alpha` and `omega` work on the same books. The rules of access are the simulator's own:

- An owner is a host and a user. The three bytes of `permissions` are bit sets for the owner, for
  the members of the group `ownerg`, and for everybody else. Bit 1 is reading, bit 2 is writing.
- `check_perm` returns whether the byte that applies to the asking user has all bits of `perm`.
- The owner always reads and writes, whatever the first byte says. What nobody owns is everybody's.
- A book or group that the asking user may not read is not found, listed or searched. One that they
  may not write is not changed or deleted.
"""

from __future__ import annotations

from typing import Any, Callable, Dict, List, Optional

from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.people import People
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import Handler, Table

_BOOK = "firma"

READ, WRITE = 1, 2


class Access:
    """Who may do what with the rows of a table of books or groups."""

    def __init__(self, table: Table, field: str, people: People) -> None:
        self.table = table
        self.field = field
        self._people = people

    def allows(self, row: Row, asked: Row, wanted: int) -> bool:
        """Returns whether the asking user may do all that the bits of `wanted` name."""
        return not row.get("owneru") or _owns(row, asked) or self._has(row, asked, wanted)

    def has_permission(self, asked: Row) -> bool:
        """Returns whether the byte of `permissions` for the asking user has all bits of `perm`."""
        row = self.table.get(asked[self.field])
        return row is not None and (not row.get("owneru") or self._has(row, asked, asked["perm"]))

    def get(self, asked: Row, wanted: int = READ) -> Optional[Row]:
        """Returns the row that the argument names, or None if it may not be used so."""
        row = self.table.get(asked[self.field])
        return row if row is not None and self.allows(row, asked, wanted) else None

    def rows(self, asked: Row) -> List[Row]:
        """Returns the rows that the asking user may read."""
        return [row for row in self.table.rows() if self.allows(row, asked, READ)]

    def block(self, asked: Row) -> List[Row]:
        """Returns at most `anz` such rows whose key is greater than `pos`."""
        return self.table.after((asked["pos"],), asked["anz"],
                                keep=lambda row: self.allows(row, asked, READ))

    def put(self, argument: Any) -> bool:
        """Gives a row that names no owner to the user who puts it."""
        row = opened(argument)
        if row[self.field] and self.table.get(row[self.field]) and not self.get(row, WRITE):
            return False
        owner = {"ownerh": row["userh"], "owneru": row["useru"]} if not row.get("owneru") else {}
        return self.table.put({**row, **owner})

    def delete_with(self, parts: Table) -> Callable[[Row], bool]:
        """Returns the procedure that deletes a row together with its parts."""
        def delete(asked: Row) -> bool:
            if self.get(asked, WRITE) is None:
                return False
            for part in parts.rows(**{self.field: asked[self.field]}):
                parts.delete(part)
            return self.table.delete(asked[self.field])
        return delete

    def _has(self, row: Row, asked: Row, wanted: int) -> bool:
        member = {"groupid": row.get("ownerg"), "alphaid": asked["userh"],
                  "userid": asked["useru"]}
        place = 0 if _owns(row, asked) else 1 if self._people.members.get(member) else 2
        granted: int = row.get("permissions", b"").ljust(3, b"\0")[place]
        return granted & wanted == wanted


def _owns(row: Row, asked: Row) -> bool:
    return (row.get("ownerh", ""), row.get("owneru", "")) == (asked["userh"], asked["useru"])


class Addresses:
    """The families tele, tebu, tebul, tgroup and tgroupl."""

    KEPT: Kept = dict.fromkeys((
        "entries", "books", "lines", "groups", "members", "_results"))

    def __init__(self, people: People) -> None:
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
        self._book_access = Access(self.books, "tbuchid", people)
        self._group_access = Access(self.groups, "groupid", people)

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
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
        """Returns the procedures that both servers offer."""
        books, groups = self._book_access, self._group_access
        return {
            **self.entries.offer(put=f"{server}_put_tele_1", delete=f"{server}_del_tele_1"),
            f"{server}_put_tebu_1": books.put,
            f"{server}_get_tebu_1": books.get,
            f"{server}_del_tebu_1": books.delete_with(self.lines),
            f"{server}_get_tebu_ll_1": books.rows,
            f"{server}_get_tebu_llb_1": books.block,
            f"{server}_check_perm_1": books.has_permission,
            f"{server}_put_tebul_1": self._put_line,
            f"{server}_get_tebul_1": lambda asked: books.get(asked) and self.lines.get(asked),
            f"{server}_del_tebul_1": lambda asked: (
                books.get(asked, WRITE) is not None and self.lines.delete(asked)),
            f"{server}_get_tebul_ll_1": self._line_block,
            f"{server}_put_tgroup_1": groups.put,
            f"{server}_get_tgroup_1": groups.get,
            f"{server}_del_tgroup_1": groups.delete_with(self.members),
            f"{server}_get_tgroup_ll_1": groups.rows,
            f"{server}_get_tgroup_llb_1": groups.block,
            f"{server}_put_tgroupl_1": self._put_member,
            f"{server}_del_tgroupl_1": lambda asked: (
                groups.get(asked, WRITE) is not None and self.members.delete(asked)),
            f"{server}_get_tgroupl_ll_1": self._members_of,
            f"{server}_get_tgroupl_llb_1": self._member_block,
            f"{server}_lookup_tsi_1": self._lookup,
        }

    def _lines_of(self, asked: Row) -> List[Row]:
        readable = self._book_access.get(asked) is not None
        return self.lines.rows(tbuchid=asked["tbuchid"]) if readable else []

    def _line_block(self, asked: Row) -> List[Row]:
        """Returns entries after the entry `pos` of a book."""
        readable = self._book_access.get(asked) is not None
        return self.lines.after((asked["pos"],), asked["anz"],
                                within=(asked["tbuchid"],)) if readable else []

    def _put_line(self, argument: Any) -> bool:
        """Keeps an entry if the user may write its book."""
        return (self._book_access.get(opened(argument), WRITE) is not None
                and self.lines.put(argument))

    def _members_of(self, asked: Row) -> List[Row]:
        readable = self._group_access.get(asked) is not None
        return self.members.rows(groupid=asked["groupid"]) if readable else []

    def _put_member(self, argument: Any) -> bool:
        """Keeps a member if the user may write its group."""
        return (self._group_access.get(opened(argument), WRITE) is not None
                and self.members.put(argument))

    def _member_block(self, asked: Row) -> List[Row]:
        """Returns members after the entry `pose` of the book `posb`."""
        readable = self._group_access.get(asked) is not None
        return self.members.after((asked["posb"], asked["pose"]), asked["anz"],
                                  within=(asked["groupid"],)) if readable else []

    # ---- searching

    def _entry_with_tsi(self, tsi: str) -> Optional[Row]:
        return self.entries.first(tsi=tsi) if tsi else None

    def _lookup(self, argument: Row) -> Optional[Row]:
        """Searches the book `phonedir`, or all of them."""
        tsi, book = argument["tsi"], argument["phonedir"]
        if not tsi:
            return None
        if argument["checkall"] or not book:
            return self.lines.first(tsi=tsi)
        return self.lines.first(tsi=tsi, tbuchid=book)

    def _query(self, argument: Row) -> int:
        """Looks for the words of `aktpar` in a book; the result waits under the number returned."""
        words = [word.lower() for word in argument["aktpar"] if word]
        hits = [row for row in self._lines_of(argument)
                if all(word in _as_line(row).lower() for word in words)]
        number = len(self._results) + 1
        self._results[number] = [_as_line(row) for row in hits]
        return number

    def _fetch(self, number: int) -> Row:
        hits = self._results.get(number, [])
        return {"anz": len(hits), "hits": [{"dat": hit} for hit in hits]}


def _as_line(row: Row) -> str:
    return " ".join(str(row.get(field, "")) for field in ("telid", "comment", "tsi", "phone"))
