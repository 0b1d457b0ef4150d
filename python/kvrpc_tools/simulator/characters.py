"""Texts in the servers' code, as bytes and as XDR units of four bytes a character."""

from __future__ import annotations

import functools
from typing import Any, Dict

from kvrpc_tools.simulator.xdr import units

# Python's table has a character for each of the 256 bytes, so that any text passes unchanged.
SERVER_CODE = "iso8859-15"

# So many short texts are kept with their bytes, because the same ones come again and again.
_KEPT = 4096


def text_of(data: bytes) -> str:
    """Returns the text in a field: its bytes up to the first NUL."""
    return data.split(b"\0", 1)[0].decode(SERVER_CODE)


def bytes_of(text: str) -> bytes:
    """Returns the text in the servers' code, "?" for what it lacks."""
    return text.encode(SERVER_CODE, "replace")


def filled(text: Any, size: int) -> bytes:
    """Returns a text for a field of `size` bytes, cut so that a NUL ends it. Bytes may fill it."""
    if isinstance(text, bytes):
        return text[:size].ljust(size, b"\0")
    return bytes_of(text or "")[:size - 1].ljust(size, b"\0")


@functools.lru_cache(maxsize=_KEPT)
def text_of_units(data: bytes) -> str:
    """Returns the text in a field whose characters have a unit of four bytes each."""
    return text_of(data[3::4])


class _Units(Dict[Any, bytes]):
    """The bytes of fields of one size, whose characters have a unit of four bytes each, by text.

    A dict is three times as fast as `lru_cache`.
    """

    def __init__(self, size: int) -> None:
        self._size = size

    def __missing__(self, text: Any) -> bytes:
        if len(self) >= _KEPT:
            self.clear()
        self[text] = made = units(filled(text, self._size))
        return made


class _UnitsBySize(Dict[int, _Units]):
    def __missing__(self, size: int) -> _Units:
        self[size] = made = _Units(size)
        return made


# UNITS_OF[size][text] are the bytes of a text in a field of `size` characters.
UNITS_OF = _UnitsBySize()
