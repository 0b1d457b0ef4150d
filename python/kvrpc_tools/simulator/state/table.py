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

    A list takes time in proportion to its rows, also block by block.
    """

    def __init__(self, fields: Sequence[str], rows: Iterable[Row] = ()) -> None:
        self._fields = tuple(fields)
        self._empty = ("",) * len(self._fields)
        self._rows: Dict[Key, Row] = {}
        self._order: List[Key] = []  # the keys in their order
        self._views: Dict[Key, Table] = {}
        for row in rows:
            self.put(row)

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
        if key not in self._rows:
            bisect.insort(self._order, key)
        self._views = {}
        self._rows[key] = {**self._rows.get(key, {}), **row}
        return True

    def replace(self, rows: Iterable[Row]) -> None:
        """Keeps these rows and no others."""
        self._rows, self._order, self._views = {}, [], {}
        for row in rows:
            self.put(row)

    def get(self, argument: Any) -> Optional[Row]:
        """Returns the row whose key is in the argument, or None."""
        return self._rows.get(self.key_of(argument))

    def delete(self, argument: Any) -> bool:
        """Removes the row whose key is in the argument. Returns whether there was one."""
        key = self.key_of(argument)
        if self._rows.pop(key, None) is None:
            return False
        del self._order[bisect.bisect_left(self._order, key)]
        self._views = {}
        return True

    def rows(self, **wanted: Any) -> List[Row]:
        """Returns the rows with these values, in the order of their keys."""
        if wanted and tuple(wanted) == self._fields[:len(wanted)]:
            return self.after((), 0, within=tuple(wanted.values()))
        return [self._rows[key] for key in self._order
                if all(self._rows[key].get(field) == value for field, value in wanted.items())]

    def after(self, last: Key, most: int, within: Key = (),
              keep: Callable[[Row], bool] = lambda row: True) -> List[Row]:
        """Returns at most `most` rows after the key `last`, all for 0 or less.

        With `within`, `last` is what follows it in a key, and only keys that begin with it count.
        A `last` of empty texts is before all. A row that `keep` denies is passed over.
        """
        kept = (self._rows[key] for key in self._keys_after(last, within)
                if keep(self._rows[key]))
        return list(itertools.islice(kept, most if most > 0 else None))

    def _keys_after(self, last: Key, within: Key) -> Iterator[Key]:
        first = (bisect.bisect_right(self._order, (*within, *last)) if any(last)
                 else bisect.bisect_left(self._order, within))
        for place in range(first, len(self._order)):
            key = self._order[place]
            if key[:len(within)] != within:
                return
            yield key

    def by(self, *fields: str) -> Table:
        """Returns the rows in the order of these fields. Such a view holds until a row changes."""
        if fields not in self._views:
            view = self._views[fields] = Table([*fields, *self._fields])
            view._rows = {view.key_of(row): row for row in self._rows.values()}
            view._order = sorted(view._rows)
        return self._views[fields]

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
