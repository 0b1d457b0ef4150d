"""The limit that the wheel's test holds the example project to can be missed."""

import subprocess
import sys
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[1] / "wheel" / "processor_time.py"
BUSY = "import time\nwhile time.process_time() < 0.3: pass"


def run(limit, code):
    return subprocess.run([sys.executable, str(SCRIPT), str(limit), sys.executable, "-c", code],
                          capture_output=True, encoding="utf-8")


def test_processor_time_beyond_the_limit_is_a_failure():
    done = run(0.2, BUSY)
    assert done.returncode == 1
    assert "(limit 0.2)" in done.stdout


def test_waiting_does_not_count():
    assert run(5, BUSY + "\ntime.sleep(0.5)").returncode == 0


def test_a_failure_of_the_command_stays_one():
    assert run(5, "raise SystemExit(7)").returncode == 7
