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
names only what it has to say. The first arm stands for a union without discriminant.
"""

from __future__ import annotations

from typing import Any, Callable, Dict, List, Tuple

from kvrpc_tools.schema import Field, Record, Schema, WireType
from kvrpc_tools.simulator.xdr import Reader, Writer, XdrError, low_short

# Python's table has a character for each of the 256 bytes, so that any text passes unchanged.
SERVER_CODE = "iso8859-15"

Node = Dict[str, Any]
Fields = Tuple[Field, ...]


def text_of(data: bytes) -> str:
    """The text in a field: its bytes up to the first NUL."""
    return data.split(b"\0", 1)[0].decode(SERVER_CODE)


def bytes_of(text: str) -> bytes:
    """The text in the servers' code, "?" for what it lacks."""
    return text.encode(SERVER_CODE, "replace")


class Codec:
    """Reads and writes values of any type of one schema."""

    def __init__(self, schema: Schema) -> None:
        self._records = schema.records
        self._readers: Dict[str, Callable[[Reader, WireType], Any]] = {
            "nothing": lambda reader, kind: None,
            "unspecified": lambda reader, kind: reader.rest(),
            "long": lambda reader, kind: reader.long(),
            "int": lambda reader, kind: reader.long(),
            "u_long": lambda reader, kind: reader.u_long(),
            "short": lambda reader, kind: low_short(reader.long()),
            "bool": lambda reader, kind: reader.flag(),
            "chars": lambda reader, kind: text_of(reader.characters(kind.count)),
            "schars": lambda reader, kind: text_of(reader.characters(kind.count)),
            "text": lambda reader, kind: text_of(reader.counted()),
            "counted_text": lambda reader, kind: text_of(reader.counted(kind.count)),
            "fixed_text": lambda reader, kind: text_of(reader.fixed(kind.count)),
            "string": lambda reader, kind: reader.counted().decode(SERVER_CODE),
            "opaque": lambda reader, kind: reader.fixed(kind.count),
            "blob": lambda reader, kind: reader.counted(),
            "pointer": lambda reader, kind: self._read_chain(reader, kind.record),
            "vector": self._read_vector,
            "array": self._read_array,
            "record": lambda reader, kind: self._read_record(reader, kind.record),
        }
        self._writers: Dict[str, Callable[[Writer, WireType, Any], None]] = {
            "nothing": lambda writer, kind, value: None,
            "unspecified": lambda writer, kind, value: None,
            "long": lambda writer, kind, value: writer.long(value or 0),
            "int": lambda writer, kind, value: writer.long(value or 0),
            "u_long": lambda writer, kind, value: writer.long(value or 0),
            "short": lambda writer, kind, value: writer.long(low_short(value or 0)),
            "bool": lambda writer, kind, value: writer.flag(value),
            "chars": lambda writer, kind, value: writer.characters(_filled(value, kind.count)),
            "schars": lambda writer, kind, value: writer.characters(_filled(value, kind.count)),
            "text": lambda writer, kind, value: writer.counted(bytes_of(value or "") + b"\0"),
            "counted_text": lambda writer, kind, value: writer.counted(
                (bytes_of(value or "") + b"\0")[:kind.count]),
            "fixed_text": lambda writer, kind, value: writer.fixed(_filled(value, kind.count)),
            "string": lambda writer, kind, value: writer.counted(bytes_of(value or "")),
            "opaque": lambda writer, kind, value: writer.fixed(
                (value or b"")[:kind.count].ljust(kind.count, b"\0")),
            "blob": lambda writer, kind, value: writer.counted(value or b""),
            "pointer": lambda writer, kind, value: self._write_chain(
                writer, kind.record, value or []),
            "vector": self._write_vector,
            "array": self._write_array,
            "record": lambda writer, kind, value: self._write_record(
                writer, kind.record, value or {}),
        }

    def decode(self, kind: WireType, data: bytes) -> Any:
        """The value that `data` holds, which must be used up by it."""
        reader = Reader(data)
        value = self._read(reader, kind)
        if reader.rest():
            raise XdrError(f"{len(reader.rest())} bytes too many")
        return value

    def encode(self, kind: WireType, value: Any) -> bytes:
        """The bytes of `value`; None gives the type's zeroes."""
        writer = Writer()
        self._write(writer, kind, value)
        return writer.written()

    def _read(self, reader: Reader, kind: WireType) -> Any:
        return self._readers[kind.kind](reader, kind)

    def _write(self, writer: Writer, kind: WireType, value: Any) -> None:
        self._writers[kind.kind](writer, kind, value)

    # ---- items

    def _read_items(self, reader: Reader, item: WireType, count: int) -> List[Any]:
        return [self._read(reader, item) for _ in range(count)]

    def _read_array(self, reader: Reader, kind: WireType) -> List[Any]:
        return self._read_items(reader, _as_record(kind), reader.u_long())

    def _read_vector(self, reader: Reader, kind: WireType) -> List[Any]:
        assert kind.item is not None
        return self._read_items(reader, kind.item, kind.count)

    def _write_array(self, writer: Writer, kind: WireType, value: Any) -> None:
        items = value or []
        writer.long(len(items))
        for item in items:
            self._write(writer, _as_record(kind), item)

    def _write_vector(self, writer: Writer, kind: WireType, value: Any) -> None:
        assert kind.item is not None
        items = list(value or [])[:kind.count]
        for item in items + [None] * (kind.count - len(items)):
            self._write(writer, kind.item, item)

    # ---- records and unions

    def _read_record(self, reader: Reader, name: str) -> Dict[str, Any]:
        record = self._records[name]
        if record.is_union:
            return self._read_union(reader, record)
        return {field.key: self._read_field(reader, name, field) for field in record.fields}

    def _read_field(self, reader: Reader, owner: str, field: Field) -> Any:
        if field.type.kind == "list_next":
            return self._read_chain(reader, owner)
        return self._read(reader, field.type)

    def _read_union(self, reader: Reader, record: Record) -> Dict[str, Any]:
        selected = reader.long()
        arm = _arm(record, selected)
        return {record.discriminant: selected, arm.key: self._read(reader, arm.type)}

    def _write_record(self, writer: Writer, name: str, value: Dict[str, Any]) -> None:
        record = self._records[name]
        if record.is_union:
            self._write_union(writer, record, value)
            return
        for field in record.fields:
            if field.type.kind == "list_next":
                self._write_chain(writer, name, value.get(field.key) or [])
            else:
                self._write(writer, field.type, value.get(field.key))

    def _write_union(self, writer: Writer, record: Record, value: Dict[str, Any]) -> None:
        selected = value.get(record.discriminant, record.fields[0].value)
        arm = _arm(record, selected)
        writer.long(selected)
        self._write(writer, arm.type, value.get(arm.key))

    # ---- chains
    #
    # A chain goes as a flag for each node, and a node's successor stands where its `next` stands:
    # what precedes `next` comes node by node, what follows it from the last node to the first.

    def _read_chain(self, reader: Reader, name: str) -> List[Node]:
        before, behind = self._split(name)
        nodes: List[Node] = []
        while reader.flag():
            nodes.append({field.key: self._read(reader, field.type) for field in before})
        for node in reversed(nodes):
            node.update((field.key, self._read(reader, field.type)) for field in behind)
        return nodes

    def _write_chain(self, writer: Writer, name: str, nodes: List[Node]) -> None:
        before, behind = self._split(name)
        for node in nodes:
            writer.flag(True)
            self._write_fields(writer, before, node)
        writer.flag(False)
        for node in reversed(nodes):
            self._write_fields(writer, behind, node)

    def _write_fields(self, writer: Writer, fields: Fields, node: Node) -> None:
        for field in fields:
            self._write(writer, field.type, node.get(field.key))

    def _split(self, name: str) -> Tuple[Fields, Fields]:
        """The fields of a list node before and behind its `next`."""
        fields = self._records[name].fields
        at = next(i for i, field in enumerate(fields) if field.type.kind == "list_next")
        return fields[:at], fields[at + 1:]


def _as_record(kind: WireType) -> WireType:
    return WireType("record", record=kind.record)


def _arm(record: Record, selected: int) -> Field:
    for arm in record.fields:
        if arm.value == selected:
            return arm
    raise XdrError(f"{record.discriminant} has no value {selected}")


def _filled(text: Any, size: int) -> bytes:
    """A text for a field of `size` bytes, cut so that a NUL ends it; bytes may fill it whole."""
    if isinstance(text, bytes):
        return text[:size].ljust(size, b"\0")
    return bytes_of(text or "")[:size - 1].ljust(size, b"\0")
