"""The simulator in a process of its own, for tests and scripts.

    with running("--fault", "drop:l_ps_1:1") as simulator:
        os.environ["KORVEXRPCPORT"] = str(simulator.port)

and as a fixture of pytest:

    @pytest.fixture
    def simulator():
        with running() as started:
            yield started
"""

from __future__ import annotations

import contextlib
import os
import queue
import subprocess
import sys
import tempfile
import threading
from pathlib import Path
from typing import IO, Dict, Iterator

from kvrpc_tools.directory import VARIABLES

VARIABLE = "KORVEXRPCPORT"
CONTROL = "CONTROL"  # of the line that names the port of the control connection
START_SECONDS = 20.0

# What would lead a client elsewhere than to the simulator's ports.
ELSEWHERE = tuple(name for name in VARIABLES if name not in (VARIABLE, "RPCTRANSPORT"))


def environment(port: int) -> Dict[str, str]:
    """Returns the environment of a process whose clients must reach the servers from `port` on."""
    variables = {key: value for key, value in os.environ.items() if key not in ELSEWHERE}
    variables[VARIABLE] = str(port)
    return variables


def _plain_environment() -> Dict[str, str]:
    """Returns the environment without what makes a sanitizer watch the interpreter."""
    return {key: value for key, value in os.environ.items()
            if key not in ("LD_PRELOAD", "PYTHONMALLOC")}


class Simulator:
    """A simulator that is ready. `port` is the base port, `control` leads to control.py."""

    def __init__(self, process: "subprocess.Popen[str]", said: Dict[str, int], log: Path) -> None:
        self.process = process
        self.port = said.get(VARIABLE, 0)
        self.control = said.get(CONTROL, 0)
        self._log = log

    def environment(self) -> Dict[str, str]:
        """Returns the environment of a process whose clients are to reach this simulator."""
        return environment(self.port)

    def log(self) -> str:
        """Returns what it has printed about the calls so far."""
        return self._log.read_text(encoding="utf-8")

    def stop(self) -> None:
        """Ends the process."""
        self.process.terminate()
        try:
            self.process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


@contextlib.contextmanager
def running(*arguments: str, log_calls: bool = True) -> Iterator[Simulator]:
    """Starts a simulator with these further arguments, waits until it is ready, stops it.

    With `log_calls`, `Simulator.log` has a line for each call. Without, calls are twice as fast.
    """
    options = ["--log"] if log_calls else []
    with tempfile.TemporaryDirectory() as directory:
        log = Path(directory) / "log"
        with open(log, "w", encoding="utf-8") as errors:
            process = subprocess.Popen(
                [sys.executable, "-u", "-m", "kvrpc_tools.simulator", *options, *arguments],
                env=_plain_environment(), stdout=subprocess.PIPE, stderr=errors,
                encoding="utf-8")
        try:
            yield Simulator(process, _ports_said_by(process, log), log)
        finally:
            Simulator(process, {}, log).stop()
            if process.stdout is not None:
                process.stdout.close()


def _ports_said_by(process: "subprocess.Popen[str]", log: Path) -> Dict[str, int]:
    """Returns the ports by name, once the process prints them. Raises RuntimeError if none come."""
    assert process.stdout is not None
    said: "queue.Queue[Dict[str, int]]" = queue.Queue()
    threading.Thread(target=_listen, args=(process.stdout, said), daemon=True).start()
    try:
        ports = said.get(timeout=START_SECONDS)
    except queue.Empty:
        ports = {}
    if VARIABLE not in ports:
        raise RuntimeError("the simulator did not start: " + log.read_text(encoding="utf-8"))
    return ports


def _listen(output: IO[str], said: "queue.Queue[Dict[str, int]]") -> None:
    ports: Dict[str, int] = {}
    for line in output:
        name, _, value = line.strip().partition("=")
        if name in (VARIABLE, CONTROL):
            ports[name] = int(value)
        if name == VARIABLE:
            break
    said.put(ports)
