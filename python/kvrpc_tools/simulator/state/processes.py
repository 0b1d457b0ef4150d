"""The processes of the installation, which `lambda` starts, stops and lists.

Servers, drivers, gateways and daemons are processes of one table. A process keeps its slot for
good and gets a new number at each start.
"""

from __future__ import annotations

from dataclasses import dataclass
from functools import partial
from typing import Any, Callable, Dict, List, Optional

from kvrpc_tools.simulator.state.journal import WARNING, Journal
from kvrpc_tools.simulator.state.keeping import Kept

# Of a process.
STOPPED, RUNNING = 0, 1
# Of a whole kind: none of its processes runs, all do, some do.
NONE_RUN, ALL_RUN, SOME_RUN = 0, 1, 2

SERVER, DRIVER, GATEWAY, DAEMON = "server", "driver", "gateway", "daemon"

SELF = "lambda"
VERSION = 30500

_TABLE = (
    (SERVER, "lambda"), (SERVER, "alpha"), (SERVER, "omega"), (SERVER, "theta"),
    (SERVER, "sigma"), (SERVER, "nue"), (SERVER, "gamma"),
    (DRIVER, "fax0"), (DRIVER, "fax1"),
    (GATEWAY, "mail"), (GATEWAY, "sms"),
    (DAEMON, "clean"), (DAEMON, "backup"), (DAEMON, "archive-collector"),
)

_DIRECTORIES = {SERVER: "/usr/fax/server", DRIVER: "/usr/fax/driver",
                GATEWAY: "/usr/fax/gateway", DAEMON: "/usr/fax/daemon"}

# The fields of the answer to l_get_status_1.
_STATES = {"state_fax": SERVER, "state_gateways": GATEWAY, "state_daemons": DAEMON,
           "state_drivers": DRIVER}

_EXITS = {"a_exit_1": "alpha", "o_exit_1": "omega", "l_exit_1": "lambda", "t_exit_1": "theta",
          "t_shutdown_1": "theta", "s_exit_1": "sigma", "n_exit_1": "nue"}


@dataclass
class Process:
    """One entry of the table; `pid` is 0 while it does not run, `status` is its last report."""

    slot: int
    kind: str
    name: str
    pid: int = 0
    status: int = STOPPED

    @property
    def running(self) -> bool:
        """True if the process runs."""
        return self.pid != 0

    def entry(self) -> Dict[str, Any]:
        """Returns the process as `l_ps_1` lists it."""
        return {"slot": self.slot, "pid": self.pid, "status": self.status,
                "cmd": self.name, "dir": _DIRECTORIES[self.kind]}


