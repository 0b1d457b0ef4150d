"""Runs an example against the simulator and ends: what `make demo` shows.

The simulator prints the environment variables to set, one NAME=VALUE a line; the example gets them.
"""
import os
import re
import subprocess
import sys
import threading
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SETTING = re.compile(r"\s*(?:export )?([A-Z]+)=(\S+)\s*")
READY_SECONDS = 20
EXAMPLE_SECONDS = 60


def read_settings(output):
    """The settings that a starting simulator prints, its lines shown as they come."""
    settings = {}
    for line in output:
        print("  " + line.rstrip())
        match = SETTING.fullmatch(line)
        if match:
            settings[match[1]] = match[2]
            if match[1] == "KORVEXRPCPORT":
                break
    return settings


def main(example):
    environment = dict(os.environ, PYTHONPATH=str(ROOT / "build" / "lib"), PYTHONUNBUFFERED="1")
    print("$ python -m simulator")
    simulator = subprocess.Popen([sys.executable, "-m", "simulator"], cwd=ROOT, env=environment,
                                 stdout=subprocess.PIPE, text=True)
    watchdog = threading.Timer(READY_SECONDS, simulator.kill)
    watchdog.start()
    try:
        environment.update(read_settings(simulator.stdout))
        watchdog.cancel()
        if "KORVEXRPCPORT" not in environment:
            print("demo: the simulator did not say where it listens", file=sys.stderr)
            return 1
        print(f"$ python {example}")
        return subprocess.run([sys.executable, example], cwd=ROOT, env=environment,
                              timeout=EXAMPLE_SECONDS).returncode
    finally:
        watchdog.cancel()
        simulator.terminate()
        simulator.communicate(timeout=10)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
