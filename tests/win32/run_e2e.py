"""Runs the end-to-end and the regression tests with the 32-bit Windows interpreter, and the tests
of worker processes, which start and end in another way there. Their peers run on this side.

    run_e2e.py [FILE...] [PYTEST OPTION...]

Each file is a run of its own, but for those that want port 111, which share one. Most of the time
is spent waiting, so several run at once.
"""

import os
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

import peer_starter

ROOT = peer_starter.ROOT
BUILD = ROOT / "build" / "win32"
INSTALLED = BUILD / "installed"  # what tools/win32-wheel leaves
AT_ONCE = 6
SECONDS = 400
LONGEST = ["tests/e2e/test_cuts.py", "tests/python/test_worker.py",  # so none is last and alone
           "tests/e2e/test_simulator_faults.py", "tests/e2e/test_simulator_examples.py"]
NO_TEST_LEFT = 5  # pytest's exit code when all tests of a file are excluded


def runs_of(files):
    shared = [file for file in files if "portmapper" in file]
    return [[file] for file in files if file not in shared] + ([shared] if shared else [])


def run(files, options, environment):
    """Returns true if the files' tests passed."""
    python = BUILD / "python" / "python.exe"
    command = [str(ROOT / "tools" / "win32-run"), str(python), "-m", "pytest", "-q",
               "-o", "pythonpath=.", "-p", "other_side", "-p", "no:cacheprovider", *files, *options]
    process = subprocess.Popen(command, env=environment, cwd=ROOT, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, encoding="utf-8", errors="replace")
    try:
        output, _ = process.communicate(timeout=SECONDS)
    except subprocess.TimeoutExpired:
        process.terminate()
        output = f"still running after {SECONDS} seconds"
    lines = output.strip().splitlines()
    passed = process.returncode in (0, NO_TEST_LEFT)
    print(f"{' '.join(files)}: {lines[-1] if passed and not options else output}", flush=True)
    return passed


def main(arguments):
    files = [each for each in arguments if each.endswith(".py")]
    options = [each for each in arguments if each not in files]
    shutil.rmtree(peer_starter.ERRORS, ignore_errors=True)
    files = files or LONGEST + sorted({f"tests/{path.parent.name}/{path.name}"
                                       for directory in ("e2e", "regression")
                                       for path in (ROOT / "tests" / directory).glob("test_*.py")}
                                      - set(LONGEST))
    paths = (INSTALLED, BUILD / "packages", ROOT / "tests" / "win32")
    environment = dict(
        os.environ,
        KVRPC_PEER_STARTER=str(peer_starter.start()),
        KVRPC_LIB=f"Z:{INSTALLED}",
        KVRPC_BUILD=f"Z:{BUILD}",
        PYTHONPATH=";".join(f"Z:{path}" for path in paths),
        PYTHONDONTWRITEBYTECODE="1",
    )
    with ThreadPoolExecutor(AT_ONCE) as pool:
        passed = list(pool.map(lambda each: run(each, options, environment),
                               runs_of(files)))
    return 0 if all(passed) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
