"""What the procedures, records and fields of the interface mean, in one line each.

The notes come from schema.json. Those of records that follow from the tables, such as "Argument of
a_login_1: userid and passwor.", are made here.

A note's `basis` says how sure it is: "stated" (the interface says it), "name" (read from a name) or
"unknown" (nothing supports a reading). Show it: `str(note)` appends "(from its name)" to a reading.
"""

from __future__ import annotations

import functools
from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Tuple

from .schema import Procedure, Record, Schema, WireType, own

_MARKS = {"name": " (from its name)", "stated": "", "unknown": ""}


class Note(NamedTuple):
    """One sentence, and its basis: "stated", "name" or "unknown"."""

    text: str
    basis: str = "stated"

    def __str__(self) -> str:
        return self.text + _MARKS[self.basis]


class Group(NamedTuple):
    """Procedures that belong together, in the order of use, and those to start with."""

    name: str
    text: str
    start: Tuple[str, ...]
    procedures: Tuple[str, ...]


class LaterForm(NamedTuple):
    """A pair of procedures. Both stay in service; `adds` says what the later one carries."""

    earlier: str
    later: str
    adds: str


class Meanings:
    """The notes of one schema, by name."""

    def __init__(self, schema: Schema) -> None:
        rows: Dict[str, Any] = schema.meanings
        self._schema = schema
        self._procedures = rows["procedures"]
        self._keys = rows["keys"]
        self._fields = rows["fields"]
        self._records = rows["records"]
        self.groups: Tuple[Group, ...] = tuple(
            Group(row["name"], row["note"], tuple(row["start"]), tuple(row["procedures"]))
            for row in rows["groups"]
        )
        self.later_forms: Tuple[LaterForm, ...] = tuple(
            LaterForm(row["earlier"], row["later"], row["adds"]) for row in rows["later_forms"]
        )
        self._group_of = {name: group for group in self.groups for name in group.procedures}
        self._users = _Users(schema)

    def procedure(self, name: str) -> Note:
        """Returns the note of a procedure. Raises KeyError for an unknown name."""
        return _note(self._procedures[name])

    def see(self, name: str) -> Tuple[str, ...]:
        """Returns the related procedures: other forms first, then counterparts and lists."""
        return tuple(self._procedures[name]["see"])

    def group(self, name: str) -> Group:
        """Returns the group of a procedure. Raises KeyError for an unknown name."""
        return self._group_of[name]

    def later_form(self, name: str) -> Optional[LaterForm]:
        """Returns the pair in which this procedure is the earlier form, or None."""
        return next((pair for pair in self.later_forms if pair.earlier == name), None)

    def earlier_forms(self, name: str) -> Tuple[LaterForm, ...]:
        """Returns the pairs in which this procedure is the later form."""
        return tuple(pair for pair in self.later_forms if pair.later == name)

    def field(self, record: str, key: str) -> Note:
        """Returns the note of a field: the record's own if it has one, else that of its key."""
        return _note(self._fields.get(f"{record}.{key}") or self._keys[key])

    def key(self, key: str) -> Note:
        """Returns the note of a field's key, for records that have none of their own."""
        return _note(self._keys[key])

    def record(self, name: str) -> Note:
        """Returns the note of a record. Raises KeyError for an unknown name."""
        if name in self._records:
            return _note(self._records[name])
        return Note(self._users.describe(self._schema.records[name]))

    def used_by(self, name: str) -> Tuple[str, ...]:
        """Returns the procedures whose argument or result can hold this record."""
        return self._users.procedures_with(name)


@functools.lru_cache(maxsize=None)
def meanings() -> Meanings:
    """Returns the notes of the package's own schema, which are read once."""
    return Meanings(own())


def _note(row: Dict[str, str]) -> Note:
    return Note(row["note"], row["basis"])


class _Users:
    """Who uses a record, from which the notes of most records follow."""

    def __init__(self, schema: Schema) -> None:
        self._schema = schema
        self._arguments: Dict[str, List[str]] = {}
        self._results: Dict[str, List[str]] = {}
        self._parents: Dict[str, List[Tuple[Record, int]]] = {}
        for procedure in schema.procedures.values():
            self._add(self._arguments, procedure.argument, procedure)
            self._add(self._results, procedure.result, procedure)
        for record in schema.records.values():
            for field in record.fields:
                if field.type.kind != "list_next":
                    target = _target(field.type)
                    self._parents.setdefault(target, []).append((record, field.value))

    @staticmethod
    def _add(users: Dict[str, List[str]], wire: WireType, procedure: Procedure) -> None:
        users.setdefault(_target(wire), []).append(procedure.name)

    def procedures_with(self, name: str) -> Tuple[str, ...]:
        reachable = self._schema.reachable
        return tuple(
            procedure.name for procedure in self._schema.procedures.values()
            if name in reachable(procedure.argument) or name in reachable(procedure.result)
        )

    def describe(self, record: Record) -> str:
        if record.link is not None:
            item = next(field.type.record for field in record.fields
                        if field is not record.link and field.type.record)
            parents = [parent.name for parent, _ in self._parents[record.name]]
            return f"List node with one {item}, for {_english(parents)}."
        for title, users in (("Argument", self._arguments), ("Result", self._results)):
            if record.name in users:
                return f"{title} of {_some(users[record.name])}{self._shape(record)}."
        union, value = self._parents[record.name][0]
        return f"Version {value} of {union.name}{self._shape(record)}."

    def _shape(self, record: Record) -> str:
        if record.is_union:
            count = len(record.fields)
            return ", in one version" if count == 1 else f", in {count} versions"
        keys = [field.key for field in record.fields]
        if not any(self._is_list(field.type) for field in record.fields):
            return ": " + _english(keys)
        parts = ["an error code"] if "errcode" in keys else []
        parts += ["a count"] if "anz" in keys else []
        return ": " + _english([*parts, "a list"])

    def _is_list(self, wire: WireType) -> bool:
        if wire.kind == "array":
            return True
        return wire.kind == "pointer" and self._schema.records[wire.record].link is not None


def _target(wire: WireType) -> str:
    return _target(wire.item) if wire.item is not None else wire.record


def _english(words: Sequence[str]) -> str:
    return words[0] if len(words) == 1 else f"{', '.join(words[:-1])} and {words[-1]}"


def _some(names: Sequence[str]) -> str:
    return _english(names) if len(names) <= 2 else f"{names[0]} and {len(names) - 1} others"
