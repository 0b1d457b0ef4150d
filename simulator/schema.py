"""The interface of the servers, as the program `kvrpc-schema` prints it.

The tables of the client are the one description of the interface; nothing here repeats it.
"""

from __future__ import annotations

import json
import os
import subprocess
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Dict, List, Optional

ROOT = Path(__file__).resolve().parent.parent

# A wire type: {"kind": ..., and as the kind needs "count", "record" or "item"}.
WireType = Dict[str, Any]


class SchemaError(Exception):
    """There is no description of the interface to be had."""


@dataclass(frozen=True)
class Procedure:
    """One procedure of a program; its number is unique within the program."""

    number: int
    name: str
    argument: WireType
    result: WireType


@dataclass(frozen=True)
class Server:
    """One server: its program number and the place of its port behind the base port."""

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
    """The schema from `source`, KVRPC_SCHEMA or the built `kvrpc-schema`.

    A source is a JSON file, or a program that prints one.
    """
    path = Path(source or os.environ.get("KVRPC_SCHEMA") or _built_program())
    try:
        return Schema(json.loads(_text_of(path)))
    except (OSError, ValueError, KeyError, subprocess.SubprocessError) as error:
        raise SchemaError(f"{path}: {error}") from error


def _text_of(path: Path) -> str:
    if path.suffix == ".json":
        return path.read_text(encoding="utf-8")
    return subprocess.run([str(path)], check=True, stdout=subprocess.PIPE, encoding="utf-8",
                          timeout=30).stdout


def _built_program() -> str:
    """Where KVRPC_BUILD says, in build/bin, or else the one built last."""
    names = ("kvrpc-schema", "kvrpc-schema.exe")
    build = Path(os.environ.get("KVRPC_BUILD") or ROOT / "build" / "bin")
    found = [build / name for name in names if (build / name).is_file()]
    found = found or [path for name in names for path in ROOT.glob(f"build/*/{name}")]
    if not found:
        raise SchemaError("kvrpc-schema has not been built: run `make build`, "
                          "or name it with --schema or KVRPC_SCHEMA")
    return str(max(found, key=lambda path: path.stat().st_mtime))
