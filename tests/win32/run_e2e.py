"""Runs the end-to-end tests with the 32-bit Windows interpreter, their peers on this side.

    run_e2e.py [PYTEST ARGUMENT...]
"""

import os
import subprocess
import sys

import peer_starter

ROOT = peer_starter.ROOT
BUILD = ROOT / "build" / "win32"


def main(arguments):
    environment = dict(
        os.environ,
        KVRPC_PEER_STARTER=str(peer_starter.start()),
        KVRPC_LIB=f"Z:{BUILD}/lib",
        KVRPC_BUILD=f"Z:{BUILD}",
        KVRPC_SCHEMA=f"Z:{BUILD}/kvrpc-schema.exe",
        PYTHONPATH=";".join(f"Z:{path}" for path in (BUILD / "packages", ROOT / "tests" / "win32")),
        PYTHONDONTWRITEBYTECODE="1",
    )
    command = [str(ROOT / "tools" / "win32-run"), str(BUILD / "python" / "python.exe"), "-m", "pytest",
               "-p", "other_side", "-p", "no:cacheprovider", *(arguments or ["tests/e2e"])]
    return subprocess.call(command, env=environment, cwd=ROOT)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
