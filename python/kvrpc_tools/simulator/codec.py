"""Values of the interface to XDR and back, driven by the schema.

    kind                            value
    nothing                         None
    long int u_long short           int
    bool                            bool
    chars schars text counted_text
      fixed_text string             str, one character for each byte of the servers' code
    opaque blob                     bytes
    pointer list_next               list of nodes, first to last; a node has no "next" of its own
    vector array                    list
    record                          dict by field; a union is {discriminant: n, arm: value}

Encoding fills what a value leaves out (None, or a missing key) with zeroes, so that an answer
names only what it has to say. The first arm is that of a union without discriminant.

Each type is compiled once, to functions that know its fields. `runs` has those for fields of fixed
size that follow each other.
"""

from __future__ import annotations

import base64
from typing import Any, Callable, Dict, List, Optional, Tuple

from kvrpc_tools.schema import Field, Record, Schema, WireType
from kvrpc_tools.simulator.characters import (
    SERVER_CODE,
    UNITS_OF,
    bytes_of,
    filled,
    text_of,
    text_of_units,
)
from kvrpc_tools.simulator.runs import (
    Encode,
    Fields,
    Node,
    ReadInto,
    is_fixed,
    run_decoder,
    run_encoder,
    run_reader,
    runs,
)
from kvrpc_tools.simulator.xdr import (
    Reader,
    XdrError,
    counted_bytes,
    fixed_bytes,
    flag_bytes,
    long_bytes,
    low_short,
)

Read = Callable[[Reader], Any]


