"""Gives what a procedure returns the shape that its result has.

The families speak of plain rows: one dict by field, whatever unions and envelopes the interface
wraps around it, and they read arguments in the same way. `opened` takes the wrapping off an
argument; a `Shaper` puts it onto a result:

    True, False     where a number is expected: 0, or NOT_DONE
    a list of rows  {anz, first, errcode} with a node for each, its row under "data" if it has one
    a row, or None  as it is; under the one record member of {errcode, record}; as an arm of a union
    anything else   as it is

A union's arm is the one that the row names in "selection", else the one that the argument asks for
in "outselection", else the first.
"""

from __future__ import annotations

import functools
from typing import Any, Callable, Dict, List, Optional, Tuple

from kvrpc_tools.schema import Field, Procedure, Record, Schema, WireType

NOT_DONE = 1

Row = Dict[str, Any]
Shape = Callable[[Any, Any], Any]  # argument, what the family has returned
Wrap = Callable[[Any, Optional[int]], Any]  # row or rows, the arm that the argument asks for


def opened(argument: Any) -> Row:
    """Returns the fields of an argument, without its union and its member `data`."""
    if not isinstance(argument, dict):
        return {}
    if "selection" in argument or "vers" in argument:
        arm = argument.get(f"v{argument.get('selection', argument.get('vers'))}")
        if isinstance(arm, dict):
            return opened(arm)
    if "data" in argument and isinstance(argument["data"], dict):
        outer = {key: value for key, value in argument.items() if key != "data"}
        return {**outer, **opened(argument["data"])}
    return argument


class Shaper:
    """Shapes results as one schema has them. `by_procedure` has a function for each procedure.

    It takes the argument and what the family has returned, and returns the result.
    """

    def __init__(self, schema: Schema) -> None:
        self._schema = schema
        self.by_procedure = {name: self._shape(procedure)
                             for name, procedure in schema.procedures.items()}

    def _shape(self, procedure: Procedure) -> Shape:
        kind = procedure.result
        if kind.kind in ("short", "long"):
            return _number
        if kind.kind != "record":
            return _as_it_is
        single, rows = self._single(kind), self._list(kind)
        if not self._asks_for_arm(procedure):
            return lambda argument, value: (
                rows if isinstance(value, list) else single)(value, None)
        return lambda argument, value: (rows if isinstance(value, list) else single)(
            value, opened(argument).get("outselection"))

    def _asks_for_arm(self, procedure: Procedure) -> bool:
        return any(field.key == "outselection"
                   for record in self._schema.reachable(procedure.argument)
                   for field in self._schema.records[record].fields)

    def _fields(self, kind: WireType) -> Tuple[Field, ...]:
        return self._schema.records[kind.record].fields

    def _list(self, kind: WireType) -> Wrap:
        """Returns what makes rows a result of this type, if that has a list."""
        first = next((field for field in self._fields(kind) if field.type.kind == "pointer"), None)
        if first is None:
            return _as_row
        key = first.key
        data = next((field.type for field in self._fields(first.type) if field.key == "data"), None)
        wrap = None if data is None else self._single(data)

        def shape(rows: List[Any], selection: Optional[int]) -> Row:
            nodes = rows if wrap is None else [{"data": wrap(row, selection)} for row in rows]
            return {"anz": len(rows), key: nodes, "errcode": 0, "ok": True}
        return shape

    def _single(self, kind: WireType) -> Wrap:
        """Returns what makes a row a value of this type."""
        if kind.kind != "record":
            return _as_row
        record = self._schema.records[kind.record]
        if record.is_union:
            return _arm_of(record)
        inner = _enveloped(record)
        return _as_row if inner is None else _envelope(inner.key, self._single(inner.type))


def _number(argument: Any, value: Any) -> Any:
    return (0 if value else NOT_DONE) if isinstance(value, bool) else value


def _as_it_is(argument: Any, value: Any) -> Any:
    return value


def _as_row(row: Any, selection: Optional[int]) -> Any:
    return row


def _arm_of(record: Record) -> Wrap:
    arms = {field.value: field.key for field in record.fields}
    first, discriminant = record.fields[0].value, record.discriminant

    def shape(row: Any, selection: Optional[int]) -> Row:
        value = (row or {}).get("selection", selection)
        if value not in arms:
            value = first
        return {discriminant: value, arms[value]: row or {}}
    return shape


def _envelope(key: str, wrap: Wrap) -> Wrap:
    def shape(row: Any, selection: Optional[int]) -> Any:
        if row and key in row:
            return row
        return {key: wrap(row, selection), "errcode": 0 if row else NOT_DONE}
    return shape


@functools.lru_cache(maxsize=1)
def shaper_of(schema: Schema) -> Shaper:
    """Returns the shaper of a schema, which one installation after the other can use."""
    return Shaper(schema)


def _enveloped(record: Record) -> Optional[Field]:
    """Returns the record member of {errcode, record}, or None for another shape."""
    keys = {field.key for field in record.fields}
    inner = [field for field in record.fields if field.type.kind == "record"]
    return inner[0] if "errcode" in keys and len(keys) == 2 and inner else None
