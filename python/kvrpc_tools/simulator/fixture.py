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
from typing import IO, Dict, Iterator, Optional

VARIABLE = "KORVEXRPCPORT"
START_SECONDS = 20.0

# What would lead a client elsewhere than to the simulator's ports.
ELSEWHERE = ("KORVEXRPCMAP", "KORVEXRPCOFFSET", "ALPHAHOST", "OMEGAHOST", "LOCALHOST", "ZOLMHOST")


def environment(port: int) -> Dict[str, str]:
    """The environment of a process whose clients are to reach the servers from `port` on."""
    variables = {key: value for key, value in os.environ.items() if key not in ELSEWHERE}
    variables[VARIABLE] = str(port)
    return variables


def _plain_environment() -> Dict[str, str]:
    """The environment without what makes a sanitizer watch the interpreter."""
    return {key: value for key, value in os.environ.items()
            if key not in ("LD_PRELOAD", "PYTHONMALLOC")}


class Simulator:
    """A simulator that is ready; `port` is the base port."""

    def __init__(self, process: "subprocess.Popen[str]", port: int, log: Path) -> None:
        self.process = process
        self.port = port
        self._log = log

    def environment(self) -> Dict[str, str]:
        return environment(self.port)

    def log(self) -> str:
        """What it has said about the calls so far."""
        return self._log.read_text(encoding="utf-8")

    def stop(self) -> None:
        self.process.terminate()
        try:
            self.process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


@contextlib.contextmanager
def running(*arguments: str) -> Iterator[Simulator]:
    """Starts a simulator with these further arguments, waits until it is ready, stops it."""
    with tempfile.TemporaryDirectory() as directory:
        log = Path(directory) / "log"
        with open(log, "w", encoding="utf-8") as errors:
            process = subprocess.Popen(
                [sys.executable, "-u", "-m", "kvrpc_tools.simulator", "--log", *arguments],
                env=_plain_environment(), stdout=subprocess.PIPE, stderr=errors,
                encoding="utf-8")
        try:
            yield Simulator(process, _port_said_by(process, log), log)
        finally:
            Simulator(process, 0, log).stop()
            if process.stdout is not None:
                process.stdout.close()


def _port_said_by(process: "subprocess.Popen[str]", log: Path) -> int:
    """The base port, once the process says it; RuntimeError when it does not."""
    assert process.stdout is not None
    said: "queue.Queue[Optional[int]]" = queue.Queue()
    threading.Thread(target=_listen, args=(process.stdout, said), daemon=True).start()
    try:
        port = said.get(timeout=START_SECONDS)
    except queue.Empty:
        port = None
    if port is None:
        raise RuntimeError("the simulator did not start: " + log.read_text(encoding="utf-8"))
    return port


def _listen(output: IO[str], said: "queue.Queue[Optional[int]]") -> None:
    for line in output:
        name, _, value = line.strip().partition("=")
        if name == VARIABLE:
            said.put(int(value))
            return
    said.put(None)