class Codec:
    """Reads and writes values of any type of one schema.

    With `null_texts`, it writes every counted text without a byte, as no server does.
    """

    def __init__(self, schema: Schema, null_texts: bool = False) -> None:
        self._records = schema.records
        self._null_texts = null_texts
        self._readers: Dict[WireType, Read] = {}
        self._encoders: Dict[WireType, Encode] = {}
        self._chains: Dict[str, Tuple[Read, Encode]] = {}

    def decode(self, kind: WireType, data: bytes) -> Any:
        """Returns the value that `data` holds. Raises XdrError if it holds less, or more."""
        return self.decoder(kind)(data)

    def encode(self, kind: WireType, value: Any) -> bytes:
        """Returns the bytes of `value`; None gives the type's zeroes."""
        return self.encoder(kind)(value)

    def decoder(self, kind: WireType) -> Callable[[bytes], Any]:
        """Returns what `decode` does with this type."""
        if kind.kind == "nothing":
            return _decode_nothing
        run = self._only_run(kind)
        if run is not None:
            return run_decoder(run)
        read = self._reader(kind)

        def decode(data: bytes) -> Any:
            reader = Reader(data)
            value = read(reader)
            reader.must_be_at_end()
            return value
        return decode

    def _only_run(self, kind: WireType) -> Optional[Fields]:
        """Returns the fields of a record that is one run. Such a value needs no stream."""
        record = self._records.get(kind.record) if kind.kind == "record" else None
        if record is None or record.is_union or not all(map(is_fixed, record.fields)):
            return None
        return record.fields

    def _reader(self, kind: WireType) -> Read:
        read = self._readers.get(kind)
        if read is None:
            read = self._readers[kind] = self._compiled_reader(kind)
        return read

    def encoder(self, kind: WireType) -> Encode:
        """Returns what `encode` does with this type."""
        encode = self._encoders.get(kind)
        if encode is None:
            encode = self._encoders[kind] = self._compiled_encoder(kind)
        return encode

    # ---- types

    def _compiled_reader(self, kind: WireType) -> Read:
        count = kind.count
        if kind.kind == "vector":
            return self._vector_reader(kind)
        if kind.kind == "array":
            item = self._reader(WireType("record", record=kind.record))
            return lambda reader: [item(reader) for _ in range(reader.u_long())]
        if kind.kind == "pointer":
            return self._chain(kind.record)[0]
        if kind.kind == "record":
            record = self._records[kind.record]
            return self._union_reader(record) if record.is_union else self._fields_reader(record)
        readers: Dict[str, Read] = {
            "nothing": lambda reader: None,
            "unspecified": Reader.rest,
            "long": Reader.long,
            "int": Reader.long,
            "u_long": Reader.u_long,
            "short": lambda reader: low_short(reader.long()),
            "bool": Reader.flag,
            "chars": lambda reader: text_of_units(reader.fixed(4 * count)),
            "schars": lambda reader: text_of_units(reader.fixed(4 * count)),
            "text": lambda reader: text_of(reader.counted()),
            "counted_text": lambda reader: text_of(reader.counted(count)),
            "fixed_text": lambda reader: text_of(reader.fixed(count)),
            "string": lambda reader: reader.counted().decode(SERVER_CODE),
            "opaque": lambda reader: reader.fixed(count),
            "blob": Reader.counted,
        }
        return readers[kind.kind]

    def _compiled_encoder(self, kind: WireType) -> Encode:
        count = kind.count
        if kind.kind == "vector":
            return self._vector_encoder(kind)
        if kind.kind == "array":
            return self._array_encoder(kind)
        if kind.kind == "pointer":
            return self._chain(kind.record)[1]
        if kind.kind == "record":
            record = self._records[kind.record]
            return self._union_encoder(record) if record.is_union else self._row_encoder(record)
        if self._null_texts and kind.kind in ("text", "counted_text", "string"):
            return lambda value: counted_bytes(b"")
        encoders: Dict[str, Encode] = {
            "nothing": lambda value: b"",
            "unspecified": lambda value: b"",
            **dict.fromkeys(("long", "int", "u_long"), lambda value: long_bytes(value or 0)),
            "short": lambda value: long_bytes(low_short(value or 0)),
            "bool": flag_bytes,
            "chars": lambda value: UNITS_OF[count][value],
            "schars": lambda value: UNITS_OF[count][value],
            "text": lambda value: counted_bytes(bytes_of(value or "") + b"\0"),
            "counted_text": lambda value: counted_bytes((bytes_of(value or "") + b"\0")[:count]),
            "fixed_text": lambda value: fixed_bytes(filled(value, count)),
            "string": lambda value: counted_bytes(bytes_of(value or "")),
            "opaque": lambda value: fixed_bytes((value or b"")[:count].ljust(count, b"\0")),
            "blob": lambda value: counted_bytes(value or b""),
        }
        return encoders[kind.kind]

    # ---- elements

    def _vector_reader(self, kind: WireType) -> Read:
        assert kind.item is not None
        item = self._reader(kind.item)
        return lambda reader: [item(reader) for _ in range(kind.count)]

    def _vector_encoder(self, kind: WireType) -> Encode:
        assert kind.item is not None
        item = self.encoder(kind.item)

        def encode(value: Any) -> bytes:
            items = list(value or [])[:kind.count]
            return b"".join(map(item, items + [None] * (kind.count - len(items))))
        return encode

    def _array_encoder(self, kind: WireType) -> Encode:
        item = self.encoder(WireType("record", record=kind.record))
        return lambda value: long_bytes(len(value or [])) + b"".join(map(item, value or []))

    # ---- records and unions

    def _fields_reader(self, record: Record) -> Read:
        steps = self._reading(record.name, record.fields)

        def read(reader: Reader) -> Node:
            row: Node = {}
            for step in steps:
                step(reader, row)
            return row
        return read

    def _row_encoder(self, record: Record) -> Encode:
        steps = self._encoding(record.name, record.fields)
        if len(steps) == 1:
            only = steps[0]
            return lambda value: only(value or {})

        def encode(value: Any) -> bytes:
            row = value or {}
            return b"".join([step(row) for step in steps])
        return encode

    def _reading(self, owner: str, fields: Fields) -> List[ReadInto]:
        """Returns what reads the fields in turn, one step for each run."""
        return [run_reader(run) if is_fixed(run[0])
                else self._field_reader(owner, run[0]) for run in runs(fields)]

    def _encoding(self, owner: str, fields: Fields) -> List[Encode]:
        """Returns what makes bytes of the fields of a row, one function for each run."""
        return [run_encoder(run) if len(run) > 1
                else self._field_encoder(owner, run[0]) for run in runs(fields)]

    def _field_reader(self, owner: str, field: Field) -> ReadInto:
        key, read = field.key, (self._chain(owner)[0] if field.type.kind == "list_next"
                                else self._reader(field.type))

        def read_into(reader: Reader, row: Node) -> None:
            row[key] = read(reader)
        return read_into

    def _field_encoder(self, owner: str, field: Field) -> Encode:
        key, encode = field.key, (self._chain(owner)[1] if field.type.kind == "list_next"
                                  else self.encoder(field.type))
        return lambda row: encode(row.get(key))

    def _union_reader(self, record: Record) -> Read:
        arms = {arm.value: (arm.key, self._reader(arm.type)) for arm in record.fields}
        discriminant = record.discriminant

        def read(reader: Reader) -> Node:
            selected = reader.long()
            if selected not in arms:
                raise _no_arm(record, selected)
            key, read_arm = arms[selected]
            return {discriminant: selected, key: read_arm(reader)}
        return read

    def _union_encoder(self, record: Record) -> Encode:
        arms = {arm.value: (arm.key, self.encoder(arm.type)) for arm in record.fields}
        discriminant, first = record.discriminant, record.fields[0].value

        def encode(value: Any) -> bytes:
            row = value or {}
            selected = row.get(discriminant, first)
            if selected not in arms:
                raise _no_arm(record, selected)
            key, encode_arm = arms[selected]
            return long_bytes(selected) + encode_arm(row.get(key))
        return encode

    # ---- chains
    #
    # A chain has a flag before each node and after the last one. A node's successor is where its
    # `next` is, so the fields before `next` come from the first node to the last, and the fields
    # after it from the last node to the first.

    def _chain(self, name: str) -> Tuple[Read, Encode]:
        """Returns what reads and what writes a list of these nodes."""
        if name not in self._chains:
            fields = self._records[name].fields
            at = next(i for i, field in enumerate(fields) if field.type.kind == "list_next")
            before, after = fields[:at], fields[at + 1:]
            self._chains[name] = (
                _chain_reader(self._reading(name, before), self._reading(name, after)),
                _chain_encoder(self._encoding(name, before), self._encoding(name, after)))
        return self._chains[name]


