"""Rows under keys, and the procedures that a family of names offers on them.

Most of the interface is of one kind: put, get, list and delete rows that some fields identify.
`Table.offer` makes the procedures of such a family from their names.
"""

from __future__ import annotations

import bisect
import itertools
from typing import Any, Callable, Dict, Iterable, Iterator, List, Optional, Sequence, Tuple

from kvrpc_tools.simulator.state.shape import Row, opened

Handler = Callable[[Any], Any]
Key = Tuple[Any, ...]

# Follows every text in a key, so that `after` passes all keys that begin alike.
LAST = "\U0010ffff"


class Table:
    """Rows in the order of their keys; `fields` are the fields that make a key.

    A search by other fields makes an order by these fields, which each later change keeps. So a
    search takes time in proportion to what it finds, and a list in proportion to its rows, also
    block by block. `derived` are further fields that follow from a row. A row that was put must not
    be changed in a field that is searched.
    """

    def __init__(self, fields: Sequence[str], rows: Iterable[Row] = (),
                 **derived: Callable[[Row], Any]) -> None:
        self._fields = tuple(fields)
        self._empty = ("",) * len(self._fields)
        self._derived = derived
        self.replace(rows)

    def key_of(self, argument: Any) -> Key:
        """Returns the key in an argument, which may be the bare key of one field."""
        if not isinstance(argument, dict):
            return (argument,)
        row = opened(argument)
        return tuple(map(row.get, self._fields, self._empty))

    def put(self, argument: Any) -> bool:
        """Keeps the row. The fields that an earlier form lacks stay as they are.

        Returns false for a row without a key.
        """
        row = {name: value for name, value in opened(argument).items() if name != "selection"}
        key = self.key_of(row)
        if not any(key):
            return False
        old = self._rows.get(key)
        self._rows[key] = {**(old or {}), **row}
        self._arrange(key, old, self._rows[key])
        return True

    def replace(self, rows: Iterable[Row]) -> None:
        """Keeps these rows and no others."""
        self._rows: Dict[Key, Row] = {}
        # The keys by the fields of each order, after the values of these fields.
        self._orders: Dict[Tuple[str, ...], List[Key]] = {(): []}
        for row in rows:
            self.put(row)

    def get(self, argument: Any) -> Optional[Row]:
        """Returns the row whose key is in the argument, or None."""
        return self._rows.get(self.key_of(argument))

    def delete(self, argument: Any) -> bool:
        """Removes the row whose key is in the argument. Returns whether there was one."""
        key = self.key_of(argument)
        row = self._rows.pop(key, None)
        if row is None:
            return False
        self._arrange(key, row, None)
        return True

    def rows(self, **wanted: Any) -> List[Row]:
        """Returns the rows with these values, in the order of their keys."""
        return self.after((), 0, within=tuple(wanted.values()), by=self._by(wanted))

    def first(self, **wanted: Any) -> Optional[Row]:
        """Returns the first of the rows with these values, or None."""
        found = self.after((), 1, within=tuple(wanted.values()), by=self._by(wanted))
        return found[0] if found else None

    def count(self, **wanted: Any) -> int:
        """Returns the number of rows with these values. The next part of a key must be a text."""
        order, within = self._order(self._by(wanted)), tuple(wanted.values())
        return bisect.bisect_left(order, (*within, LAST)) - bisect.bisect_left(order, within)

    def after(self, last: Key, most: int, within: Key = (), by: Tuple[str, ...] = (),
              keep: Callable[[Row], bool] = lambda row: True) -> List[Row]:
        """Returns at most `most` rows after the key `last`, all for 0 or less.

        With `by`, in the order of these fields, which then are the first in a key. With `within`,
        `last` is what follows it in a key, and only keys that begin with it count. A `last` of
        empty texts is before all. A row that `keep` denies is passed over.
        """
        found = (self._rows[key[len(by):]] for key in self._keys_after(last, within, by))
        return list(itertools.islice(filter(keep, found), most if most > 0 else None))

    def beginning(self, start: str, skipped: int, most: int, **wanted: Any) -> List[Row]:
        """Returns rows with these values whose key begins with the text `start`.

        At most `most`, all for 0 or less, and not the first `skipped` ones.
        """
        by, within = self._by(wanted), tuple(wanted.values())
        order = self._order(by)
        first = bisect.bisect_left(order, (*within, start)) + max(0, skipped)
        end = bisect.bisect_left(order, (*within, start + LAST))
        keys = order[first:min(first + most, end) if most > 0 else end]
        return [self._rows[key[len(by):]] for key in keys]

    def _keys_after(self, last: Key, within: Key, by: Tuple[str, ...]) -> Iterator[Key]:
        order = self._order(by)
        first = (bisect.bisect_right(order, (*within, *last)) if any(last)
                 else bisect.bisect_left(order, within))
        for place in range(first, len(order)):
            key = order[place]
            if key[:len(within)] != within:
                return
            yield key

    def _by(self, wanted: Iterable[str]) -> Tuple[str, ...]:
        """Returns the order for a search by these fields, none if a key begins with them."""
        fields = tuple(wanted)
        return () if fields == self._fields[:len(fields)] else fields

    def _order(self, by: Tuple[str, ...]) -> List[Key]:
        if by not in self._orders:
            self._orders[by] = sorted(self._place(key, row, by) for key, row in self._rows.items())
        return self._orders[by]

    def _place(self, key: Key, row: Row, by: Tuple[str, ...]) -> Key:
        return (*[self._derived[field](row) if field in self._derived else row.get(field, "")
                  for field in by], *key)

    def _arrange(self, key: Key, old: Optional[Row], new: Optional[Row]) -> None:
        """Moves a row in each order. It was not there without `old`, and goes without `new`."""
        for by, order in self._orders.items():
            earlier = None if old is None else self._place(key, old, by)
            later = None if new is None else self._place(key, new, by)
            if earlier != later and earlier is not None:
                put_or_remove(order, earlier, False)
            if earlier != later and later is not None:
                put_or_remove(order, later, True)

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
        return self.after((asked.get("pos", ""),), asked.get("anz", 0))


def window(items: List[Any], start: int, most: int) -> List[Any]:
    """Returns at most `most` items from number `start` on; all for 0 or less."""
    first = max(0, start)
    return items[first:first + most] if most > 0 else items[first:]


def put_or_remove(ordered: List[Any], item: Any, wanted: bool) -> None:
    """Leaves `item` in the ordered list if it is `wanted`, else takes it out."""
    at = bisect.bisect_left(ordered, item)
    there = ordered[at:at + 1] == [item]
    if wanted and not there:
        ordered.insert(at, item)
    elif there and not wanted:
        del ordered[at]
