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
from typing import Any, Callable, Dict, Iterator, List, Sequence, Tuple

from kvrpc_tools.schema import Field, Record, Schema, WireType
from kvrpc_tools.simulator.characters import (
    SERVER_CODE,
    bytes_of,
    filled,
    text_of,
    text_of_units,
    units_of,
)
from kvrpc_tools.simulator.runs import (
    Fields,
    Node,
    ReadInto,
    Write,
    is_fixed,
    run_reader,
    run_writer,
    runs,
)
from kvrpc_tools.simulator.xdr import Reader, Writer, XdrError, low_short

Read = Callable[[Reader], Any]
Steps = Sequence[Callable[[Any, Node], None]]


class Codec:
    """Reads and writes values of any type of one schema.

    With `null_texts`, it writes every counted text without a byte, as no server does.
    """

    def __init__(self, schema: Schema, null_texts: bool = False) -> None:
        self._records = schema.records
        self._null_texts = null_texts
        self._readers: Dict[WireType, Read] = {}
        self._writers: Dict[WireType, Write] = {}
        self._chains: Dict[str, Tuple[Read, Write]] = {}

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
        read = self._reader(kind)

        def decode(data: bytes) -> Any:
            reader = Reader(data)
            value = read(reader)
            reader.must_be_at_end()
            return value
        return decode

    def encoder(self, kind: WireType) -> Callable[[Any], bytes]:
        """Returns what `encode` does with this type."""
        write = self._writer(kind)

        def encode(value: Any) -> bytes:
            writer = Writer()
            write(writer, value)
            return writer.written()
        return encode

    def _reader(self, kind: WireType) -> Read:
        read = self._readers.get(kind)
        if read is None:
            read = self._readers[kind] = self._compiled_reader(kind)
        return read

    def _writer(self, kind: WireType) -> Write:
        write = self._writers.get(kind)
        if write is None:
            write = self._writers[kind] = self._compiled_writer(kind)
        return write

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

    def _compiled_writer(self, kind: WireType) -> Write:
        count = kind.count
        if kind.kind == "vector":
            return self._vector_writer(kind)
        if kind.kind == "array":
            return self._array_writer(kind)
        if kind.kind == "pointer":
            return self._chain(kind.record)[1]
        if kind.kind == "record":
            record = self._records[kind.record]
            return self._union_writer(record) if record.is_union else self._fields_writer(record)
        if self._null_texts and kind.kind in ("text", "counted_text", "string"):
            return lambda writer, value: writer.counted(b"")
        writers: Dict[str, Write] = {
            "nothing": lambda writer, value: None,
            "unspecified": lambda writer, value: None,
            **dict.fromkeys(("long", "int", "u_long"),
                            lambda writer, value: writer.long(value or 0)),
            "short": lambda writer, value: writer.long(low_short(value or 0)),
            "bool": Writer.flag,
            "chars": lambda writer, value: writer.raw(units_of(value, count)),
            "schars": lambda writer, value: writer.raw(units_of(value, count)),
            "text": lambda writer, value: writer.counted(bytes_of(value or "") + b"\0"),
            "counted_text": lambda writer, value: writer.counted(
                (bytes_of(value or "") + b"\0")[:count]),
            "fixed_text": lambda writer, value: writer.fixed(filled(value, count)),
            "string": lambda writer, value: writer.counted(bytes_of(value or "")),
            "opaque": lambda writer, value: writer.fixed(
                (value or b"")[:count].ljust(count, b"\0")),
            "blob": lambda writer, value: writer.counted(value or b""),
        }
        return writers[kind.kind]

    # ---- elements

    def _vector_reader(self, kind: WireType) -> Read:
        assert kind.item is not None
        item = self._reader(kind.item)
        return lambda reader: [item(reader) for _ in range(kind.count)]

    def _vector_writer(self, kind: WireType) -> Write:
        assert kind.item is not None
        item = self._writer(kind.item)

        def write(writer: Writer, value: Any) -> None:
            items = list(value or [])[:kind.count]
            for each in items + [None] * (kind.count - len(items)):
                item(writer, each)
        return write

    def _array_writer(self, kind: WireType) -> Write:
        item = self._writer(WireType("record", record=kind.record))

        def write(writer: Writer, value: Any) -> None:
            writer.long(len(value or []))
            for each in value or []:
                item(writer, each)
        return write

    # ---- records and unions

    def _fields_reader(self, record: Record) -> Read:
        steps = self._reading(record.name, record.fields)

        def read(reader: Reader) -> Node:
            row: Node = {}
            for step in steps:
                step(reader, row)
            return row
        return read

    def _fields_writer(self, record: Record) -> Write:
        steps = self._writing(record.name, record.fields)

        def write(writer: Writer, value: Any) -> None:
            row = value or {}
            for step in steps:
                step(writer, row)
        return write

    def _reading(self, owner: str, fields: Fields) -> List[ReadInto]:
        """Returns what reads the fields in turn, one step for each run."""
        return [run_reader(run) if is_fixed(run[0])
                else self._field_reader(owner, run[0]) for run in runs(fields)]

    def _writing(self, owner: str, fields: Fields) -> List[Write]:
        return [run_writer(run) if is_fixed(run[0])
                else self._field_writer(owner, run[0]) for run in runs(fields)]

    def _field_reader(self, owner: str, field: Field) -> ReadInto:
        key, read = field.key, (self._chain(owner)[0] if field.type.kind == "list_next"
                                else self._reader(field.type))

        def read_into(reader: Reader, row: Node) -> None:
            row[key] = read(reader)
        return read_into

    def _field_writer(self, owner: str, field: Field) -> Write:
        key, write = field.key, (self._chain(owner)[1] if field.type.kind == "list_next"
                                 else self._writer(field.type))
        return lambda writer, row: write(writer, row.get(key))

    def _union_reader(self, record: Record) -> Read:
        arms = {arm.value: (arm.key, self._reader(arm.type)) for arm in record.fields}

        def read(reader: Reader) -> Node:
            selected = reader.long()
            key, read_arm = _arm(record, arms, selected)
            return {record.discriminant: selected, key: read_arm(reader)}
        return read

    def _union_writer(self, record: Record) -> Write:
        arms = {arm.value: (arm.key, self._writer(arm.type)) for arm in record.fields}
        first = record.fields[0].value

        def write(writer: Writer, value: Any) -> None:
            row = value or {}
            selected = row.get(record.discriminant, first)
            key, write_arm = _arm(record, arms, selected)
            writer.long(selected)
            write_arm(writer, row.get(key))
        return write

    # ---- chains
    #
    # A chain has a flag before each node and after the last one. A node's successor is where its
    # `next` is, so the fields before `next` come from the first node to the last, and the fields
    # after it from the last node to the first.

    def _chain(self, name: str) -> Tuple[Read, Write]:
        """Returns what reads and what writes a list of these nodes."""
        if name not in self._chains:
            fields = self._records[name].fields
            at = next(i for i, field in enumerate(fields) if field.type.kind == "list_next")
            before, after = fields[:at], fields[at + 1:]
            self._chains[name] = (
                _chain_reader(self._reading(name, before), self._reading(name, after)),
                _chain_writer(self._writing(name, before), self._writing(name, after)))
        return self._chains[name]


