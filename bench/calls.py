"""Time per call beside the floor: a C++ client that sends and receives the same bytes, each call in
one piece, and decodes nothing. Both run against one server, batch by batch in turn, and the best
batch of each counts. Then the time per record of one list of 100,000 beside that of a hundred lists
of 1,000, on the wall and of the processor.

Exits with 1 when a limit is not held.
"""

from __future__ import annotations

import json
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Any, List, NamedTuple

ROOT = Path(__file__).resolve().parent.parent
sys.path[:0] = [os.environ.get("KVRPC_LIB", str(ROOT / "build" / "lib")),
                str(ROOT / "python")]

import kvrpc  # noqa: E402
from kvrpc_tools import schema  # noqa: E402
from kvrpc_tools.simulator.codec import Codec  # noqa: E402

FLOOR = Path(os.environ.get("KVRPC_FLOOR", str(ROOT / "build" / "release" / "bench_floor")))
MARK_AND_REPLY_HEADER = 28
LAST_PROCEDURE = 1011
FRAGMENT = 3996


class Case(NamedTuple):
    title: str
    server: str
    procedure: str
    result: Any
    batch: int  # calls
    limit: float  # times the floor
    argument: Any = None


def process(slot: int) -> dict:
    return {"slot": slot, "pid": 4000 + slot, "status": 2, "cmd": f"lined -l {slot:03d} -v",
            "dir": "/var/spool/fax/lines"}


def send_record(number: int) -> dict:
    return {"data": {"faxid": number, "userid": "MEIER", "prio": 1, "status": 3, "seiten": 2,
                     "comment": f"Angebot {number:05d}", "crezeit": 1500000000 + number,
                     "empftsi": "+49 89 1234567", "empfnr": "0891234567", "nettype": 1}}


