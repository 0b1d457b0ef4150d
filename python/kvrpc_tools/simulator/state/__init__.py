"""What the installation does: its families of procedures over one shared state.

A family holds the state of one subject and offers its procedures by name; each takes the decoded
argument and returns the result, or as much of it as it has to say (see `shape`). A procedure that
no family offers is answered with zeroes.
"""

from __future__ import annotations

import time
from typing import Any, Callable, Dict, Set

from kvrpc_tools.check import did_you_mean
from kvrpc_tools.schema import Schema
from kvrpc_tools.simulator.state import keeping
from kvrpc_tools.simulator.state.addresses import Addresses
from kvrpc_tools.simulator.state.belongings import Belongings
from kvrpc_tools.simulator.state.documents import Documents
from kvrpc_tools.simulator.state.files import Files
from kvrpc_tools.simulator.state.jobs import Jobs
from kvrpc_tools.simulator.state.journal import Journal
from kvrpc_tools.simulator.state.pages import Pages
from kvrpc_tools.simulator.state.people import People
from kvrpc_tools.simulator.state.processes import Processes
from kvrpc_tools.simulator.state.services import Services
from kvrpc_tools.simulator.state.shape import shaper_of
from kvrpc_tools.simulator.state.structure import Structure
from kvrpc_tools.simulator.state.transfer import Lines, Numbers, PageTransfer

Handler = Callable[[Any], Any]
Clock = Callable[[], float]


class Installation:
    """One installation; `now` gives the time in seconds since 1970."""

    def __init__(self, schema: Schema, now: Clock = time.time) -> None:
        journal = Journal(now)
        people, belongings, documents = People(), Belongings(now), Documents(now)
        structure = Structure(people, belongings)
        self._shapes = shaper_of(schema).by_procedure
        self._processes = Processes(journal)
        self._jobs = Jobs(documents, people, journal, now)
        self.handlers: Dict[str, Handler] = {}
        pages = Pages(documents, people, structure)
        services = Services(journal, people, now)
        self._kept: Dict[str, Any] = {
            "people": people, "structure": structure, "addresses": Addresses(people),
            "belongings": belongings, "documents": documents, "pages": pages,
            "jobs": self._jobs, "lines": Lines(structure), "transfer": PageTransfer(documents),
            "numbers": Numbers(), "services": services,
            "processes": self._processes, "journal": journal,
        }
        self._indexed = (documents, self._jobs, journal, people, services, self._processes)
        for family in (*self._kept.values(), Files(journal)):
            if family is not documents:
                self.handlers.update(family.handlers())

    def save(self) -> Dict[str, Any]:
        """Returns the whole state as JSON has it, an object for each family."""
        return {name: keeping.save(family) for name, family in self._kept.items()}

    def load(self, state: Dict[str, Any]) -> None:
        """Replaces what `state` names; the rest stays.

        Raises ValueError for a wrong name, and for what cannot be a state.
        """
        if not isinstance(state, dict):
            raise ValueError(f"a state is an object with some of {', '.join(self._kept)}")
        for name, kept in state.items():
            if name not in self._kept:
                raise ValueError(f"there is no {name}{did_you_mean(name, self._kept)} "
                                 f"(a state has {', '.join(self._kept)})")
            keeping.load(self._kept[name], kept)
        try:
            for family in self._indexed:
                family.look_again()
        except (AttributeError, KeyError, TypeError, ValueError) as error:
            raise ValueError(f"the state does not fit together: {error!r}") from error

    @property
    def running(self) -> Set[str]:
        """The names of the servers that run."""
        return self._processes.running_servers

    def run(self, procedure: str, argument: Any) -> Any:
        """Carries out one call and returns its result."""
        self._jobs.advance()
        handler = self.handlers.get(procedure)
        if handler is None:
            return None
        return self._shapes[procedure](argument, handler(argument))
