"""Checks an argument against the records of its procedure, before anything is sent.

The module accepts almost anything and changes it: a text that is too long goes out empty, a
number is cut to its low bits, a character that the servers' code lacks becomes "?", and a misspelt
key is refused without a reason. A check finds all of that and says where it is.

Each type is compiled once to a function that returns the problems of a value, so that a good value
costs little: an empty tuple for each field. What the functions accept is narrower than what the
module accepts, where the module would lose something in silence:

    text       a str that fits, its NUL included, of characters that the servers' code has
    number     an int in the range of its field; no bool, no float (which would arrive as 0)
    bool       True or False
    Base64     complete, with or without its padding; white space is allowed
    structure  a dict of known keys; a missing one arrives as zero
    union      a dict of its selector and the selected arm, both present, and no other key
    list       a list of at least one node, or the nested nodes of the wire
"""

from __future__ import annotations

import re
from typing import Any, Callable, Dict, Iterable, List, Optional, Sequence, Tuple

from .errors import Problem
from .schema import SECRETS, Record, Schema, WireType

Problems = Tuple[Problem, ...]
Check = Callable[[Any], Problems]

FINE: Problems = ()
ENOUGH = 100  # problems of one list; a list of a million nodes may be wrong in each

NUMBERS = {
    "long": (-2**31, 2**31 - 1),
    "int": (-2**31, 2**31 - 1),
    "u_long": (0, 2**32 - 1),
    "short": (-2**15, 2**15 - 1),
}

_BASE64 = re.compile(r"(?:[A-Za-z0-9+/]{4})*(?:[A-Za-z0-9+/]{2}(?:==)?|[A-Za-z0-9+/]{3}=?)?")


def _one(reason: str, *path: str) -> Problems:
    return (Problem(path, reason),)


def _below(key: str, problems: Problems) -> Problems:
    return tuple(Problem((key, *problem.path), problem.reason) for problem in problems)


def _wrong_type(wanted: str, value: Any) -> Problems:
    return _one(f"{wanted} is expected, not {type(value).__name__}")


def _nothing(value: Any) -> Problems:
    return FINE if value is None else _one("this procedure takes no argument")


def _unspecified(value: Any) -> Problems:
    return _one("the record is not described, so the module refuses every argument")


def _bool(value: Any) -> Problems:
    return FINE if value is True or value is False else _wrong_type("True or False", value)


def _number(low: int, high: int) -> Check:
    def check(value: Any) -> Problems:
        if not isinstance(value, int) or isinstance(value, bool):
            return _wrong_type("an int", value)
        return FINE if low <= value <= high else _one(f"{value} is outside {low} to {high}")
    return check


def _base64(size: Optional[int]) -> Check:
    """Compiles the check of bytes in Base64; exactly `size` bytes unless that is None."""
    def check(value: Any) -> Problems:
        if not isinstance(value, str):
            return _wrong_type("a Base64 text", value)
        text = "".join(value.split())
        if _BASE64.fullmatch(text) is None:
            return _one("is no complete Base64")
        count = len(text.rstrip("=")) * 3 // 4
        return FINE if size in (None, count) else _one(f"{count} bytes, exactly {size} fit")
    return check


