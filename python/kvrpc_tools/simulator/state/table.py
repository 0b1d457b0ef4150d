"""Rows under keys, and the procedures that a family of names offers on them.

Most of the interface is of one kind: put, get, list and delete rows that some fields identify.
`Table.offer` makes the procedures of such a family from their names.
"""

from __future__ import annotations

from typing import Any, Callable, Dict, Iterable, List, Optional, Sequence, Tuple

from kvrpc_tools.simulator.state.shape import Row, opened

Handler = Callable[[Any], Any]
Key = Tuple[Any, ...]


class Table:
    """Rows in the order of their keys; `fields` are the fields that make a key."""

    def __init__(self, fields: Sequence[str], rows: Iterable[Row] = ()) -> None:
        self._fields = tuple(fields)
        self._rows: Dict[Key, Row] = {}
        for row in rows:
            self.put(row)

    def key_of(self, argument: Any) -> Key:
        """The key in an argument, which may be the bare key of one field."""
        if not isinstance(argument, dict):
            return (argument,)
        row = opened(argument)
        return tuple(row.get(field, "") for field in self._fields)

    def put(self, argument: Any) -> bool:
        """Keeps the row, over what is there: the fields that an older form lacks stay.

        False without a key.
        """
        row = {name: value for name, value in opened(argument).items() if name != "selection"}
        key = self.key_of(row)
        if not any(key):
            return False
        self._rows[key] = {**self._rows.get(key, {}), **row}
        return True

    def replace(self, rows: Iterable[Row]) -> None:
        self._rows = {}
        for row in rows:
            self.put(row)

    def get(self, argument: Any) -> Optional[Row]:
        return self._rows.get(self.key_of(argument))

    def delete(self, argument: Any) -> bool:
        return self._rows.pop(self.key_of(argument), None) is not None

    def rows(self, **wanted: Any) -> List[Row]:
        """The rows with these values, in the order of their keys."""
        return [row for _, row in sorted(self._rows.items())
                if all(row.get(field) == value for field, value in wanted.items())]

    def offer(self, **names: str) -> Dict[str, Handler]:
        """Procedures for put, get, delete, all (every row) and block, each a list of names."""
        offered: Dict[str, Handler] = {}
        actions: Dict[str, Handler] = {"put": self.put, "get": self.get, "delete": self.delete,
                                       "all": lambda _: self.rows(), "block": self.block}
        for action, listed in names.items():
            offered.update((name, actions[action]) for name in listed.split())
        return offered

    def block(self, argument: Any) -> List[Row]:
        """At most `anz` rows whose key stands behind `pos`."""
        asked = opened(argument)
        return behind(self.rows(), self._fields[-1], asked.get("pos", ""), asked.get("anz", 0))


def behind(rows: List[Row], field: str, last: Any, most: int) -> List[Row]:
    """The first `most` rows whose `field` is greater than `last`; all of them for 0 or less.

    The last row's field is so the place to go on from.
    """
    found = [row for row in rows if not last or row.get(field, "") > last]
    return found[:most] if most > 0 else found


def window(items: List[Any], start: int, most: int) -> List[Any]:
    """At most `most` items from number `start` on; all for 0 or less."""
    tail = items[max(0, start):]
    return tail[:most] if most > 0 else tail
