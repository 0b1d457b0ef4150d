"""Between Python values and the texts of a call, for one procedure, without any connection.

`Conversion` is what the client classes of this package share, blocking or not: the call text of an
argument, the result of a reply text.
"""

from __future__ import annotations

import functools
import json
from typing import Any, Dict, Iterator, List

from . import errors, quick_check
from .check import Compiler, did_you_mean
from .lists import ResultLists, array_items, chain_text, put_in
from .schema import Procedure, WireType, own

_encoder = json.JSONEncoder(separators=(",", ":"), check_circular=False)
_make: Any = getattr(json.encoder, "c_make_encoder", None)
_chunks: Any = _make and _make(None, _encoder.default, json.encoder.encode_basestring_ascii, None,
                               ":", ",", False, False, True)
# `decode` also looks for blanks, which no reply has.
_scan: Any = getattr(json.JSONDecoder(), "scan_once")  # noqa: B009, typeshed does not know it
_SUCCESS = '{"status":0,"message":"ok","result":'  # how a reply of status 0 begins


def _encode(argument: Any) -> str:
    """Returns the JSON text of an argument.

    `JSONEncoder.encode` makes a new C encoder for each value, which takes longer than encoding a
    small one. It is used if json has no C encoder.
    """
    return "".join(_chunks(argument, 0)) if _chunks else _encoder.encode(argument)


def _value_at(text: str) -> Any:
    return _scan(text, 0)[0]


class Conversion:
    """The two conversions of a procedure: argument to call text, reply text to result."""

    def __init__(self, procedure: Procedure) -> None:
        self.procedure = procedure
        self._opening = f'{{"{procedure.name}":'
        self._is_plain = procedure.argument.kind == "nothing"
        self._plain_text = f"{self._opening}null}}"
        self._check = _compiler().check(procedure.argument)
        self._matches = quick_check.matcher(own(), procedure.argument)
        record = own().records.get(procedure.argument.record)
        self._link = record.link if record is not None else None
        self._lists = ResultLists(own(), procedure.result)
        self._has_lists = bool(self._lists)

    def call_text(self, argument: Any, check: bool = True) -> str:
        """Returns the call text. With `check`, raises ArgumentError if it does not fit."""
        if argument is None and self._is_plain:
            return self._plain_text
        text = None
        if check and self._matches is not None:
            try:
                text = _encode(argument)
                if self._matches(text) is not None:
                    return f"{self._opening}{text}}}"
            except (TypeError, ValueError, RecursionError):
                pass  # the check says what is wrong
        if check:
            self._refuse_problems(argument)
        if self._link is not None:
            text = chain_text(argument, self._link.key, _encode)
        elif text is None:
            text = _encode(argument)
        return f"{self._opening}{text}}}"

    def _refuse_problems(self, argument: Any) -> None:
        problems = self._check(argument)
        if problems:
            raise errors.ArgumentError(self.procedure.name, 1, "argument", problems)

    def result(self, reply: bytes, raw: bool = False) -> Any:
        """Returns the result that a reply text holds. Raises the CallError of any other status.

        Lists come as Python lists; with `raw` as the nested nodes of the wire.
        """
        text = reply.decode()
        if not self._has_lists and text.startswith(_SUCCESS):
            return _scan(text, len(_SUCCESS))[0]
        result = self._opened(_value_at(self._lists.flatten(text)))
        self._lists.settle(result, raw)
        return result

    def result_in_pieces(self, reply: bytes, raw: bool = False) -> Any:
        """Does the same as `result`, but lets other threads go on in the middle of a list.

        The parser keeps the interpreter lock for the whole of a text.
        """
        text, lists = self._lists.take_out(reply.decode())
        result = self._opened(_value_at(text))
        for head, pieces in lists:
            nodes: List[Any] = []
            for piece in pieces:
                nodes += _value_at(piece)
            if nodes:
                put_in(result, head, nodes)
        self._lists.settle(result, raw)
        return result

    def streamed(self, reply: bytes) -> Any:
        """Does the same as `result`, but with an iterator in the place of a list outside of lists.

        The iterator parses one piece of the list at a time. A result with several such lists has
        them as lists.
        """
        text = reply.decode()
        if self.procedure.result.kind == "array" and text.startswith(_SUCCESS):
            return array_items(text, len(_SUCCESS))
        if not self._lists.only_record:
            return self.result(reply)
        result = self._opened(_value_at(self._lists.take_out(text)[0]))
        self._lists.settle(result, False)
        self._lists.put_only(result, self._lists.nodes(text))
        return result

    def entries(self, reply: bytes) -> Iterator[Any]:
        """Yields the entries of the list that a reply holds, or the result if it is no list.

        Parses one entry, or one piece of a list, at a time. Raises the CallError of any other
        status than 0 at once.
        """
        text = reply.decode()
        if not text.startswith(_SUCCESS):
            self._opened(_value_at(text))
        if self.procedure.result.kind == "array":
            return array_items(text, len(_SUCCESS))
        if self._lists.only_record:
            return self._lists.nodes(text)
        return iter([_value_at(text)["result"]])

    @property
    def entry_type(self) -> WireType:
        """Returns the type of what `entries` yields."""
        result = self.procedure.result
        name = result.record if result.kind == "array" else self._lists.only_record
        return WireType("record", record=name) if name else result

    def _opened(self, envelope: Dict[str, Any]) -> Any:
        if envelope["status"] != 0:
            raise errors.of_reply(self.procedure.name, envelope)
        return envelope["result"]


@functools.lru_cache(maxsize=None)
def _compiler() -> Compiler:
    return Compiler(own())


@functools.lru_cache(maxsize=None)
def conversion(server: str, name: str) -> Conversion:
    """Returns the conversion of a procedure. Raises UnknownProcedure if the server has none."""
    procedure = own().procedures.get(name)
    if procedure is None or procedure.server != server:
        raise errors.UnknownProcedure(name, 4, _unknown(server, name))
    return Conversion(procedure)


def _unknown(server: str, name: str) -> str:
    elsewhere = own().procedures.get(name)
    if elsewhere is not None:
        return f"unknown function of {server}, it belongs to {elsewhere.server}"
    names = [procedure.name for procedure in own().servers[server].procedures.values()]
    return f"unknown function of {server}{did_you_mean(name, names)}"