class Processes:
    """The table, started whole."""

    KEPT: Kept = {"_table": Process, "_next_pid": None}

    def __init__(self, journal: Journal) -> None:
        self._journal = journal
        self._next_pid = 401
        self._table: List[Process] = [
            Process(slot, kind, name) for slot, (kind, name) in enumerate(_TABLE)]
        self.look_again()
        self._start_all(*_DIRECTORIES)

    def handlers(self) -> Dict[str, Callable[[Any], Any]]:
        """Returns what carries out each procedure of the family, by its name."""
        offered: Dict[str, Callable[[Any], Any]] = {
            "l_ps_1": lambda _: [process.entry() for process in self._table],
            "l_get_status_1": lambda _: self._states(),
            "l_version_1": lambda _: VERSION,
            "l_set_stat_1": self._set_status,
            "l_kill_1": self._kill,
            "l_regserver_1": self._register,
            "l_startfax_1": lambda _: self._start_all(*_DIRECTORIES),
            "l_stopfax_1": lambda _: self._stop_all(*_DIRECTORIES),
            "l_startdrivers_1": lambda _: self._start_all(DRIVER),
            "l_startgateways_1": lambda _: self._start_all(GATEWAY),
            "l_stopgateways_1": lambda _: self._stop_all(GATEWAY),
            "l_startdaemons_1": lambda _: self._start_all(DAEMON),
            "l_stopdaemons_1": lambda _: self._stop_all(DAEMON),
            "l_startdaemon64_1": partial(self._start, DAEMON),
            "l_stopdaemon64_1": partial(self._stop, DAEMON),
        }
        for kind in _DIRECTORIES:
            offered[f"l_start{kind}_1"] = partial(self._start, kind)
            offered[f"l_stop{kind}_1"] = partial(self._stop, kind)
        for procedure, server in _EXITS.items():
            offered[procedure] = partial(self._restart, server)
        return offered

    def look_again(self) -> None:
        """Makes what a search needs, because other processes were loaded."""
        self.running_servers = {
            process.name for process in self._of(SERVER) if process.running}

    # ---- one process

    def _find(self, kind: str, name: str) -> Optional[Process]:
        return next((process for process in self._table
                     if process.kind == kind and process.name == name), None)

    def _start(self, kind: str, name: str) -> bool:
        """Returns false if there is no such process. Starting one that runs changes nothing."""
        process = self._find(kind, name)
        if process is None:
            return False
        if not process.running:
            self._set(process, self._next_pid, RUNNING)
            self._next_pid += 7
            self._journal.note(SELF, f"{kind} {name} started, pid {process.pid}")
        return True

    def _set(self, process: Process, pid: int, status: int) -> None:
        process.pid, process.status = pid, status
        self.look_again()

    def _stop(self, kind: str, name: str) -> bool:
        """Returns false if there is no such process, or if it is `lambda` itself."""
        process = self._find(kind, name)
        if process is None or name == SELF:
            return False
        if process.running:
            self._set(process, 0, STOPPED)
            self._journal.note(SELF, f"{kind} {name} stopped")
        return True

    def _restart(self, server: str, _: Any = None) -> None:
        """Ends a server and starts it again at once."""
        process = self._find(SERVER, server)
        if process is not None:
            self._set(process, 0, STOPPED)
            self._journal.note(SELF, f"server {server} has left", WARNING)
            self._start(SERVER, server)

    def _kill(self, pid: int) -> bool:
        process = next((entry for entry in self._table if pid and entry.pid == pid), None)
        return process is not None and self._stop(process.kind, process.name)

    def _set_status(self, argument: Dict[str, Any]) -> None:
        """Notes the status that a process reports. Slot and pid must agree."""
        for process in self._table:
            named = (process.slot, process.pid) == (argument["slot"], argument["pid"])
            if named and process.running:
                process.status = argument["status"]

    def _register(self, argument: Dict[str, Any]) -> bool:
        """Notes that a server is ready, or that it is not."""
        if self._find(SERVER, argument["id"]) is None:
            return False
        told = "is ready" if argument["ok"] else "could not start"
        self._journal.note(argument["id"], f"server {argument['id']} {told}")
        return True if argument["ok"] else self._stop(SERVER, argument["id"])

    # ---- whole kinds

    def _of(self, *kinds: str) -> List[Process]:
        return [process for process in self._table if process.kind in kinds]

    def _start_all(self, *kinds: str) -> bool:
        for process in self._of(*kinds):
            self._start(process.kind, process.name)
        return True

    def _stop_all(self, *kinds: str) -> bool:
        """Stops all but `lambda` itself."""
        for process in self._of(*kinds):
            self._stop(process.kind, process.name)
        return True

    def _states(self) -> Dict[str, int]:
        """Returns the states without that of `lambda`: if it did not run, nobody would answer."""
        running = [process.kind for process in self._table if process.pid]
        stopped = [process.kind for process in self._table if not process.pid]
        running.remove(SERVER)
        return {name: _state(kind in running, kind in stopped) for name, kind in _STATES.items()}


def _state(some_run: bool, some_do_not: bool) -> int:
    if not some_do_not:
        return ALL_RUN
    return SOME_RUN if some_run else NONE_RUN
