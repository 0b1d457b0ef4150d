"""One installation with what a test steers: its clock, prepared answers, faults, a list of calls.

    Clock        the time of the installation, which a test can advance
    Simulation   all of it; `reset` makes everything new but the ports
"""

from __future__ import annotations

import time
from dataclasses import replace
from typing import Any, FrozenSet, Iterable, List, NamedTuple, Optional, Tuple

from kvrpc_tools.schema import Schema
from kvrpc_tools.simulator.answers import Answers
from kvrpc_tools.simulator.codec import Codec, as_decoded
from kvrpc_tools.simulator.faults import Fault, Faults, Load
from kvrpc_tools.simulator.population import populate
from kvrpc_tools.simulator.replay import Replay
from kvrpc_tools.simulator.state import Installation


class Clock:
    """Seconds since 1970, plus what the clock has been advanced by."""

    def __init__(self) -> None:
        self.ahead = 0.0

    def __call__(self) -> float:
        """Returns the time."""
        return time.time() + self.ahead


class Call(NamedTuple):
    """A call that reached the simulator.

    `argument` has the shape that the client library takes: dicts, lists, Base64 for bytes. `time`
    is in seconds since 1970, by the simulator's clock. `outcome` is "answered", "unexpected", the
    kind of the fault that struck, or "failed" with the reason that no answer could be made.
    """

    server: str
    procedure: str
    argument: Any
    transport: str
    time: float
    outcome: str


class Simulation:
    """What all servers of one installation share.

    It begins with so many made-up `users`. With a `recording`, calls get their answers from that
    file in place of the installation.
    """

    def __init__(self, schema: Schema, faults: Iterable[Fault] = (), keeps_calls: bool = False,
                 load: Optional[Load] = None, users: int = 0,
                 recording: Optional[str] = None) -> None:
        self._schema = schema
        self._codec = Codec(schema)
        self._first_faults = list(faults)
        self.keeps_calls = keeps_calls
        self._load = load
        self._users = users
        self._first_replay = Replay(schema, recording) if recording else None
        self.reset()

    def reset(self) -> None:
        """Makes the installation, its clock and all that a test has prepared new."""
        self.clock = Clock()
        self.installation = Installation(self._schema, self.clock)
        populate(self._schema, self.installation, self._users)
        self.answers = Answers()
        self.faults = Faults((replace(fault) for fault in self._first_faults), self._load)
        self._calls: List[Tuple[str, str, Optional[bytes], str, float, str]] = []
        self.allowed: Optional[FrozenSet[str]] = None
        self.replay = self._first_replay
        if self.replay is not None:
            self.replay.rewind()
        # False as long as each call is carried out and answered as it should be.
        self.is_steered = bool(self._first_faults or self._load or self._first_replay)

    def answer_from(self, recording: str) -> None:
        """Answers later calls from a recording. Raises ValueError if the file is none."""
        self.replay = Replay(self._schema, recording)
        self.is_steered = True

    def add_fault(self, fault: Fault) -> None:
        """Adds a fault, after those that are there."""
        self.faults.add(fault)
        self.is_steered = True

    def allow_only(self, procedures: Iterable[str]) -> None:
        """Makes calls of all other procedures unexpected."""
        self.allowed = frozenset(procedures)
        self.is_steered = True

    def record(self, server: str, procedure: str, argument: Optional[bytes], protocol: str,
               outcome: str) -> None:
        """Notes a call for the process that steers this one, if there is one.

        `argument` is kept as it came, because most calls are never asked for. None is one that was
        not read to its end.
        """
        if self.keeps_calls:
            self._calls.append((server, procedure, argument, protocol, self.clock(), outcome))

    def note_failure(self, error: Exception) -> None:
        """Notes that the last call could not be answered."""
        if self._calls:
            self._calls[-1] = (*self._calls[-1][:5], f"failed: {type(error).__name__}: {error}")

    def calls(self) -> List[Call]:
        """Returns the calls that were noted, in their order."""
        return [Call(server, name, self._decoded(name, argument), protocol, at, outcome)
                for server, name, argument, protocol, at, outcome in self._calls]

    def _decoded(self, procedure: str, argument: Optional[bytes]) -> Any:
        kind = self._schema.procedures[procedure].argument
        return None if argument is None else self._codec.decode(kind, argument)

    def expects(self, procedure: str) -> bool:
        """Returns whether calls of this procedure are allowed."""
        return self.allowed is None or procedure in self.allowed

    def run(self, procedure: str, argument: Any) -> Any:
        """Carries out one call, or takes its prepared answer. Returns the result."""
        if procedure in self.answers:
            value = self.answers[procedure](argument)
            return as_decoded(self._schema, self._schema.procedures[procedure].result, value)
        return self.installation.run(procedure, argument)
