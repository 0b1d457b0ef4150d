"""The command `python -m kvrpc_tools.simulator`."""

from __future__ import annotations

import argparse
import contextlib
import gc
import math
import signal
import subprocess
import sys
from typing import Callable, List, Optional

from kvrpc_tools import schema
from kvrpc_tools.simulator import faults, ports
from kvrpc_tools.simulator.control import Control
from kvrpc_tools.simulator.fixture import CONTROL, VARIABLE, environment
from kvrpc_tools.simulator.portmapper import PORT, Portmapper
from kvrpc_tools.simulator.server import Dispatcher
from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.transport import LOOPBACK, Loop

POLL_SECONDS = 0.05
OBJECTS_BEFORE_COLLECTION = 50_000  # 700 is Python's own, and costs a tenth of a small call


def main(arguments: Optional[List[str]] = None,
         program: str = "python -m kvrpc_tools.simulator") -> int:
    """Runs the command. Returns its exit code."""
    parser = option_parser(program)
    options = parser.parse_args(arguments)
    if options.run == []:
        parser.error("argument --run: a script is expected")
    # Both, because a process that a script starts with `&` inherits SIGINT as ignored.
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, signal.default_int_handler)
    try:
        return _run(options)
    except KeyboardInterrupt:  # which is how it is meant to end
        return 0


def _run(options: argparse.Namespace) -> int:
    """Serves until a signal comes, or until the script ends. Returns the exit code."""
    with contextlib.closing(Loop()) as loop:
        try:
            base = _serve(loop, schema.load(options.schema), options)
        except (schema.SchemaError, ValueError, OSError) as error:
            print(f"simulator: {error}", file=sys.stderr)
            return 1
        # What is there now stays, so that no collection has to look at it again.
        gc.freeze()
        gc.set_threshold(OBJECTS_BEFORE_COLLECTION)
        if options.run:
            return _run_script(loop, base, options.run)
        loop.run()
    return 0


def option_parser(program: str) -> argparse.ArgumentParser:
    """Returns the parser of the command line, for a program of this name."""
    parser = argparse.ArgumentParser(
        prog=program,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        description="A stand-in on loopback for the servers, over TCP and UDP.",
        epilog=faults.described())
    parser.add_argument("--port", type=int, metavar="BASE",
                        help="base port; free ones are taken when it is left out")
    parser.add_argument("--portmapper", type=int, nargs="?", const=PORT, metavar="PORT",
                        help=f"answer a portmapper's questions as well (port {PORT})")
    parser.add_argument("--schema", metavar="FILE",
                        help="a schema.json to use instead of the package's own")
    parser.add_argument("--fault", type=_fault, action="append", default=[],
                        help="misbehave, see below; may be given more than once")
    parser.add_argument("--seed", type=_number(int), default=0, metavar="N",
                        help="begin with N more users, each with a book of addresses and jobs; "
                             "the same N makes up the same ones")
    parser.add_argument("--slow", type=_number(float), default=0.0, metavar="SECONDS",
                        help="answer so much later on average, twice as much at most")
    parser.add_argument("--loss", type=_number(float, 100), default=0.0, metavar="PERCENT",
                        help="lose so many of the answers; over TCP, close the connection instead")
    parser.add_argument("--replay", metavar="FILE",
                        help="answer from a recording of `kvrpc trace --record FILE`")
    parser.add_argument("--log", action="store_true",
                        help="print each call on standard error")
    parser.add_argument("--control", metavar="TOKEN", help=argparse.SUPPRESS)
    parser.add_argument("--run", nargs=argparse.REMAINDER, metavar="SCRIPT",
                        help="run a Python script against the servers, then stop with its exit "
                             "code; what follows SCRIPT is for the script")
    return parser


def _fault(text: str) -> faults.Fault:
    try:
        return faults.parse(text)
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error)) from error


def _number(kind: Callable[[str], float], most: float = math.inf) -> Callable[[str], float]:
    """Returns what reads a number from 0 to `most` from the command line."""
    def read(text: str) -> float:
        try:
            number = kind(text)
        except ValueError:
            number = -1
        if not 0 <= number <= most or number == math.inf:
            end = "on" if most == math.inf else f"to {most:g}"
            raise argparse.ArgumentTypeError(f"{text!r} is no number from 0 {end}")
        return number
    return read


def _load(options: argparse.Namespace) -> Optional[faults.Load]:
    return faults.Load(options.slow, options.loss) if options.slow or options.loss else None


def _serve(loop: Loop, interface: schema.Schema, options: argparse.Namespace) -> int:
    """Opens all ports and prints them. Returns the base port."""
    simulation = Simulation(interface, options.fault, options.control is not None,
                            _load(options), options.seed, options.replay)
    answers = Dispatcher(interface, simulation, _tell if options.log else None)
    by_slot = {server.slot: server for server in interface.servers.values()}
    base, pairs = ports.bind_range(max(by_slot) + 1, options.port)
    for slot, (tcp, udp) in enumerate(pairs):
        loop.serve(tcp, udp, answers.server(by_slot[slot]))
    print(f"serving on {LOOPBACK}, TCP and UDP:")
    for slot, server in sorted(by_slot.items()):
        print(f"  {server.name:8} port {base + slot:5}  {len(server.procedures):3} procedures")
    if options.portmapper is not None:
        programs = {server.program: base + slot for slot, server in by_slot.items()}
        _serve_portmapper(loop, Portmapper(programs, simulation), options.portmapper)
    if options.control is not None:
        control = Control(loop, simulation, options.control)
        print(f"{CONTROL}={control.port}")
    print(f"{VARIABLE}={base}", flush=True)
    return base


def _serve_portmapper(loop: Loop, portmapper: Portmapper, port: int) -> None:
    tcp, udp = ports.bind_pair(port)
    loop.serve(tcp, udp, portmapper.server())
    print(f"  portmapper port {port}")


def _tell(line: str) -> None:
    print(line, file=sys.stderr, flush=True)


def _run_script(loop: Loop, base: int, command: List[str]) -> int:
    """Serves while the script runs. Returns its exit code, 128 + N if signal N ended it."""
    script = subprocess.Popen([sys.executable, *command], env=environment(base))

    def look() -> None:
        if script.poll() is None:
            loop.later(POLL_SECONDS, look)
        else:
            loop.stop()

    look()
    try:
        loop.run()
    except KeyboardInterrupt:
        script.terminate()
    code = script.wait()
    return code if code >= 0 else 128 - code


if __name__ == "__main__":
    sys.exit(main())
