"""Calls a second that the simulator answers over TCP, beside one client of the module alone.

Measures small procedures of several servers twice: with the program `python -m
kvrpc_tools.simulator`, and with the one of the pytest fixture, which also keeps each call. Client
and simulator share one processor. The best batch counts, because other work can only slow one down.
Exits with 1 if a procedure misses the goal.

    python bench/simulator.py [WORD...]    only the procedures with one of the words in their name
"""

from __future__ import annotations

import json
import os
import sys
import time
from pathlib import Path
from typing import Any, List, NamedTuple

ROOT = Path(__file__).resolve().parent.parent
sys.path[:0] = [os.environ.get("KVRPC_LIB", str(ROOT / "build" / "lib")), str(ROOT / "python"),
                str(Path(__file__).resolve().parent)]

from calls import Allow, use_one_processor  # noqa: E402

import kvrpc  # noqa: E402
from kvrpc_tools.simulator.fixture import VARIABLE, running  # noqa: E402
from kvrpc_tools.testing import start  # noqa: E402

GOAL = 20_000  # calls a second
BATCHES, BATCH = 20, 1_000


class Case(NamedTuple):
    server: str
    procedure: str
    argument: Any = None


CASES = [
    Case("lambda", "l_version_1"),
    Case("lambda", "l_get_status_1"),
    Case("lambda", "l_get_rec_1", 3),
    Case("lambda", "l_statfile_1", {"filename": "/etc/fax.conf"}),
    Case("alpha", "a_login_1", {"userid": "meier", "passwor": "geheim"}),
    Case("alpha", "a_check_login_1", 1),
    Case("alpha", "a_get_s_rec_new_1", {"selection": 1, "v1": {"userid": "meier", "faxid": 1}}),
    Case("alpha", "a_get_tebul_1", {"userh": "zentrale", "useru": "meier", "tbuchid": "firma",
                                    "telid": "werft"}),
    Case("omega", "o_legalhost_1", "zentrale"),
    Case("omega", "o_get_user_1", {"alphaid": "zentrale", "userid": "meier"}),
    Case("theta", "t_get_trstat_1", "fax0"),
    Case("nue", "n_get_nr_1"),
]


def calls_a_second(case: Case, port: int) -> float:
    """Returns the rate of the best batch."""
    os.environ[VARIABLE] = str(port)
    client, allow = kvrpc.RpcClient(case.server, "127.0.0.1"), Allow()
    text = json.dumps({case.procedure: case.argument})
    reply = client.call(text, allow)
    assert reply.startswith(b'{"status":0,'), reply
    rates = []
    for _ in range(BATCHES):
        begun = time.perf_counter()
        for _ in range(BATCH):
            client.call(text, allow)
        rates.append(BATCH / (time.perf_counter() - begun))
    client.close()
    return max(rates)


def measure(title: str, case: Case, port: int) -> bool:
    """Prints the rate of one procedure. Returns true if the goal is met."""
    rate = calls_a_second(case, port)
    print(f"{title:8} {case.procedure:18} {rate:7.0f} calls/s (goal {GOAL}) "
          f"{'ok' if rate >= GOAL else 'TOO SLOW'}", flush=True)
    return rate >= GOAL


def main(words: List[str]) -> int:
    cases = [case for case in CASES
             if not words or any(word in case.procedure for word in words)]
    use_one_processor()
    with running(log_calls=False) as program:
        met = [measure("program", case, program.port) for case in cases]
    with start() as fixture:
        for case in cases:
            fixture.reset()
            met.append(measure("fixture", case, fixture.port))
    return 0 if all(met) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
