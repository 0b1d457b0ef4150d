"""Rows under keys, and the procedures that a family of names offers on them.

Most of the interface is of one kind: put, get, list and delete rows that some fields identify.
`Table.offer` makes the procedures of such a family from their names.
"""

from __future__ import annotations

import bisect
import itertools
from typing import Any, Callable, Dict, Iterable, List, Optional, Sequence, Tuple

from kvrpc_tools.simulator.state.shape import Row, opened

Handler = Callable[[Any], Any]
Key = Tuple[Any, ...]


class Table:
    """Rows in the order of their keys; `fields` are the fields that make a key."""

    def __init__(self, fields: Sequence[str], rows: Iterable[Row] = ()) -> None:
        self._fields = tuple(fields)
        self._rows: Dict[Key, Row] = {}
        self._order: List[Key] = []  # the keys in their order; empty if not yet made
        for row in rows:
            self.put(row)

    def key_of(self, argument: Any) -> Key:
        """Returns the key in an argument, which may be the bare key of one field."""
        if not isinstance(argument, dict):
            return (argument,)
        row = opened(argument)
        return tuple(row.get(field, "") for field in self._fields)

    def put(self, argument: Any) -> bool:
        """Keeps the row. The fields that an earlier form lacks stay as they are.

        Returns false for a row without a key.
        """
        row = {name: value for name, value in opened(argument).items() if name != "selection"}
        key = self.key_of(row)
        if not any(key):
            return False
        if key not in self._rows:
            self._order = []
        self._rows[key] = {**self._rows.get(key, {}), **row}
        return True

    def replace(self, rows: Iterable[Row]) -> None:
        """Keeps these rows and no others."""
        self._rows, self._order = {}, []
        for row in rows:
            self.put(row)

    def get(self, argument: Any) -> Optional[Row]:
        """Returns the row whose key is in the argument, or None."""
        return self._rows.get(self.key_of(argument))

    def delete(self, argument: Any) -> bool:
        """Removes the row whose key is in the argument. Returns whether there was one."""
        if self._rows.pop(self.key_of(argument), None) is None:
            return False
        self._order = []
        return True

    def rows(self, **wanted: Any) -> List[Row]:
        """Returns the rows with these values, in the order of their keys."""
        if not self._order:
            self._order = sorted(self._rows)
        if wanted and tuple(wanted) == self._fields[:len(wanted)]:
            first = bisect.bisect_left(self._order, tuple(wanted.values()))
            keys = itertools.takewhile(
                lambda key: key[:len(wanted)] == tuple(wanted.values()),
                itertools.islice(self._order, first, None))
            return [self._rows[key] for key in keys]
        return [self._rows[key] for key in self._order
                if all(self._rows[key].get(field) == value for field, value in wanted.items())]

    def offer(self, **names: str) -> Dict[str, Handler]:
        """Returns procedures that put, get, delete, list all or list a block, by their names."""
        offered: Dict[str, Handler] = {}
        actions: Dict[str, Handler] = {"put": self.put, "get": self.get, "delete": self.delete,
                                       "all": lambda _: self.rows(), "block": self.block}
        for action, listed in names.items():
            offered.update((name, actions[action]) for name in listed.split())
        return offered

    def block(self, argument: Any) -> List[Row]:
        """Returns at most `anz` rows whose key is greater than `pos`."""
        asked = opened(argument)
        return behind(self.rows(), self._fields[-1], asked.get("pos", ""), asked.get("anz", 0))


def behind(rows: List[Row], field: str, last: Any, most: int) -> List[Row]:
    """Returns the first `most` rows whose `field` is greater than `last`; all for 0 or less.

    `rows` must be in the order of `field`. The last row's field is the `last` of the next block.
    """
    low, high = 0, len(rows) if last else 0
    while low < high:
        middle = (low + high) // 2
        if rows[middle].get(field, "") > last:
            high = middle
        else:
            low = middle + 1
    return rows[low:low + most] if most > 0 else rows[low:]


def window(items: List[Any], start: int, most: int) -> List[Any]:
    """Returns at most `most` items from number `start` on; all for 0 or less."""
    tail = items[max(0, start):]
    return tail[:most] if most > 0 else tail
