"""The interface of the servers as objects, read from `schema.json` beside this file.

The build writes that file with the program `kvrpc-schema` from the tables that the module itself is
made of. They are the one description of the interface, and nothing here repeats it.
"""

from __future__ import annotations

import json
from dataclasses import dataclass, field
from importlib import resources
from pathlib import Path
from typing import Any, Dict, List, Optional

# A wire type: {"kind": ..., and as the kind needs "count", "record" or "item"}.
WireType = Dict[str, Any]


class SchemaError(Exception):
    """The description of the interface is missing or damaged."""


@dataclass(frozen=True)
class Procedure:
    """One procedure of a program; its number is unique within that program."""

    number: int
    name: str
    argument: WireType
    result: WireType


@dataclass(frozen=True)
class Server:
    """One server: its program number, and its port as the distance from the base port."""

    name: str
    program: int
    slot: int
    procedures: Dict[int, Procedure] = field(default_factory=dict)


class Schema:
    """Servers by name, records by name, procedures by name."""

    def __init__(self, document: Dict[str, Any]) -> None:
        self.records: Dict[str, Dict[str, Any]] = document["records"]
        programs = {entry["name"]: entry["procedures"] for entry in document["programs"]}
        self.servers: Dict[str, Server] = {
            entry["name"]: Server(entry["name"], entry["program"], entry["slot"],
                                  _procedures(programs.get(entry["name"], [])))
            for entry in document["servers"]
        }
        self.procedures: Dict[str, Procedure] = {
            procedure.name: procedure
            for server in self.servers.values() for procedure in server.procedures.values()
        }


def _procedures(rows: List[Dict[str, Any]]) -> Dict[int, Procedure]:
    return {
        row["number"]: Procedure(row["number"], row["name"], row["argument"], row["result"])
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


def _own_text() -> str:
    file = resources.files("kvrpc_tools").joinpath("schema.json")
    if not file.is_file():
        raise SchemaError("kvrpc_tools has no schema.json: in a source tree, run `make build`")
    return file.read_text(encoding="utf-8")
