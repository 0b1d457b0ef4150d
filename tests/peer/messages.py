"""Builds the bytes after the id in a reply (RFC 5531), in hex, for the `reply` of a step.

    accepted    1, 0, verifier, status, what the status says
    denied      1, 1, 0 low high | 1 reason
"""

import struct

NO_VERIFIER = b"\0" * 8
SUCCESS, PROG_UNAVAIL, PROG_MISMATCH, PROC_UNAVAIL, GARBAGE_ARGS, SYSTEM_ERR = range(6)


def words(*values):
    return b"".join(struct.pack(">I", value & 0xFFFFFFFF) for value in values)


def verifier(length, flavour=1):
    """Returns a verifier of `length` bytes, which may be more than RFC 5531 allows."""
    return words(flavour, length) + b"v" * length + b"\0" * (-length % 4)


def accepted(status, body=b"", verf=NO_VERIFIER):
    return (words(1, 0) + verf + words(status) + body).hex()


def success(result, verf=NO_VERIFIER):
    return accepted(SUCCESS, result, verf)


def prog_mismatch(low, high):
    return accepted(PROG_MISMATCH, words(low, high))


def auth_error(reason):
    return words(1, 1, 1, reason).hex()


def rpc_mismatch(low, high):
    return words(1, 1, 0, low, high).hex()


# The results of l_startserver_1, l_version_1 and l_get_status_1.
RESULTS = {9: words(1), 19: words(7), 29: words(1, 2, 3, 4)}