class Compiler:
    """Compiles the types of one schema. A record is compiled once, however often it is used."""

    def __init__(self, schema: Schema) -> None:
        self._records = schema.records
        ranges = "".join(map(re.escape, schema.characters))
        self._lacking = re.compile(f"[^{ranges}]").search
        self._compiled: Dict[str, Check] = {}

    def check(self, wire: WireType, secret: bool = False) -> Check:
        """Returns the function that returns the problems of a value of this type."""
        if wire.kind in NUMBERS:
            return _number(*NUMBERS[wire.kind])
        simple: Dict[str, Check] = {
            "nothing": _nothing, "unspecified": _unspecified, "bool": _bool,
        }
        if wire.kind in simple:
            return simple[wire.kind]
        if wire.record:
            return self._record(wire)
        if wire.item is not None:
            return _items(self.check(wire.item), wire.count)
        if wire.kind in ("opaque", "blob"):
            return _base64(wire.count or None)
        return self._text(wire.count - 1 if wire.count else None, secret)

    def _text(self, room: Optional[int], secret: bool) -> Check:
        """Compiles the check of a text of at most `room` bytes. A secret one is never shown."""
        lacking = self._lacking

        def check(value: Any) -> Problems:
            if not isinstance(value, str):
                return _wrong_type("a str", value)
            found = FINE
            if room is not None and len(value) > room:  # each character has one byte
                size = "too long" if secret else f"{len(value)} bytes"
                found += _one(f"{size}, {room} fit")
            bad = lacking(value)
            if bad is not None:
                found += _one(_lack(bad.group(), None if secret else bad.start()))
            return found
        return check

    def _record(self, wire: WireType) -> Check:
        if wire.record not in self._compiled:
            record = self._records[wire.record]
            if record.is_union:
                check = self._union(record)
            elif record.link is not None:
                check = self._chain(record, record.link.key)
            else:
                check = self._structure(record)
            self._compiled[wire.record] = check
        check = self._compiled[wire.record]
        if wire.kind == "pointer":
            return lambda value: FINE if value is None else check(value)
        return check

    def _fields(self, record: Record) -> Dict[str, Check]:
        return {field.key: self.check(field.type, field.key in SECRETS)
                for field in record.fields if field.type.kind != "list_next"}

    def _structure(self, record: Record) -> Check:
        tests = self._fields(record)

        def check(value: Any) -> Problems:
            if not isinstance(value, dict):
                return _wrong_type("a dict", value)
            found = FINE
            for key, item in value.items():
                test = tests.get(key)
                if test is None:
                    found += _unknown(key, tests)
                    continue
                problems = test(item)
                if problems:
                    found += _below(key, problems)
            return found
        return check

    def _union(self, record: Record) -> Check:
        selector, arms = record.discriminant, {arm.value: arm.key for arm in record.fields}
        tests = self._fields(record)
        choices = ", ".join(map(str, arms))

        def check(value: Any) -> Problems:
            if not isinstance(value, dict):
                return _wrong_type("a dict", value)
            if selector not in value:
                return _one(f"is missing, it selects one of {choices}", selector)
            selected = value[selector]
            if not isinstance(selected, int) or selected is True or selected is False:
                return _below(selector, _wrong_type("an int", selected))
            if selected not in arms:
                return _one(f"{selected} is none of {choices}", selector)
            arm = arms[selected]
            found = FINE
            for key in value:
                if key not in (selector, arm):
                    found += (_one(f"does not belong to {selector} {selected}, but {arm} does", key)
                              if key in tests else _unknown(key, (selector, arm)))
            if arm not in value:
                return found + _one(f"is missing, {selector} {selected} asks for it", arm)
            return found + _below(arm, tests[arm](value[arm]))
        return check

    def _chain(self, record: Record, link: str) -> Check:
        """Compiles the check of a list: its nodes, or the first one that holds the others."""
        node_check = self._structure(record)

        def check_nested(node: Any) -> Problems:
            found: List[Problem] = []
            depth = 0
            while node is not None and len(found) < ENOUGH:
                fields, rest = node, None
                if isinstance(node, dict):
                    fields, rest = {**node}, node.get(link)
                    fields.pop(link, None)
                found += (Problem((link,) * depth + each.path, each.reason)
                          for each in node_check(fields))
                node, depth = rest, depth + 1
            return tuple(found)

        def check(value: Any) -> Problems:
            if isinstance(value, dict):
                return check_nested(value)
            if not isinstance(value, (list, tuple)):
                return _wrong_type("a list", value)
            return _each(node_check, value) if value else _one("is empty, a node is expected")
        return check


def _each(item_check: Check, items: Sequence[Any]) -> Problems:
    found: List[Problem] = []
    for index, item in enumerate(items):
        problems = item_check(item)
        if problems:
            found += _below(str(index), problems)
            if len(found) >= ENOUGH:
                break
    return tuple(found)


def _items(item_check: Check, count: int) -> Check:
    def check(value: Any) -> Problems:
        if not isinstance(value, (list, tuple)):
            return _wrong_type("a list", value)
        if len(value) != count:
            return _one(f"{len(value)} items, exactly {count} are expected")
        return _each(item_check, value)
    return check


def _unknown(key: Any, known: Iterable[str]) -> Problems:
    return _one(f"unknown member{did_you_mean(str(key), known)}", str(key))


def did_you_mean(name: str, known: Iterable[str]) -> str:
    """Returns ", did you mean X?" for the name that is nearest to `name`, or "" if none is near."""
    import difflib  # takes milliseconds to load, and only a mistake needs it
    by_lower = {each.lower(): each for each in known}
    near = difflib.get_close_matches(name.lower(), by_lower, n=1)
    return f", did you mean {by_lower[near[0]]}?" if near else ""


def _lack(character: str, position: Optional[int]) -> str:
    """Returns the reason for a character without a byte; without a position, it is a secret."""
    if position is None:
        return "has a character that the servers' code lacks"
    import unicodedata  # see above
    name = unicodedata.name(character, "a control character")
    advice = ", U+2019 is sent as one" if character == "'" else ""
    return (f"the servers' code lacks U+{ord(character):04X} {name} (at {position}){advice}")
