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
from typing import Any, Dict, List, Optional, Tuple

from kvrpc_tools.schema import Field, Record, Schema, WireType

NOT_DONE = 1

Row = Dict[str, Any]


def opened(argument: Any) -> Row:
    """Returns the fields of an argument, without its union and its member `data`."""
    if not isinstance(argument, dict):
        return {}
    version = argument.get("selection", argument.get("vers"))
    if version is not None:
        arm = argument.get(f"v{version}")
        if isinstance(arm, dict):
            return opened(arm)
    inner = argument.get("data")
    if isinstance(inner, dict):
        outer = {key: value for key, value in argument.items() if key != "data"}
        return {**outer, **opened(inner)}
    return argument


class Shaper:
    """Shapes results as one schema has them."""

    def __init__(self, schema: Schema) -> None:
        self._schema = schema
        self._asks_for_arm = {
            name: any(field.key == "outselection"
                      for record in schema.reachable(procedure.argument)
                      for field in schema.records[record].fields)
            for name, procedure in schema.procedures.items()}
        self._envelopes = {name: _enveloped(record) for name, record in schema.records.items()}
        self._arms = {name: {field.value: field.key for field in record.fields}
                      for name, record in schema.records.items() if record.is_union}

    def shape(self, procedure: str, argument: Any, value: Any) -> Any:
        """Returns the result of a procedure from what its family has returned."""
        kind = self._schema.procedures[procedure].result
        if kind.kind in ("short", "long") and isinstance(value, bool):
            return 0 if value else NOT_DONE
        if kind.kind != "record":
            return value
        selection = (opened(argument).get("outselection") if self._asks_for_arm[procedure]
                     else None)
        if isinstance(value, list):
            return self._list(kind, value, selection)
        return self._single(kind, value, selection)

    def _fields(self, kind: WireType) -> Tuple[Field, ...]:
        return self._schema.records[kind.record].fields

    def _list(self, kind: WireType, rows: List[Any], selection: Optional[int]) -> Row:
        first = next(field for field in self._fields(kind) if field.type.kind == "pointer")
        data = next((field.type for field in self._fields(first.type)
                     if field.key == "data"), None)
        nodes = rows if data is None else [
            {"data": self._single(data, row, selection)} for row in rows]
        return {"anz": len(rows), first.key: nodes, "errcode": 0, "ok": True}

    def _single(self, kind: WireType, row: Any, selection: Optional[int]) -> Any:
        if kind.kind != "record":
            return row
        record = self._schema.records[kind.record]
        if record.is_union:
            return self._arm(record, row or {}, selection)
        inner = self._envelopes[kind.record]
        if inner is None or (row and inner.key in row):
            return row
        return {inner.key: self._single(inner.type, row, selection),
                "errcode": 0 if row else NOT_DONE}

    def _arm(self, record: Record, row: Row, selection: Optional[int]) -> Row:
        arms = self._arms[record.name]
        wanted = row.get("selection", selection)
        value = wanted if wanted in arms else next(iter(arms))
        return {record.discriminant: value, arms[value]: row}


@functools.lru_cache(maxsize=1)
def shaper_of(schema: Schema) -> Shaper:
    """Returns the shaper of a schema, which one installation after the other can use."""
    return Shaper(schema)


def _enveloped(record: Record) -> Optional[Field]:
    """Returns the record member of {errcode, record}, or None for another shape."""
    keys = {field.key for field in record.fields}
    inner = [field for field in record.fields if field.type.kind == "record"]
    return inner[0] if "errcode" in keys and len(keys) == 2 and inner else None
