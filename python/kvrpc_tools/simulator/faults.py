"""Misbehaviour on request, to try how a script takes it.

A fault is written KIND[=VALUE][:PROCEDURE[:COUNT]], for example `drop:l_get_status_1:1`. PROCEDURE
is a name, `portmapper`, or `*` for every procedure, which is what counts when it is left out. COUNT
says how many calls the fault strikes, `*` or nothing for all of them. `KINDS` has the kinds.
"""

from __future__ import annotations

import math
import random
import textwrap
from dataclasses import dataclass
from typing import Dict, Iterable, List, NamedTuple, Optional

from kvrpc_tools.check import did_you_mean
from kvrpc_tools.schema import own

EVERY = "*"
PORTMAPPER = "portmapper"  # in the place of a procedure: the questions for a port
_WIDTH = 78  # characters of a line of the help


class Kind(NamedTuple):
    """A kind of fault. `value` names what may follow the equals sign, "" for nothing."""

    meaning: str
    value: str = ""
    default: Optional[float] = None


# Those that refuse a call; it is not carried out.
_REFUSING = {
    "refuse": Kind("denied: the credential is not accepted, for the reason WHY", "WHY", 5),
    "rpc-mismatch": Kind("denied: another version of the RPC protocol"),
    "no-program": Kind("the program is not available here"),
    "no-version": Kind("the program has only the version VERSION", "VERSION", 2),
    "no-procedure": Kind("the program has no such procedure"),
    "bad-arguments": Kind("the server cannot decode the argument"),
    "system-error": Kind("the server lacks memory or the like"),
    "unknown-status": Kind("an answer with the status NUMBER, which no standard has", "NUMBER", 6),
    "hang-up": Kind("the connection is reset before the call is read to its end"),
}

# Those that carry a call out and spoil its answer.
_SPOILING = {
    "drop": Kind("no answer"),
    "delay": Kind("the answer comes late", "SECONDS", 1),
    "cut": Kind("BYTES of the answer, half of it if not given; then the connection is closed",
                "BYTES"),
    "stall": Kind("BYTES of the answer, half of it if not given; then nothing more", "BYTES"),
    "reset": Kind("BYTES of the answer; then the connection is reset", "BYTES", 0),
    "trickle": Kind("byte after byte of the answer, SECONDS apart", "SECONDS", 0.01),
    "fragments": Kind("the answer in fragments of SIZE bytes", "SIZE", 1),
    "duplicate": Kind("the answer, TIMES in all", "TIMES", 2),
    "reorder": Kind("the answer to the call before it, once more, then the answer"),
    "wrong-id": Kind("the answer under the transaction id of another call"),
    "garble": Kind("the answer with all bits of byte PLACE inverted; 0 to 3 are the id, the result "
                   "starts at 24", "PLACE", 24),
    "garbage": Kind("an answer that ends within the first item of its result"),
    "null-text": Kind("the result with no byte at all for each text, not even its final NUL"),
    "pad": Kind("the answer with BYTES bytes too many at its end", "BYTES", 8800),
}

# Those that only make sense for the portmapper.
_MISLEADING = {
    "unregistered": Kind("the portmapper has no port for the program"),
    "port": Kind("the portmapper answers the port NUMBER", "NUMBER", 1),
}

KINDS: Dict[str, Kind] = {**_REFUSING, **_SPOILING, **_MISLEADING}


@dataclass
class Fault:
    """One fault. `left` is None if it never ends, `value` is None if nothing was given."""

    kind: str
    procedure: str = EVERY
    left: Optional[int] = None
    value: Optional[float] = None

    def strikes(self, procedure: str) -> bool:
        """Returns whether this fault strikes a call of `procedure`; counts the call if so."""
        if self.left == 0 or self.procedure != procedure and (
                self.procedure != EVERY or procedure == PORTMAPPER):
            return False
        if self.left is not None:
            self.left -= 1
        return True

    @property
    def number(self) -> int:
        """Returns the value as a whole number, 0 if there is none."""
        return int(self.value or 0)


