"""What the installation does: its families of procedures over one shared state.

A family holds the state of one subject and offers its procedures by name; each takes the decoded
argument and returns the result, or as much of it as it has to say. A procedure that no family
offers is answered with zeroes.
"""

from __future__ import annotations

import time
from typing import Any, Callable, Dict

from simulator.state.files import Files
from simulator.state.journal import Journal
from simulator.state.processes import Processes

Handler = Callable[[Any], Any]
Clock = Callable[[], float]


class Installation:
    """One installation; `now` gives the time in seconds since 1970."""

    def __init__(self, now: Clock = time.time) -> None:
        self.journal = Journal(now)
        self.processes = Processes(self.journal)
        self.files = Files(self.journal)
        self.handlers: Dict[str, Handler] = {}
        for family in (self.journal, self.processes, self.files):
            self.handlers.update(family.handlers())

    def is_running(self, server: str) -> bool:
        return self.processes.is_running(server)

    def run(self, procedure: str, argument: Any) -> Any:
        """Carries out one call and returns its result."""
        handler = self.handlers.get(procedure)
        return None if handler is None else handler(argument)
