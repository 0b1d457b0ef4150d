"""Runs of fields: those of fixed size that follow each other in a record.

One `struct` reads or writes a whole run, and `map` and `zip` loop over its fields: both are several
times as fast as Python's own loops. The rows are those of `codec`.
"""

from __future__ import annotations

import struct
from operator import getitem, itemgetter
from typing import Any, Callable, Dict, List, Tuple

from kvrpc_tools.schema import Field, WireType
from kvrpc_tools.simulator.characters import UNITS_OF, text_of_units
from kvrpc_tools.simulator.xdr import Reader, XdrError, low_short

Node = Dict[str, Any]
Fields = Tuple[Field, ...]
Encode = Callable[[Any], bytes]
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


def run_decoder(fields: Fields) -> Callable[[bytes], Node]:
    """Returns what makes a row of bytes that are one run and no more."""
    layout, row_of = _layout(fields, _READ), _row_maker(fields)

    def decode(data: bytes) -> Node:
        try:
            return row_of(layout.unpack(data))
        except struct.error:
            raise XdrError(f"{len(data)} bytes where {layout.size} are expected") from None
    return decode


def run_reader(fields: Fields) -> ReadInto:
    """Returns what reads a run into a row."""
    layout, row_of = _layout(fields, _READ), _row_maker(fields)

    def read(reader: Reader, row: Node) -> None:
        row.update(row_of(reader.unpack(layout)))
    return read


def _row_maker(fields: Fields) -> Callable[[Tuple[Any, ...]], Node]:
    """Returns what makes a row of the values that `struct` has read."""
    keys = [field.key for field in fields]
    texts, flags = _keys_of(fields, *_TEXTS), _keys_of(fields, "bool")
    texts_of, flags_of = _getter(texts), _getter(flags)

    def row_of(values: Tuple[Any, ...]) -> Node:
        row = dict(zip(keys, values))
        if texts:
            row.update(zip(texts, map(text_of_units, texts_of(row))))
        if flags:
            row.update(zip(flags, map(bool, flags_of(row))))
        return row
    return row_of


def run_encoder(fields: Fields) -> Encode:
    """Returns what makes bytes of a row. In most rows, all numbers fit as they are."""
    layout = _layout(fields, _WRITE)
    cut = _cutting_encoder(fields)
    zeroes: Node = {field.key: "" if field.type.kind in _TEXTS else 0 for field in fields}
    texts, shorts = _keys_of(fields, *_TEXTS), _keys_of(fields, "short")
    all_of, texts_of, shorts_of = _getter([*zeroes]), _getter(texts), _getter(shorts)
    units = [UNITS_OF[field.type.count] for field in fields if field.key in texts]
    in_range = struct.Struct(f"{len(shorts)}h").pack

    def encode(row: Node) -> bytes:
        values = zeroes.copy()
        values.update(row)
        if texts:
            values.update(zip(texts, map(getitem, units, texts_of(values))))
        try:
            if shorts:
                in_range(*shorts_of(values))
            return layout.pack(*all_of(values))
        except (struct.error, TypeError):
            return cut(all_of(values))
    return encode


def _getter(keys: List[str]) -> Callable[[Node], Tuple[Any, ...]]:
    """Returns what takes the values of these keys out of a row."""
    if len(keys) > 1:
        return itemgetter(*keys)
    return lambda row: tuple([row[key] for key in keys])


def _keys_of(fields: Fields, *kinds: str) -> List[str]:
    return [field.key for field in fields if field.type.kind in kinds]


def _cutting_encoder(fields: Fields) -> Encode:
    layout = _layout(fields, dict.fromkeys(_WRITE, "I"))
    cuts = [_CUT[field.type.kind] for field in fields]
    return lambda values: layout.pack(*[cut(value) for cut, value in zip(cuts, values)])


def _layout(fields: Fields, codes: Dict[str, str]) -> struct.Struct:
    return struct.Struct(">" + "".join(_code(field.type, codes) for field in fields))


def _code(wire: WireType, codes: Dict[str, str]) -> str:
    return f"{4 * wire.count}s" if wire.kind in _TEXTS else codes[wire.kind]
