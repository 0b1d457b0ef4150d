"""The tests' side of the peer."""

import dataclasses
import json
import os
import queue
import subprocess
import sys
import threading
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
SECONDS = 60
SLOTS = {"alpha": 0, "lambda": 3, "omega": 5}  # a server's port behind the base port


@dataclasses.dataclass(frozen=True)
class Call:
    """A call as it arrived: `whole` has the marks of its record, `data` has not."""

    transport: str
    connection: int
    time: float
    whole: bytes

    @classmethod
    def of(cls, event):
        return cls(event["transport"], event["connection"], event["time"],
                   bytes.fromhex(event["bytes"]))

    @property
    def data(self):
        if self.transport == "udp":
            return self.whole
        parts, place = [], 0
        for length in self.fragments:
            parts.append(self.whole[place + 4:place + 4 + length])
            place += 4 + length
        return b"".join(parts)

    @property
    def fragments(self):
        lengths, place = [], 0
        while place < len(self.whole):
            lengths.append(int.from_bytes(self.whole[place:place + 4], "big") & 0x7FFFFFFF)
            place += 4 + lengths[-1]
        return lengths

    @property
    def id(self):
        return self.data[:4]

    @property
    def procedure(self):
        return int.from_bytes(self.data[20:24], "big")


def environment():
    """Without what makes a sanitizer watch the interpreter."""
    kept = {name: value for name, value in os.environ.items()
            if name not in ("LD_PRELOAD", "PYTHONMALLOC")}
    return dict(kept, PYTHONPATH=str(TESTS))


class FaultPeer:
    """A running peer. `script` says what comes next, `calls` and `events` what it saw."""

    def __init__(self, host="127.0.0.1", port=0):
        self._process = subprocess.Popen(
            [sys.executable, "-m", "peer", host, str(port)], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, encoding="ascii", env=environment())
        self._events = queue.Queue()
        self._pings = 0
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        self.host = host
        try:
            self.port = self.event()["port"]
        except queue.Empty:
            self.stop()
            raise

    def _read(self):
        with self._process.stdout as lines:
            for line in lines:
                self._events.put(json.loads(line))

    def _tell(self, command):
        self._process.stdin.write(json.dumps(command) + "\n")
        self._process.stdin.flush()

    def base_port(self, server="lambda"):
        return self.port - SLOTS[server]

    def event(self, seconds=SECONDS):
        """The next event; queue.Empty when none comes in time."""
        return self._events.get(timeout=seconds)

    def events(self):
        """What has happened since it was last asked."""
        self._pings += 1
        self._tell({"ping": self._pings})
        found = []
        while True:
            event = self.event()
            if event == {"event": "pong", "ping": self._pings}:
                return found
            found.append(event)

    def script(self, *actions, otherwise=None):
        """The actions for the coming calls; after them it answers well, or as told."""
        self._tell({"script": actions, "otherwise": {} if otherwise is None else otherwise})
        self.events()

    def calls(self):
        """The calls since it was last asked for anything."""
        return [Call.of(event) for event in self.events() if event["event"] == "call"]

    def stop(self):
        self._process.stdin.close()
        self._process.kill()
        self._process.wait()
        self._reader.join()