def _decode_nothing(data: bytes) -> None:
    Reader(data).must_be_at_end()


def _chain_reader(before: List[ReadInto], after: List[ReadInto]) -> Read:
    def read(reader: Reader) -> List[Node]:
        nodes: List[Node] = []
        while reader.flag():
            nodes.append({})
            for step in before:
                step(reader, nodes[-1])
        for node in reversed(nodes) if after else ():
            for step in after:
                step(reader, node)
        return nodes
    return read


def _chain_encoder(before: List[Encode], after: List[Encode]) -> Encode:
    """The fields before the link follow in the list's order, those after it from the last node."""
    def encode(value: Any) -> bytes:
        parts: List[bytes] = []
        for node in value or ():
            parts.append(flag_bytes(True))
            parts += [step(node) for step in before]
        parts.append(flag_bytes(False))
        for node in reversed(value or ()) if after else ():
            parts += [step(node) for step in after]
        return b"".join(parts)
    return encode


def _no_arm(record: Record, selected: Any) -> XdrError:
    return XdrError(f"{record.discriminant} has no value {selected}")


def as_decoded(schema: Schema, wire: WireType, value: Any) -> Any:
    """Returns a result with its Base64 texts as bytes, which is how the codec has them."""
    if wire.kind in ("opaque", "blob"):
        return base64.b64decode(value) if isinstance(value, str) else value
    if isinstance(value, list):
        item = wire.item or WireType("record", record=wire.record)
        return [as_decoded(schema, item, each) for each in value]
    if isinstance(value, dict):
        types = {field.key: field.type for field in schema.records[wire.record].fields}
        return {key: as_decoded(schema, types[key], each) if key in types else each
                for key, each in value.items()}
    return value