def _decode_nothing(data: bytes) -> None:
    Reader(data).must_be_at_end()


def _chain_reader(before: List[ReadInto], after: List[ReadInto]) -> Read:
    def announced(reader: Reader) -> Iterator[Node]:
        while reader.flag():
            yield {}

    def read(reader: Reader) -> List[Node]:
        return _through_chain(reader, announced(reader), before, after)
    return read


def _chain_writer(before: List[Write], after: List[Write]) -> Write:
    def announced(writer: Writer, nodes: List[Node]) -> Iterator[Node]:
        for node in nodes:
            writer.flag(True)
            yield node
        writer.flag(False)

    def write(writer: Writer, value: Any) -> None:
        _through_chain(writer, announced(writer, value or []), before, after)
    return write


def _through_chain(stream: Any, announced: Iterator[Node],
                   before: Steps, after: Steps) -> List[Node]:
    """Takes each node of a list through its steps: the fields before the link in the list's order,
    the fields after it from the last node back to the first. Returns the nodes."""
    nodes = []
    for node in announced:
        for step in before:
            step(stream, node)
        nodes.append(node)
    if after:
        for node in reversed(nodes):
            for step in after:
                step(stream, node)
    return nodes


def _arm(record: Record, arms: Dict[int, Any], selected: int) -> Any:
    try:
        return arms[selected]
    except KeyError:
        raise XdrError(f"{record.discriminant} has no value {selected}") from None


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
