"""For every fault of the fault peer, a script reads the same on both platforms."""

import json
import os
import subprocess
import sys
from pathlib import Path

import peer_starter

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "win32"
SCRIPT = ROOT / "tests" / "win32" / "fault_replies.py"


def lines_of(command, **environment):
    done = subprocess.run(command, stdout=subprocess.PIPE, timeout=200, check=True,
                          encoding="utf-8", env=dict(os.environ, **environment))
    return [json.loads(line) for line in done.stdout.splitlines()]


def test_replies_and_error_numbers_are_equal():
    here = lines_of([sys.executable, str(SCRIPT), str(ROOT / "build" / "lib")])
    there = lines_of(
        [str(ROOT / "tools" / "win32-run"), str(BUILD / "python" / "python.exe"), str(SCRIPT),
         f"Z:{BUILD / 'lib'}"],
        KVRPC_PEER_STARTER=str(peer_starter.start()),
        PYTHONPATH=";".join(f"Z:{path}" for path in (BUILD / "packages", ROOT / "tests" / "win32")))
    assert there == here
    assert len(here) > 100
    failures = [line for line in here if '"status": 3' in str(line) or '"status":3' in str(line)]
    assert len(failures) >= 40
    numbers = str(here)
    assert "10054" in numbers and "10061" in numbers
