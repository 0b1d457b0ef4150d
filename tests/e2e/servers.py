"""Runs servers for the end-to-end tests, each in a process of its own, because the module holds the
GIL while a call waits: a thread of the same process could not answer.

`Started` runs a script that prints `port N` when it is ready, and a line for each observation. It
may print only a few, because nothing reads them while the module holds the GIL.
"""

import contextlib
import queue
import subprocess
import sys
import threading
from pathlib import Path

from settings import plain_environment

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
START_SECONDS = 20


class Started:
    """A running server; `port` is the port that it printed."""

    def __init__(self, script, *arguments):
        self._process = subprocess.Popen(
            [sys.executable, str(HERE / script), *arguments], stdout=subprocess.PIPE,
            encoding="utf-8", env=dict(plain_environment(), PYTHONUNBUFFERED="1"))
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        try:
            self.port = int(self.next_line().split()[1])
        except queue.Empty:
            self.stop()
            raise

    def _read(self):
        for line in self._process.stdout:
            self._lines.put(line.rstrip("\n"))

    def next_line(self, seconds=START_SECONDS):
        """Returns the next line that it prints. Raises queue.Empty if none comes in time."""
        return self._lines.get(timeout=seconds)

    def lines(self):
        """Returns the lines that nobody has asked for yet."""
        found = []
        with contextlib.suppress(queue.Empty):
            while True:
                found.append(self._lines.get_nowait())
        return found

    def stop(self):
        self._process.kill()
        self._process.wait()
        self._reader.join()
        self._process.stdout.close()