def is_refusing(fault: Fault) -> bool:
    """Returns true if the call is not carried out."""
    return fault.kind in _REFUSING


def parse(text: str) -> Fault:
    """Returns the fault that `text` describes. Raises ValueError if there is no such fault."""
    head, *rest = text.split(":")
    name, equals, value = head.partition("=")
    if name not in KINDS or len(rest) > 2:
        raise ValueError(f"no fault {text}{did_you_mean(name, KINDS)} (a fault is written "
                         f"KIND[=VALUE][:PROCEDURE[:COUNT]] with one of {', '.join(KINDS)})")
    if equals and not KINDS[name].value:
        raise ValueError(f"{name} takes no value: {text}")
    fault = Fault(name, value=_number(value, text) if equals else KINDS[name].default)
    if rest and rest[0]:
        fault.procedure = _procedure(name, rest[0])
    elif name in _MISLEADING:
        fault.procedure = PORTMAPPER
    if len(rest) > 1 and rest[1] != EVERY:
        fault.left = int(_number(rest[1], text))
    return fault


def _number(text: str, whole: str) -> float:
    try:
        number = float(text)
    except ValueError:
        number = -1
    if not 0 <= number < math.inf:
        raise ValueError(f"{text!r} in {whole} is no number from 0 on")
    return number


def _procedure(kind: str, name: str) -> str:
    known = (PORTMAPPER,) if kind in _MISLEADING else (EVERY, PORTMAPPER, *own().procedures)
    if name not in known:
        raise ValueError(f"no procedure {name} for the fault {kind}"
                         f"{did_you_mean(name, known)}")
    return name


def described() -> str:
    """Returns the kinds as a text of lines, for the help of the command."""
    introduction = (__doc__ or "").rpartition("`KINDS`")[0] + "The kinds:"
    lines = [textwrap.fill(each, _WIDTH) for each in introduction.split("\n\n")]
    kinds = [textwrap.fill(f"  {form(name):24} {kind.meaning}", _WIDTH, subsequent_indent=" " * 27)
             for name, kind in KINDS.items()]
    return "\n\n".join([*lines, "\n".join(kinds)]) + "\n"


def form(name: str) -> str:
    """Returns a kind as it is written, for example "delay[=SECONDS]"."""
    return f"{name}[={KINDS[name].value}]" if KINDS[name].value else name


class Load:
    """Late and lost answers for load tests, the same ones in each run.

    An answer is `slow` seconds late on average, twice as many at most. `loss` is a percentage. As
    nothing is lost over TCP, the connection is closed there.
    """

    def __init__(self, slow: float = 0.0, loss: float = 0.0) -> None:
        self._slow = slow
        self._loss = loss
        self._random = random.Random(0)

    def next(self) -> Optional[Fault]:
        """Returns what happens to the next answer."""
        if self._loss and self._random.uniform(0, 100) < self._loss:
            return Fault("cut", value=0)
        return Fault("delay", value=self._random.uniform(0, 2 * self._slow)) if self._slow else None


class Faults:
    """The faults of one run, tried in the order given, and the load after them."""

    def __init__(self, faults: Iterable[Fault] = (), load: Optional[Load] = None) -> None:
        self._faults: List[Fault] = list(faults)
        self._load = load

    def add(self, fault: Fault) -> None:
        """Adds a fault, after those that are there."""
        self._faults.append(fault)

    def next_for(self, procedure: str, kind: Optional[str] = None) -> Optional[Fault]:
        """Returns the fault that strikes this call, or None. With `kind`, of that kind only."""
        for fault in self._faults:
            if kind in (None, fault.kind) and fault.strikes(procedure):
                return fault
        return self._load.next() if self._load and not kind and procedure != PORTMAPPER else None
