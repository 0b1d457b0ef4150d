"""The tests' side of the peer."""

import collections
import dataclasses
import json
import subprocess
import sys
from pathlib import Path

from settings import plain_environment

TESTS = Path(__file__).resolve().parents[1]
SECONDS = 60
SLOTS = {"alpha": 0, "lambda": 3, "omega": 5}  # added to the base port


@dataclasses.dataclass(frozen=True)
class Call:
    """A call as it arrived: `whole` with the marks of its record, `data` without them."""

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


class FaultPeer:
    """A running peer: `script` sets what it does next, `calls` and `events` say what it saw.

    One thread at a time may use it.
    """

    def __init__(self, host="127.0.0.1", port=0):
        self._process = subprocess.Popen(
            [sys.executable, "-m", "peer", host, str(port)], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, encoding="ascii",
            env=dict(plain_environment(), PYTHONPATH=str(TESTS)))
        self._untold = collections.deque()  # events that the peer has handed out, in order
        self.host = host
        try:
            self.port = self._answer()
        except EOFError:
            self.stop()
            raise

    def _answer(self):
        line = self._process.stdout.readline()
        if not line:
            raise EOFError("the peer has ended")
        return json.loads(line)

    def _ask(self, **command):
        self._process.stdin.write(json.dumps(command) + "\n")
        self._process.stdin.flush()
        self._untold.extend(self._answer())

    def base_port(self, server="lambda"):
        return self.port - SLOTS[server]

    def event(self, seconds=SECONDS):
        """Returns the next event. Raises TimeoutError if none comes in time."""
        if not self._untold:
            self._ask(wait=seconds)
        if not self._untold:
            raise TimeoutError(f"the peer saw nothing in {seconds} s")
        return self._untold.popleft()

    def events(self):
        """Returns the events that nobody has asked for yet."""
        self._ask(wait=0)
        found = list(self._untold)
        self._untold.clear()
        return found

    def script(self, *actions, otherwise=None):
        """Sets the actions for the next calls, and for all later ones: a good answer if not given.

        Drops the events up to now.
        """
        self._ask(script=actions, otherwise={} if otherwise is None else otherwise)
        self._untold.clear()

    def calls(self):
        """Returns the calls among the events that nobody has asked for yet."""
        return [Call.of(event) for event in self.events() if event["event"] == "call"]

    def stop(self):
        self._process.stdin.close()
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()
