"""Between Python values and the texts of a call, for one procedure, without any connection.

`Conversion` is what the client classes of this package share, blocking or not: the call text of an
argument, the result of a reply text.
"""

from __future__ import annotations

import functools
import json
from typing import Any

from . import errors
from .schema import Procedure, own

_encode = json.JSONEncoder(separators=(",", ":"), check_circular=False).encode
_decode = json.JSONDecoder().decode


class Conversion:
    """The two conversions of a procedure: argument to call text, reply text to result."""

    def __init__(self, procedure: Procedure) -> None:
        self.procedure = procedure
        self._opening = f'{{"{procedure.name}":'

    def call_text(self, argument: Any, check: bool = True) -> str:
        """Returns the call text. With `check`, raises ArgumentError if it does not fit."""
        return f"{self._opening}{_encode(argument)}}}"

    def result(self, reply: bytes, raw: bool = False) -> Any:
        """Returns the result that a reply text holds. Raises the CallError of any other status.

        Lists come as Python lists; with `raw` as the nested nodes of the wire.
        """
        envelope = _decode(reply.decode())
        if envelope["status"] != 0:
            raise errors.of_reply(self.procedure.name, envelope)
        return envelope["result"]


@functools.lru_cache(maxsize=None)
def conversion(server: str, name: str) -> Conversion:
    """Returns the conversion of a procedure. Raises UnknownProcedure if the server has none."""
    procedure = own().procedures.get(name)
    if procedure is None or procedure.server != server:
        raise errors.UnknownProcedure(name, 4, f"unknown function of {server}")
    return Conversion(procedure)
