"""Record marking (RFC 5531): messages on a stream.

A message is one or more fragments. Each follows a word of four bytes, whose top bit says that the
fragment is the last and whose other bits are its length.
"""

from __future__ import annotations

import struct
from typing import List

LAST_FRAGMENT = 0x80000000
MAX_MESSAGE = 64 * 1024 * 1024

_MARK = struct.Struct(">I")


def framed(message: bytes, size: int = 0) -> bytes:
    """Returns the message as a record, in fragments of `size` bytes, or in one fragment for 0."""
    if size <= 0 or size >= len(message):
        return _MARK.pack(LAST_FRAGMENT | len(message)) + message
    pieces = [message[at:at + size] for at in range(0, len(message), size)]
    marks = [len(piece) for piece in pieces]
    marks[-1] |= LAST_FRAGMENT
    return b"".join(_MARK.pack(mark) + piece for mark, piece in zip(marks, pieces))


class RecordReader:
    """Puts records together from the bytes of a stream."""

    def __init__(self) -> None:
        self._input = bytearray()
        self._record = bytearray()

    @property
    def begun(self) -> bytes:
        """The beginning of the record that has not ended yet, 24 bytes at most."""
        return bytes(self._record[:24])

    def feed(self, data: bytes) -> List[bytes]:
        """Returns the records that end in `data`. Raises ValueError if one is too long."""
        if not self._input and not self._record and len(data) >= 4:
            mark = _MARK.unpack_from(data)[0]
            if mark == LAST_FRAGMENT | len(data) - 4:  # the usual case: one record, and whole
                return [data[4:]]
        self._input += data
        return self._ended()

    def _ended(self) -> List[bytes]:
        records: List[bytes] = []
        at = 0
        while len(self._input) - at >= _MARK.size:
            mark = _MARK.unpack_from(self._input, at)[0]
            end = at + _MARK.size + (mark & ~LAST_FRAGMENT)
            if end - at + len(self._record) > MAX_MESSAGE:
                raise ValueError("record too long")
            if len(self._input) < end:
                break
            self._record += self._input[at + _MARK.size:end]
            at = end
            if mark & LAST_FRAGMENT:
                records.append(bytes(self._record))
                self._record.clear()
        del self._input[:at]
        return records
