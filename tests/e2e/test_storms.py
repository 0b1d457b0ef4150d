"""Runs the storms of tests/e2e/storm.py for a minute each: everything at once, on shared clients.

`make test-slow` runs this on the debug build and under the sanitizers of addresses and of threads,
each time in the interpreter's development mode.
"""

import json
import os
import subprocess
import sys
from pathlib import Path

import pytest
from echo import echo_server
from settings import clean_environment

SECONDS = int(os.environ.get("KVRPC_STORM_SECONDS", "60"))
LEAST_RIGHT = {"handlers": 20 * SECONDS, "processes": SECONDS}

pytestmark = [
    pytest.mark.slow,
    pytest.mark.skipif(sys.platform == "win32", reason="Windows has no fork and no alarm"),
]


@pytest.mark.parametrize("kind", LEAST_RIGHT)
def test_a_storm_has_right_answers_only(kind):
    with echo_server() as server:
        done = subprocess.run(
            [sys.executable, "-X", "dev", "-X", "faulthandler",
             str(Path(__file__).with_name("storm.py")), kind, str(SECONDS), str(server.port)],
            capture_output=True, encoding="utf-8", timeout=4 * SECONDS + 120,
            env=clean_environment())
    assert (done.returncode, done.stderr) == (0, ""), (done.returncode, done.stderr[-5000:])
    results = json.loads(done.stdout)
    assert results["right"] > LEAST_RIGHT[kind], results
