"""XDR (RFC 4506): the few primitives that the interface is made of.

Every value takes a multiple of four bytes, most significant byte first.
"""

from __future__ import annotations

import struct
from typing import List, Tuple

_U_LONG = struct.Struct(">I")
_LONG = struct.Struct(">i")
_FALSE, _TRUE = bytes(4), b"\0\0\0\1"

# The upper three bytes of a character's unit: characters go out with their sign.
_SIGN = bytes(0xFF if byte >= 0x80 else 0 for byte in range(256))


def units(data: bytes) -> bytes:
    """Returns one unit of four bytes a character, sign-extended."""
    made = bytearray(4 * len(data))
    if not data.isascii():
        made[0::4] = made[1::4] = made[2::4] = data.translate(_SIGN)
    made[3::4] = data
    return bytes(made)


class XdrError(Exception):
    """The bytes do not have the form of the type."""


def low_long(value: int) -> int:
    """Returns `value` cut to its low 32 bits, signed."""
    return ((value & 0xFFFFFFFF) ^ 0x80000000) - 0x80000000


def low_short(value: int) -> int:
    """Returns `value` cut to its low 16 bits, signed."""
    return ((value & 0xFFFF) ^ 0x8000) - 0x8000


def long_bytes(value: int) -> bytes:
    """Returns the low 32 bits of a number."""
    return _U_LONG.pack(value & 0xFFFFFFFF)


def flag_bytes(value: object) -> bytes:
    """Returns a boolean."""
    return _TRUE if value else _FALSE


def fixed_bytes(data: bytes) -> bytes:
    """Returns the bytes, filled up with zeroes to a multiple of four."""
    return data + bytes(-len(data) % 4)


def counted_bytes(data: bytes) -> bytes:
    """Returns the number of bytes, then the bytes."""
    return long_bytes(len(data)) + fixed_bytes(data)


class Writer:
    """Collects XDR values. `written()` returns their bytes."""

    def __init__(self) -> None:
        self._parts: List[bytes] = []

    def written(self) -> bytes:
        """Returns all that was written."""
        return b"".join(self._parts)

    def long(self, value: int) -> None:
        """Writes the low 32 bits of a number."""
        self._parts.append(long_bytes(value))

    def raw(self, data: bytes) -> None:
        """Writes bytes that are XDR already."""
        self._parts.append(data)

    def flag(self, value: object) -> None:
        """Writes a boolean."""
        self._parts.append(flag_bytes(value))

    def fixed(self, data: bytes) -> None:
        """Writes the bytes, filled up with zeroes to a multiple of four."""
        self._parts.append(fixed_bytes(data))

    def counted(self, data: bytes) -> None:
        """Writes the number of bytes, then the bytes."""
        self._parts.append(counted_bytes(data))

    def characters(self, data: bytes) -> None:
        """Writes the `units` of the characters."""
        self._parts.append(units(data))


class Reader:
    """Reads XDR values from the front of `data`. Raises `XdrError` if the bytes end too early."""

    def __init__(self, data: bytes) -> None:
        self._data = data
        self._at = 0

    def rest(self) -> bytes:
        """Returns what has not been read yet."""
        return self._data[self._at:]

    def must_be_at_end(self) -> None:
        """Raises XdrError if something is left to read."""
        if self._at != len(self._data):
            raise XdrError(f"{len(self._data) - self._at} bytes too many")

    def unpack(self, layout: struct.Struct) -> Tuple[int, ...]:
        """Reads the next values, which `layout` describes."""
        at = self._at
        self._at += layout.size
        try:
            return layout.unpack_from(self._data, at)
        except struct.error:
            raise XdrError(f"{layout.size} bytes wanted, {len(self._data) - at} left") from None

    def _take(self, size: int) -> bytes:
        end = self._at + size
        if end > len(self._data):
            raise XdrError(f"{size} bytes wanted, {len(self._data) - self._at} left")
        taken = self._data[self._at:end]
        self._at = end
        return taken

    def long(self) -> int:
        """Reads a signed number of 32 bits."""
        return self.unpack(_LONG)[0]

    def u_long(self) -> int:
        """Reads an unsigned number of 32 bits."""
        return self.unpack(_U_LONG)[0]

    def flag(self) -> bool:
        """Reads a boolean. Any number but 0 is true."""
        return self.unpack(_U_LONG)[0] != 0

    def fixed(self, size: int) -> bytes:
        """Reads so many bytes, and the zeroes after them."""
        return self._take(size + -size % 4)[:size]

    def counted(self, limit: int = 0xFFFFFFFF) -> bytes:
        """Reads the number of bytes, then the bytes."""
        size = self.u_long()
        if size > limit:
            raise XdrError(f"{size} bytes where {limit} are allowed")
        return self.fixed(size)
