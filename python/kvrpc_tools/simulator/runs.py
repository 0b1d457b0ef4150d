"""Runs of fields: those of fixed size that follow each other in a record.

One `struct` reads or writes a whole run, which makes small calls twice as fast as field by field.
The rows are those of `codec`.
"""

from __future__ import annotations

import struct
from typing import Any, Callable, Dict, List, Tuple

from kvrpc_tools.schema import Field, WireType
from kvrpc_tools.simulator.characters import text_of_units, units_of
from kvrpc_tools.simulator.xdr import Reader, Writer, low_short

Node = Dict[str, Any]
Fields = Tuple[Field, ...]
Write = Callable[[Writer, Any], None]
ReadInto = Callable[[Reader, Node], None]

# How `struct` reads and writes a number. It reads the low two bytes of a short. It writes a short
# as a long, because one in range has the same four bytes.
_READ = {"long": "i", "int": "i", "u_long": "I", "short": "2xh", "bool": "I"}
_WRITE = {"long": "i", "int": "i", "u_long": "I", "short": "i", "bool": "3x?"}
_TEXTS = ("chars", "schars")

# What makes any value fit: None is 0, and a number is cut to its low bits.
_CUT: Dict[str, Callable[[Any], Any]] = {
    "short": lambda value: low_short(value or 0) & 0xFFFFFFFF,
    "bool": lambda value: 1 if value else 0,
    **dict.fromkeys(("long", "int", "u_long"), lambda value: (value or 0) & 0xFFFFFFFF),
    **dict.fromkeys(_TEXTS, lambda value: value),
}


def is_fixed(field: Field) -> bool:
    """Returns whether a field belongs to a run."""
    return field.type.kind in _READ or field.type.kind in _TEXTS


def runs(fields: Fields) -> List[Fields]:
    """Divides fields into runs and single fields of other kinds."""
    divided: List[Fields] = []
    for field in fields:
        if divided and is_fixed(field) and is_fixed(divided[-1][0]):
            divided[-1] += (field,)
        else:
            divided.append((field,))
    return divided


def run_reader(fields: Fields) -> ReadInto:
    """Returns what reads a run into a row."""
    layout = _layout(fields, _READ)
    keys = [field.key for field in fields]
    texts = [field.key for field in fields if field.type.kind in _TEXTS]
    flags = [field.key for field in fields if field.type.kind == "bool"]

    def read(reader: Reader, row: Node) -> None:
        row.update(zip(keys, reader.unpack(layout)))
        for key in texts:
            row[key] = text_of_units(row[key])
        for key in flags:
            row[key] = row[key] != 0
    return read


def run_writer(fields: Fields) -> Write:
    """Returns what writes a run from a row. In most rows, all numbers fit as they are."""
    layout = _layout(fields, _WRITE)
    cut = _cutting_writer(fields)
    keys, zeroes = [field.key for field in fields], [0] * len(fields)
    texts = [(place, field.type.count) for place, field in enumerate(fields)
             if field.type.kind in _TEXTS]
    shorts = [place for place, field in enumerate(fields) if field.type.kind == "short"]

    def write(writer: Writer, row: Any) -> None:
        values = list(map(row.get, keys, zeroes))
        for place, size in texts:
            values[place] = units_of(values[place] or "", size)
        try:
            for place in shorts:
                if not -0x8000 <= values[place] <= 0x7FFF:
                    raise OverflowError
            writer.raw(layout.pack(*values))
        except (struct.error, TypeError, OverflowError):
            writer.raw(cut(values))
    return write


def _cutting_writer(fields: Fields) -> Callable[[List[Any]], bytes]:
    layout = _layout(fields, dict.fromkeys(_WRITE, "I"))
    cuts = [_CUT[field.type.kind] for field in fields]
    return lambda values: layout.pack(*[cut(value) for cut, value in zip(cuts, values)])


def _layout(fields: Fields, codes: Dict[str, str]) -> struct.Struct:
    return struct.Struct(">" + "".join(_code(field.type, codes) for field in fields))


def _code(wire: WireType, codes: Dict[str, str]) -> str:
    return f"{4 * wire.count}s" if wire.kind in _TEXTS else codes[wire.kind]