def page(size: int) -> dict:
    """An argument whose text has so many characters, which are as many bytes on the wire."""
    return {"userid": "MEIER", "faxid": 4711, "seitennr": 1, "typ": 2,
            "data": "Mit freundlichen Gruessen, Ihr Fax. " * (size // 36)}


CASES = [
    Case("a small call", "lambda", "l_get_status_1",
         {"state_fax": 1, "state_gateways": 2, "state_daemons": 3, "state_drivers": 4}, 2000, 1.15),
    Case("100 process entries", "lambda", "l_ps_1", [process(n) for n in range(100)], 500, 1.5),
    Case("1,000 send records", "alpha", "a_get_s_1",
         {"anz": 1000, "first": [send_record(n) for n in range(1000)]}, 50, 3.0),
    Case("a page of 9 kB", "alpha", "a_put_page_1", 1, 500, 1.3, page(9_000)),
    Case("a page of 60 kB", "alpha", "a_put_page_1", 1, 200, 2.0, page(60_000)),
    Case("a page of 200 kB", "alpha", "a_put_page_1", 1, 100, 2.4, page(200_000)),
    Case("a page of 900 kB", "alpha", "a_put_page_1", 1, 20, 2.7, page(900_000)),
]
ROUNDS = 15

LONG_LIST = "a_get_sb_1"  # the same result as a_get_s_1
LONG_COUNT, SHORT_COUNT = 100_000, 1_000
LONG_LIMIT = 1.3
LONG_ROUNDS = 8


class Allow:
    """Vets every call."""

    def verify_call(self, name: str) -> int:
        return 1


class Floor:
    """The floor's client, one batch at a time."""

    def __init__(self, port: int, call: Path, reply_size: int) -> None:
        self._process = subprocess.Popen(
            [str(FLOOR), "call", str(port), str(call), str(reply_size)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)

    def run(self, calls: int) -> float:
        """Seconds for a batch."""
        self._process.stdin.write(f"{calls}\n")
        return int(self._process.stdout.readline()) / 1e9

    def close(self) -> None:
        self._process.communicate()


def call_record(program: int, number: int, argument: bytes) -> bytes:
    units = [0, 0, 2, program, 1, number, 0, 0, 0, 0]
    body = b"".join(unit.to_bytes(4, "big") for unit in units) + argument
    fragments = [body[start:start + FRAGMENT] for start in range(0, len(body), FRAGMENT)]
    marks = [len(part) for part in fragments]
    marks[-1] |= 0x80000000
    return b"".join(mark.to_bytes(4, "big") + part for mark, part in zip(marks, fragments))


def measure(case: Case, port: int, folder: Path, interface: schema.Schema) -> bool:
    procedure = interface.procedures[case.procedure]
    codec = Codec(interface)
    results = codec.encode(procedure.result, case.result)
    record = call_record(interface.servers[case.server].program, procedure.number,
                         codec.encode(procedure.argument, case.argument))
    call_file = folder / "call"
    call_file.write_text(record.hex())
    floor = Floor(port, call_file, MARK_AND_REPLY_HEADER + len(results))
    client = kvrpc.RpcClient(case.server)
    text = json.dumps({case.procedure: case.argument or {}})
    reply = client.call(text, Allow())
    assert reply.startswith(b'{"status":0,'), reply[:200]
    ours: List[float] = []
    theirs: List[float] = []
    for _ in range(ROUNDS):
        theirs.append(floor.run(case.batch))
        ours.append(batch(client, text, case.batch))
    floor.close()
    client.close()
    return report(case, min(ours) / case.batch, min(theirs) / case.batch,
                  len(record) + len(results), len(reply))


def batch(client: Any, text: str, calls: int) -> float:
    allow = Allow()
    start = time.perf_counter()
    for _ in range(calls):
        client.call(text, allow)
    return time.perf_counter() - start


def report(case: Case, ours: float, floor: float, wire: int, text: int) -> bool:
    ratio = ours / floor
    verdict = "ok" if ratio <= case.limit else "TOO SLOW"
    print(f"{case.title:20} {wire:7} B wire {text:7} B text  "
          f"kvrpc {ours * 1e6:9.2f} us  floor {floor * 1e6:9.2f} us  {1 / ours:8.0f} calls/s  "
          f"ratio {ratio:.3f} (limit {case.limit}) {verdict}", flush=True)
    return ratio <= case.limit


class Seconds(NamedTuple):
    wall: float
    processor: float


def list_seconds(client: Any, procedure: str, calls: int) -> Seconds:
    """Time for the calls, all replies kept, so that both ways need as much memory."""
    allow, text = Allow(), f'{{"{procedure}":{{}}}}'
    wall, processor = time.perf_counter(), time.process_time()
    replies = [client.call(text, allow) for _ in range(calls)]
    took = Seconds(time.perf_counter() - wall, time.process_time() - processor)
    assert sum(reply.count(b'"userid"') for reply in replies) == LONG_COUNT
    return took


def measure_long_list() -> bool:
    """Time per record of the long list beside that of the short one; the best of some rounds."""
    client = kvrpc.RpcClient("alpha")
    short, long = [], []
    for _ in range(LONG_ROUNDS):
        short.append(list_seconds(client, "a_get_s_1", LONG_COUNT // SHORT_COUNT))
        long.append(list_seconds(client, LONG_LIST, 1))
    client.close()
    within = True
    for kind in Seconds._fields:
        small = min(getattr(took, kind) for took in short)
        large = min(getattr(took, kind) for took in long)
        held = large <= LONG_LIMIT * small
        within = within and held
        print(f"{LONG_COUNT:,} send records  {kind:9} time in lists of {SHORT_COUNT:,} "
              f"{small * 1e3:.1f} ms, in one {large * 1e3:.1f} ms, ratio {large / small:.3f} "
              f"(limit {LONG_LIMIT}) {'ok' if held else 'TOO SLOW'}", flush=True)
    return within


def main() -> int:
    interface = schema.load()
    codec = Codec(interface)
    replies = [""] * (LAST_PROCEDURE + 1)
    for case in CASES:
        procedure = interface.procedures[case.procedure]
        replies[procedure.number] = codec.encode(procedure.result, case.result).hex()
    long_list = interface.procedures[LONG_LIST]
    replies[long_list.number] = codec.encode(
        long_list.result, {"anz": LONG_COUNT,
                           "first": [send_record(n) for n in range(LONG_COUNT)]}).hex()
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / "replies").write_text("\n".join(replies))
        server = subprocess.Popen([str(FLOOR), "serve", str(folder / "replies")],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        port = int(server.stdout.readline())
        within = []
        for case in CASES:
            slot = interface.servers[case.server].slot
            os.environ["KORVEXRPCPORT"] = str(port - slot)
            within.append(measure(case, port, folder, interface))
        os.environ["KORVEXRPCPORT"] = str(port - interface.servers["alpha"].slot)
        within.append(measure_long_list())
        server.communicate()
    return 0 if all(within) else 1


if __name__ == "__main__":
    sys.exit(main())
