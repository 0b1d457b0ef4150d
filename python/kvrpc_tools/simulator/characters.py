"""Texts in the servers' code, as bytes and as XDR units of four bytes a character."""

from __future__ import annotations

import functools
from typing import Any

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


@functools.lru_cache(maxsize=_KEPT)
def units_of(text: Any, size: int) -> bytes:
    """Returns the bytes of a field of `size` characters with a unit of four bytes each."""
    return units(filled(text, size))
