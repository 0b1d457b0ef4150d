"""Arguments to fill in: of each type a value that the checks take."""

from __future__ import annotations

import base64
from typing import Any, Dict

from .schema import Record, Schema, WireType

_NUMBERS = ("long", "int", "u_long", "short")


def template(schema: Schema, wire: WireType) -> Any:
    """Returns an argument of this type that the checks take: zeroes, empty texts, one node."""
    if wire.item is not None:
        return [template(schema, wire.item) for _ in range(wire.count)]
    record = schema.records.get(wire.record)
    if record is None:
        return _zero(wire)
    members = _members(schema, record)
    return [members] if wire.kind == "array" or record.link is not None else members


def _members(schema: Schema, record: Record) -> Dict[str, Any]:
    if record.is_union:
        arm = record.fields[0]
        return {record.discriminant: arm.value, arm.key: template(schema, arm.type)}
    return {field.key: template(schema, field.type)
            for field in record.fields if field is not record.link}


def _zero(wire: WireType) -> Any:
    if wire.kind in _NUMBERS:
        return 0
    if wire.kind in ("nothing", "unspecified"):
        return None
    if wire.kind == "opaque":
        return base64.b64encode(bytes(wire.count)).decode()
    return False if wire.kind == "bool" else ""
