"""The interface of the servers as objects, read from `schema.json` beside this file.

The build writes that file with the program `kvrpc-schema` from the tables that the module itself is
made of. They are the one description of the interface, and nothing here repeats it.

    kind of a type         its parameters
    chars, schars          count: n of char[n], the NUL included
    counted_text           count: its cap in bytes
    fixed_text, opaque     count: its size in bytes
    pointer, record        record: the name of the record that it leads to
    array                  record: the name of each element's record
    list_next              record: the name of the node that holds it
    vector                 count: the number of elements; item: the type of each
    all others             none
"""

from __future__ import annotations

import functools
import json
from dataclasses import dataclass
from importlib import resources
from pathlib import Path
from typing import Any, Dict, List, NamedTuple, Optional, Set, Tuple

# Fields that hold a secret: no message, log line or event may show their values.
SECRETS = frozenset({"passwor", "oldpw", "newpw", "admpw", "pincode"})


class SchemaError(Exception):
    """The description of the interface is missing or damaged."""


@dataclass(frozen=True)
class WireType:
    """The type of an argument, a result or a field. The module's text has the kinds."""

    kind: str
    count: int = 0
    record: str = ""
    item: Optional[WireType] = None


class Field(NamedTuple):
    """A field of a structure, or an arm of a union with the `value` that selects it."""

    key: str
    type: WireType
    value: int = 0


class Record(NamedTuple):
    """A structure, or a union: then `discriminant` is the key of its selector."""

    name: str
    fields: Tuple[Field, ...]
    discriminant: str = ""

    @property
    def is_union(self) -> bool:
        """True if the record is a union."""
        return self.discriminant != ""

    @property
    def link(self) -> Optional[Field]:
        """The field that leads to the next node of a list, or None if this is no node."""
        return next((field for field in self.fields if field.type.kind == "list_next"), None)


class Procedure(NamedTuple):
    """One procedure of a server. Its number is unique within that server, its name everywhere."""

    server: str
    number: int
    name: str
    argument: WireType
    result: WireType


class Server(NamedTuple):
    """One server: its program number, and its port as the distance from the base port."""

    name: str
    program: int
    slot: int
    procedures: Dict[int, Procedure]


class Schema:
    """Servers by name, records by name, procedures by name.

    `characters` are those that a text may hold, with their byte in the servers' code.
    """

    def __init__(self, document: Dict[str, Any]) -> None:
        self.records: Dict[str, Record] = {
            name: _record(name, row) for name, row in document["records"].items()
        }
        programs = {entry["name"]: entry["procedures"] for entry in document["programs"]}
        self.servers: Dict[str, Server] = {
            row["name"]: Server(row["name"], row["program"], row["slot"],
                                _procedures(row["name"], programs.get(row["name"], [])))
            for row in document["servers"]
        }
        self.procedures: Dict[str, Procedure] = {
            procedure.name: procedure
            for server in self.servers.values() for procedure in server.procedures.values()
        }
        self.characters: Dict[str, int] = {chr(unit): byte for unit, byte in document["characters"]}
        self.meanings: Dict[str, Any] = document.get("meanings", {})  # see meanings.py

    def reachable(self, wire: WireType) -> Set[str]:
        """Returns the names of all records that a value of this type can hold."""
        found: Set[str] = set()
        waiting = [wire]
        while waiting:
            current = waiting.pop()
            if current.item is not None:
                waiting.append(current.item)
            if current.record and current.record not in found:
                found.add(current.record)
                waiting.extend(field.type for field in self.records[current.record].fields)
        return found


def _type(row: Dict[str, Any]) -> WireType:
    item = _type(row["item"]) if "item" in row else None
    return WireType(row["kind"], row.get("count", 0), row.get("record", ""), item)


def _record(name: str, row: Dict[str, Any]) -> Record:
    fields = tuple(
        Field(field["key"], _type(field["type"]), field.get("value", 0)) for field in row["fields"]
    )
    return Record(name, fields, row.get("discriminant", ""))


def _procedures(server: str, rows: List[Dict[str, Any]]) -> Dict[int, Procedure]:
    return {
        row["number"]: Procedure(server, row["number"], row["name"], _type(row["argument"]),
                                 _type(row["result"]))
        for row in rows
    }


def load(source: Optional[str] = None) -> Schema:
    """Returns the schema that the file `source` describes.

    Without `source`, reads the package's own file. Raises SchemaError if the file cannot be read.
    """
    try:
        text = Path(source).read_text(encoding="utf-8") if source else _own_text()
        return Schema(json.loads(text))
    except (OSError, ValueError, KeyError) as error:
        raise SchemaError(f"{source or 'schema.json of kvrpc_tools'}: {error}") from error


@functools.lru_cache(maxsize=None)
def own() -> Schema:
    """Returns the package's own schema, which is read once."""
    return load()


def _own_text() -> str:
    file = resources.files("kvrpc_tools").joinpath("schema.json")
    if not file.is_file():
        raise SchemaError("kvrpc_tools has no schema.json: in a source tree, run `make build`")
    return file.read_text(encoding="utf-8")
