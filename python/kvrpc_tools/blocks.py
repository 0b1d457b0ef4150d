"""Reads in pieces what a procedure gives in blocks, through `pos` and `anz` or `lng`.

    position            moves on by                          yields
    a number and anz    the number of entries                each entry: a node of the list
    a name and anz      to the name of the last entry        each entry: a node of the list
    a number and lng    the `lng` of the result, or to its   each piece of text, or each line:
                        `pos` if the result has one          a node of the list

A block that starts at a name may include that entry, so an entry that is given again is left out.
The last block is empty or says that it is not `ok`, so there is one call more than blocks. A server
that gives the same list again instead of the next block ends the reading with BlockError, because
it would go on for ever.
"""

from __future__ import annotations

from typing import Any, Callable, Dict, Iterator, List, Optional

from .errors import KvrpcError
from .schema import Procedure, Record, Schema, WireType

ENTRIES = 50  # the default size of a block: a reply over UDP has 8,800 bytes
BYTES = 4000

Progress = Callable[[int], object]


class BlockError(KvrpcError):
    """The first block could not be read, or the server gives the same block again and again."""


class Blocks:
    """How one procedure reads blocks. Raises ValueError if it has no `pos` with `anz` or `lng`."""

    def __init__(self, schema: Schema, procedure: Procedure) -> None:
        self._schema = schema
        self._procedure = procedure
        self._result = schema.records.get(procedure.result.record)
        records = [schema.records[name] for name in sorted(schema.reachable(procedure.argument))]
        asks = any(_size_key(record) for record in records)
        gives = _type_of(self._result, "first") or _type_of(self._result, "data")
        if not asks or not gives:
            raise ValueError(f"{procedure.name} does not read in blocks")

    def read(self, call: Callable[[Any], Any], argument: Dict[str, Any], step: Optional[int],
             progress: Optional[Progress]) -> Iterator[Any]:
        """Yields what the blocks hold. `call` makes one call with the argument that it is given."""
        record, path = self._opened(argument)
        asked = dict(argument[path] if path else argument)
        size = _size_key(record)
        name_of = self._name_of(record)
        asked[size] = step or asked.get(size) or (ENTRIES if size == "anz" else BYTES)
        done, before = 0, None
        while True:
            result = call({**argument, path: {**asked}} if path else {**asked})
            if self._failed(result, first=before is None):
                return
            items, length = self._items(result)
            if items == before and size == "anz" and items:
                raise BlockError(f"{self._procedure.name}: the server gives the same block again")
            before = items
            if name_of is not None:
                items = _without_repeated(items, asked.get("pos"), name_of)
                length = len(items)
            if length == 0:
                return
            done += length
            yield from items
            if progress is not None:
                progress(done)
            position = self._next(result, items, asked, length, name_of)
            if position == asked.get("pos"):
                raise BlockError(f"{self._procedure.name}: the server does not move on")
            asked["pos"] = position

    def _next(self, result: Any, items: List[Any], asked: Dict[str, Any], length: int,
              name_of: Optional[Callable[[Any], str]]) -> Any:
        if name_of is not None:
            return name_of(items[-1])
        return result["pos"] if "pos" in result else asked.get("pos", 0) + length

    def _opened(self, argument: Dict[str, Any]) -> "tuple[Record, str]":
        """Returns the structure with `pos`, and the key of the arm that holds it or ""."""
        record = self._schema.records[self._procedure.argument.record]
        if not record.is_union:
            return record, ""
        for arm in record.fields:
            if arm.value == argument.get(record.discriminant):
                return self._schema.records[arm.type.record], arm.key
        raise ValueError(f"{self._procedure.name}: {record.discriminant} selects no case")

    def _items(self, result: Any) -> "tuple[List[Any], int]":
        """Returns the entries of a result, or its text as the only one, and their length."""
        held = result["first"] if "first" in result else result["data"]
        if isinstance(held, list):
            return held, len(held)
        return [held], result["lng"]

    def _failed(self, result: Any, first: bool) -> bool:
        """Returns true if the result says so. Raises BlockError if it is the first one."""
        failed = not result.get("ok", True) or result.get("errcode", 0) != 0
        if failed and first:
            told = ", ".join(f"{key} {result[key]}" for key in ("ok", "errcode") if key in result)
            raise BlockError(f"{self._procedure.name}: the server says {told}")
        return failed

    def _name_of(self, asked: Record) -> Optional[Callable[[Any], str]]:
        """Returns the function that gives the name of an entry, or None if positions are numbers.

        The name is the first text of the entry that is as long as `pos` and not in the argument.
        """
        position = _type_of(asked, "pos")
        if position is None or position.kind != "chars":
            return None
        known = {field.key for field in asked.fields}

        def key_of(record: Record) -> str:
            return next(field.key for field in record.fields
                        if field.type == position and field.key not in known)

        first = _type_of(self._result, "first")
        assert first is not None
        node = self._schema.records[first.record]
        inner = _type_of(node, "data")
        if inner is None:
            key = key_of(node)
            return lambda entry: str(entry[key])
        data = self._schema.records[inner.record]
        if not data.is_union:
            key = key_of(data)
            return lambda entry: str(entry["data"][key])
        arms = {arm.value: arm for arm in data.fields}

        def name(entry: Any) -> str:
            arm = arms[entry["data"][data.discriminant]]
            return str(entry["data"][arm.key][key_of(self._schema.records[arm.type.record])])
        return name


def _without_repeated(items: List[Any], last: Any, name_of: Callable[[Any], str]) -> List[Any]:
    return items[1:] if items and last and name_of(items[0]) == last else items


def _type_of(record: Optional[Record], key: str) -> Optional[WireType]:
    fields = record.fields if record is not None else ()
    return next((field.type for field in fields if field.key == key), None)


def _size_key(record: Record) -> str:
    keys = {field.key for field in record.fields}
    return next((key for key in ("anz", "lng") if {"pos", key} <= keys), "")
