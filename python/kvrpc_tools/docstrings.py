"""The docstrings of procedures' methods and of records' types, with the limits of each field.

The methods get theirs when they are made; the build writes the same texts into the typed stubs.
"""

from __future__ import annotations

from typing import Iterator, List

from .schema import Procedure, Record, Schema, WireType

NUMBERS = {"short": "number of 16 bits", "u_long": "number of 32 bits, not negative",
           "long": "number of 32 bits", "int": "number of 32 bits"}


def type_text(schema: Schema, wire: WireType) -> str:
    """Returns a type in words. For example, char[11] gives "text, at most 10 bytes"."""
    if wire.kind in NUMBERS:
        return NUMBERS[wire.kind]
    if wire.record:
        record = schema.records[wire.record]
        several = wire.kind == "array" or (wire.kind == "pointer" and record.link is not None)
        optional = "" if several or wire.kind != "pointer" else ", or None"
        return f"{'list of ' if several else ''}{wire.record}{optional}"
    if wire.item is not None:
        return f"{wire.count} times {type_text(schema, wire.item)}"
    if wire.kind in ("opaque", "blob"):
        return f"Base64, exactly {wire.count} bytes" if wire.count else "Base64"
    if wire.kind in ("bool", "nothing", "unspecified"):
        return {"bool": "True or False", "nothing": "nothing"}.get(wire.kind, "not described")
    return f"text, at most {wire.count - 1} bytes" if wire.count else "text of any length"


def field_lines(schema: Schema, record: Record) -> Iterator[str]:
    """Yields a line for each field of a record, or for each arm of a union."""
    for field in record.fields:
        if field is not record.link:
            when = f"{record.discriminant} {field.value}: " if record.is_union else ""
            yield f"{when}{field.key}: {type_text(schema, field.type)}"


def procedure_text(schema: Schema, procedure: Procedure) -> str:
    """Returns the docstring of a procedure's method."""
    lines: List[str] = [
        schema.meanings["procedures"][procedure.name]["note"], "",
        f"Procedure {procedure.number} of {procedure.server}."
    ]
    for title, wire in (("Argument", procedure.argument), ("Result", procedure.result)):
        record = schema.records.get(wire.record)
        if record is None:
            lines += ["", f"{title}: {type_text(schema, wire)}."]
        else:
            several = "list of " if wire.kind == "array" or record.link is not None else ""
            lines += ["", f"{title}: {several}{record.name}"]
            lines += [f"    {line}" for line in field_lines(schema, record)]
    return "\n".join(lines)
