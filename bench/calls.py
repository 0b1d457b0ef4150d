"""Time per call beside the floor: a C++ client that sends and receives the same bytes, each call in
one piece, and decodes nothing.

Both run against one server, batch by batch in turn and all on one processor, and the medians of the
batches are compared. Then the same for lists of three lengths: the cost of a node, in floors, must
not grow with the list. Last, the size of the module without symbols.

Prints one line a case, draws build/bench.svg, and exits with 1 when a limit is not held.

    python bench/calls.py [WORD...]    only the cases with one of the words in their title
"""

from __future__ import annotations

import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Any, List, Tuple

ROOT = Path(__file__).resolve().parent.parent
sys.path[:0] = [os.environ.get("KVRPC_LIB", str(ROOT / "build" / "lib")),
                str(ROOT / "python"), str(Path(__file__).resolve().parent)]

from cases import CASES, GROWTH, LARGEST_MODULE, LISTS, Case, Repeated  # noqa: E402
from picture import Bar, draw  # noqa: E402

import kvrpc  # noqa: E402
from kvrpc_tools import schema  # noqa: E402
from kvrpc_tools.simulator.codec import Codec  # noqa: E402

FLOOR = Path(os.environ.get("KVRPC_FLOOR", str(ROOT / "build" / "release" / "bench_floor")))
PICTURE = ROOT / "build" / "bench.svg"
FRAGMENT = 3996


class Allow:
    """Vets every call."""

    def verify_call(self, name: str) -> int:
        return 1


class Program:
    """bench_floor in one of its roles; ends with its standard input."""

    def __init__(self, *arguments: str) -> None:
        self._process = subprocess.Popen([str(FLOOR), *arguments], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True, bufsize=1)

    def ask(self, question: str = "") -> List[int]:
        if question:
            self._process.stdin.write(question + "\n")
        return [int(word) for word in self._process.stdout.readline().split()]

    def close(self) -> None:
        self._process.communicate()


def call_record(program: int, number: int, argument: bytes) -> bytes:
    units = [0, 0, 2, program, 1, number, 0, 0, 0, 0]
    body = b"".join(unit.to_bytes(4, "big") for unit in units) + argument
    fragments = [body[start:start + FRAGMENT] for start in range(0, len(body), FRAGMENT)]
    marks = [len(part) for part in fragments]
    marks[-1] |= 0x80000000
    return b"".join(mark.to_bytes(4, "big") + part for mark, part in zip(marks, fragments))


def repeated_list(encode: Any, value: Repeated) -> str:
    """The pieces of a long list's results, without encoding each node."""
    head, link, end = encode({"anz": value.count, "first": []}).hex()[:8], "00000001", "00000000"
    node = encode({"anz": 1, "first": [value.node]}).hex()[8:-8]
    three = encode({"anz": value.count, "first": [value.node] * 3}).hex()
    assert node.startswith(link) and three == head + node * 3 + end, "the list is not as expected"
    return f"{head} {node}*{value.count} {end}"


def batch(client: Any, text: str, calls: int) -> float:
    allow = Allow()
    start = time.perf_counter()
    for _ in range(calls):
        client.call(text, allow)
    return time.perf_counter() - start


class Bench:
    """The interface, and a folder for what the programs read."""

    def __init__(self, folder: Path) -> None:
        self._interface = schema.load()
        self._codec = Codec(self._interface)
        self._folder = folder

    def _results(self, case: Case) -> str:
        procedure = self._interface.procedures[case.procedure]
        if isinstance(case.result, Repeated):
            return repeated_list(lambda value: self._codec.encode(procedure.result, value),
                                 case.result)
        return self._codec.encode(procedure.result, case.result).hex()

    def _record(self, case: Case) -> bytes:
        procedure = self._interface.procedures[case.procedure]
        return call_record(self._interface.servers[case.server].program, procedure.number,
                           self._codec.encode(procedure.argument, case.argument))

    def _connect(self, case: Case, port: int) -> Any:
        os.environ["KORVEXRPCPORT"] = str(port - self._interface.servers[case.server].slot)
        return kvrpc.RpcClient(case.server, "127.0.0.1")

    def ratio(self, case: Case) -> float:
        """Measures a case, prints it, and returns how many floors a call took."""
        (self._folder / "results").write_text(self._results(case))
        (self._folder / "call").write_text(self._record(case).hex())
        fragment = [str(case.fragment)] if case.fragment else []
        server = Program("serve", str(self._folder / "results"), *fragment)
        port, reply_size = server.ask()
        floor = Program("call", str(port), str(self._folder / "call"), str(reply_size))
        client = self._connect(case, port)
        ours, theirs = self._measure(case, client, floor)
        client.close()
        floor.close()
        server.close()
        print(f"{case.title:22} {reply_size:9} B reply  kvrpc {ours * 1e6:10.2f} us  "
              f"floor {theirs * 1e6:10.2f} us  {1 / ours:7.0f} calls/s  ratio {ours / theirs:.3f}",
              end="", flush=True)
        return ours / theirs

    @staticmethod
    def _measure(case: Case, client: Any, floor: Program) -> Tuple[float, float]:
        """Seconds of a call: the medians of batches in turn, the first of which do not count."""
        text = json.dumps({case.procedure: {} if case.argument is None else case.argument})
        reply = client.call(text, Allow())
        assert reply.startswith(b'{"status":0,'), reply[:200]
        ours, theirs = [], []
        for _ in range(case.rounds + 1):
            theirs.append(floor.ask(str(case.batch))[0] / 1e9)
            ours.append(batch(client, text, case.batch))
        return (statistics.median(ours[1:]) / case.batch,
                statistics.median(theirs[1:]) / case.batch)


def use_one_processor() -> None:
    """For this process and those that it starts, where the system lets choose."""
    if hasattr(os, "sched_setaffinity"):
        os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})


def verdict(value: float, limit: float) -> str:
    return "ok" if value <= limit else "TOO MUCH"


def judged(bench: Bench, case: Case, limit: float) -> Bar:
    bar = Bar(case.title, bench.ratio(case), limit)
    print(f" (limit {limit:.2f}) {verdict(bar.ratio, limit)}", flush=True)
    return bar


def measure(bench: Bench, words: List[str]) -> List[Bar]:
    bars = [judged(bench, case, case.limit) for case in CASES
            if not words or any(word in case.title for word in words)]
    if words and not any("list" in word for word in words):
        return bars
    base = bench.ratio(LISTS[0])
    print(" (the measure of the longer ones)", flush=True)
    return bars + [judged(bench, case, GROWTH * base) for case in LISTS[1:]]


def module_is_small(folder: Path) -> bool:
    stripped = folder / "stripped"
    subprocess.run(["strip", "-s", "-o", str(stripped), kvrpc.__file__], check=True)
    size = stripped.stat().st_size
    print(f"the module has {size:,} bytes without symbols (limit {LARGEST_MODULE:,}) "
          f"{verdict(size, LARGEST_MODULE)}", flush=True)
    return size <= LARGEST_MODULE


def main(words: List[str]) -> int:
    use_one_processor()
    with tempfile.TemporaryDirectory() as name:
        bars = measure(Bench(Path(name)), words)
        small = module_is_small(Path(name))
    PICTURE.parent.mkdir(exist_ok=True)
    PICTURE.write_text(draw("Time of a call, in floors: the same bytes, nothing decoded", bars))
    print(f"drawn: {PICTURE.relative_to(ROOT)}")
    return 0 if small and all(bar.ratio <= bar.limit for bar in bars) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
