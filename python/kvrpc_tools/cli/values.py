"""Arguments from text, and results to text."""

from __future__ import annotations

import json
import os
import shlex
import sys
from pathlib import Path
from typing import Any, Dict, Iterator, List, Optional, TextIO, Tuple

import click

from ..check import did_you_mean
from ..docstrings import type_text
from ..schema import Record, WireType, own

_NUMBERS = ("long", "int", "u_long", "short")
_BOOL = "true or false"
_encode = json.JSONEncoder(ensure_ascii=False, separators=(",", ":")).encode


def argument_of(text: Optional[str], members: Tuple[str, ...], wire: WireType) -> Any:
    """Returns the argument that the words of a command line describe.

    `text` is JSON, @FILE or "-" for the standard input. Each member is PATH=VALUE.
    """
    if text is None and not members and (wire.kind in (*_NUMBERS, "bool") or _is_text(wire)):
        needed = _BOOL if wire.kind == "bool" else type_text(own(), wire)
        raise click.UsageError(f"an argument is needed: {needed}")
    value = None if text is None else _read(text, wire)
    for member in members:
        path, is_set, told = member.partition("=")
        if not is_set:
            raise click.UsageError(f"-s {member}: PATH=VALUE is expected")
        value = _with(value, path.split("."), told, wire, path)
    if value is None and wire.kind == "record":
        return {}
    return value


def _is_text(wire: WireType) -> bool:
    return type_text(own(), wire).startswith("text")


def _read(text: str, wire: WireType) -> Any:
    place = ""
    try:
        if text == "-":
            place = " on the standard input"
            text = standard_input().decode("utf-8")
        elif text.startswith("@"):
            place = f" in {text[1:]}"
            text = Path(text[1:]).read_text(encoding="utf-8")
        return json.loads(text)
    except OSError as error:
        raise click.UsageError(f"{text[1:]}: {error.strerror}") from error
    except (ValueError, RecursionError) as error:
        advice = "" if place else _advice(text, wire)
        raise click.UsageError(f"the argument{place} is no JSON: {error}{advice}") from error


def _advice(text: str, wire: WireType) -> str:
    """Returns how an argument of this type is written, if that is not obvious."""
    if wire.kind == "bool":
        return f"; write {_BOOL}"
    return f"; write a text as {_quoted(text)}" if _is_text(wire) else ""


def standard_input() -> bytes:
    """Returns all bytes of the standard input."""
    if sys.stdin is None:  # closed by the caller, as with <&- in a shell
        raise click.UsageError("the standard input is closed")
    return sys.stdin.buffer.read()


def _quoted(text: str) -> str:
    """Returns a text in JSON's quotation marks, as they must be typed for the shell to keep them.

    For example, mail gives '"mail"' on POSIX and \\"mail\\" on Windows.
    """
    word = json.dumps(text, ensure_ascii=False)
    if os.name != "nt":
        return shlex.quote(word)
    from subprocess import list2cmdline  # takes milliseconds to load, and only a mistake needs it
    return list2cmdline([word])


def _with(value: Any, path: List[str], told: str, wire: WireType, whole: str) -> Any:
    """Returns `value` with the member at `path` set."""
    if not path:
        return _scalar(told, wire, whole)
    key, *rest = path
    record = own().records.get(wire.record)
    if record is None:
        if wire.item is None:
            raise click.UsageError(f"-s {whole}: there is no member {key!r} in a {wire.kind}")
        return _with_item(value, key, rest, told, wire.item, whole)
    if wire.kind == "array" or record.link is not None:
        return _with_item(value, key, rest, told, WireType("record", record=record.name), whole)
    members: Dict[str, Any] = dict(value or {})
    members[key] = _with(members.get(key), rest, told, _member(record, key, whole), whole)
    return members


def _with_item(value: Any, key: str, rest: List[str], told: str, wire: WireType, whole: str
               ) -> List[Any]:
    items = list(value or [])
    if not key.isdigit() or int(key) > len(items):
        raise click.UsageError(f"-s {whole}: {key!r} is no place in a list of {len(items)}")
    items += [None] * (int(key) + 1 - len(items))
    items[int(key)] = _node(items[int(key)], rest, told, wire, whole)
    return items


def _node(value: Any, rest: List[str], told: str, wire: WireType, whole: str) -> Any:
    """Sets a member of a list's node. Its record has the link, so it is walked without it."""
    record = own().records.get(wire.record)
    if record is None or not rest:
        return _with(value, rest, told, wire, whole)
    members: Dict[str, Any] = dict(value or {})
    members[rest[0]] = _with(members.get(rest[0]), rest[1:], told,
                             _member(record, rest[0], whole), whole)
    return members


def _member(record: Record, key: str, whole: str) -> WireType:
    if record.is_union and key == record.discriminant:
        return WireType("long")
    for field in record.fields:
        if field.key == key:
            return field.type
    known = [field.key for field in record.fields]
    raise click.UsageError(f"-s {whole}: {record.name} has no member {key!r}"
                           f"{did_you_mean(key, known)}")


def _scalar(told: str, wire: WireType, whole: str) -> Any:
    if wire.record or wire.item is not None or wire.kind in (*_NUMBERS, "bool"):
        try:
            return json.loads(told)
        except ValueError as error:
            raise click.UsageError(f"-s {whole}: {told!r} is no JSON for a {wire.kind}") from error
    return told


def write_json(value: Any, output: TextIO) -> None:
    """Writes a result as one line of JSON, a list entry by entry, so no second copy is made.

    An iterator is written as a list.
    """
    for piece in _pieces(value):
        output.write(piece)
    output.write("\n")


def _pieces(value: Any) -> Iterator[str]:
    if isinstance(value, dict):
        for place, (key, item) in enumerate(value.items()):
            yield ("," if place else "{") + _encode(key) + ":"
            yield from _pieces(item)
        yield "}" if value else "{}"
    elif isinstance(value, Iterator) or isinstance(value, list) and len(value) > 100:
        yield "["
        for place, item in enumerate(value):
            yield ("," if place else "") + _encode(item)
        yield "]"
    else:
        yield _encode(value)
