"""Processor time of a small call through kvrpc_tools beside the same call through the module alone,
with the text ready and the reply unread. Both go to servers on loopback, in processes of their own,
batch by batch in turn; the median of the ratios counts.

Exits with 1 when the limit is not held.
"""

from __future__ import annotations

import contextlib
import json
import os
import statistics
import subprocess
import sys
import time
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, NamedTuple

ROOT = Path(__file__).resolve().parent.parent
sys.path[:0] = [os.environ.get("KVRPC_LIB", str(ROOT / "build" / "lib")), str(ROOT / "python")]

import kvrpc  # noqa: E402
import kvrpc_tools  # noqa: E402
from kvrpc_tools.schema import own  # noqa: E402

SERVER = ROOT / "tests" / "e2e" / "fast_server.py"  # its answer has the bytes of both results
SERVER_SLOT = 3
HOST = "127.0.0.1"
LIMIT = 2.5  # times the module's time
ROUNDS, BATCH = 41, 500


class Case(NamedTuple):
    server: str
    procedure: str
    arguments: List[Dict[str, Any]]  # one or none


CASES = [
    Case("lambda", "l_get_status_1", []),
    Case("alpha", "a_login_1", [{"userid": "meier", "passwor": "geheim"}]),
]


class Allow:
    """Vets every call."""

    def verify_call(self, name: str) -> bool:
        return True


@contextlib.contextmanager
def serving(server: str) -> Iterator[None]:
    """Starts a server for one connection, and sets the environment so that clients reach it."""
    process = subprocess.Popen([sys.executable, str(SERVER)], stdout=subprocess.PIPE, text=True)
    assert process.stdout is not None
    base = int(process.stdout.readline().split()[1]) + SERVER_SLOT - own().servers[server].slot
    os.environ["KORVEXRPCPORT"] = str(base)
    try:
        yield
    finally:
        process.kill()
        process.communicate()


def seconds(work: Callable[[], Any]) -> float:
    """Returns the processor time of a batch."""
    start = time.process_time()
    for _ in range(BATCH):
        work()
    return time.process_time() - start


def measure(case: Case) -> bool:
    """Prints the times of a call both ways. Returns true if the limit is kept."""
    allow = Allow()
    text = json.dumps({case.procedure: case.arguments[0] if case.arguments else None})
    with contextlib.ExitStack() as stack:
        stack.enter_context(serving(case.server))
        module = kvrpc.RpcClient(case.server, HOST)
        stack.enter_context(serving(case.server))
        library = stack.enter_context(getattr(kvrpc_tools, case.server.title())(HOST))
        method = getattr(library, case.procedure)
        assert json.loads(module.call(text, allow))["result"] == method(*case.arguments)
        pairs = [(seconds(lambda: module.call(text, allow)),
                  seconds(lambda: method(*case.arguments))) for _ in range(ROUNDS)]
        module.close()
    alone, ours = (statistics.median(column) / BATCH * 1e6 for column in zip(*pairs))
    ratio = statistics.median(one / other for other, one in pairs)
    verdict = "ok" if ratio <= LIMIT else "TOO SLOW"
    print(f"{case.procedure}: module {alone:.1f} us, library {ours:.1f} us, "
          f"ratio {ratio:.2f} (limit {LIMIT}) {verdict}", flush=True)
    return ratio <= LIMIT


def main() -> int:
    held = [measure(case) for case in CASES]
    return 0 if all(held) else 1


if __name__ == "__main__":
    sys.exit(main())
