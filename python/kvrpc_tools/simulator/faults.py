"""Misbehaviour on request, to try how a script takes it.

A fault is written KIND[=SECONDS][:PROCEDURE[:COUNT]], for example `drop:l_get_status_1:1`:

    drop       the call is carried out and not answered
    delay      the answer comes late, by SECONDS (1 when not given)
    cut        half of the answer, then the connection is closed (a short datagram over UDP)
    refuse     the call is not carried out: denied, the caller's credential being too weak
    wrong-id   the answer carries another call's transaction id
    garbage    an answer that breaks off inside its result's first item

PROCEDURE is a name or `*` for every one, and what stands when it is left out; COUNT says how many
calls it befalls, `*` or nothing for all of them.
"""

from __future__ import annotations

from dataclasses import dataclass
from typing import Iterable, List, Optional

from kvrpc_tools.check import did_you_mean
from kvrpc_tools.schema import own

KINDS = ("drop", "delay", "cut", "refuse", "wrong-id", "garbage")
EVERY = "*"


@dataclass
class Fault:
    """One fault; `left` is None when it never ends."""

    kind: str
    procedure: str = EVERY
    left: Optional[int] = None
    seconds: float = 1.0

    def strikes(self, procedure: str) -> bool:
        """Whether this fault befalls a call of `procedure`; counts it if so."""
        if self.left == 0 or self.procedure not in (EVERY, procedure):
            return False
        if self.left is not None:
            self.left -= 1
        return True


def parse(text: str) -> Fault:
    """The fault that `text` describes; ValueError says what is wrong with it."""
    parts = text.split(":")
    kind, _, seconds = parts[0].partition("=")
    if kind not in KINDS or len(parts) > 3:
        raise ValueError(f"a fault is {'|'.join(KINDS)}[=SECONDS][:PROCEDURE[:COUNT]], not {text}"
                         + did_you_mean(kind, KINDS))
    if len(parts) > 1 and parts[1] not in ("", EVERY, *own().procedures):
        raise ValueError(f"no procedure {parts[1]}{did_you_mean(parts[1], own().procedures)}")
    fault = Fault(kind)
    if seconds:
        fault.seconds = float(seconds)
    if len(parts) > 1 and parts[1]:
        fault.procedure = parts[1]
    if len(parts) > 2 and parts[2] != EVERY:
        fault.left = int(parts[2])
    return fault


class Faults:
    """The faults of one run, tried in the order given."""

    def __init__(self, faults: Iterable[Fault] = ()) -> None:
        self._faults: List[Fault] = list(faults)

    def add(self, fault: Fault) -> None:
        self._faults.append(fault)

    def next_for(self, procedure: str) -> Optional[Fault]:
        return next((fault for fault in self._faults if fault.strikes(procedure)), None)
