"""Runs scripts with the 32-bit Windows interpreter under Wine."""

import os
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "win32"


def run(library, script):
    """Runs the script with the module of build/win32/LIBRARY. Returns its exit code, output and
    errors."""
    python = BUILD / "python" / "python.exe"
    command = [str(ROOT / "tools" / "win32-run"), str(python), "-c", script]
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120,
                          env=dict(os.environ, PYTHONPATH=f"Z:{BUILD / library}"))
    return done.returncode, done.stdout.replace(b"\r\n", b"\n"), done.stderr.replace(b"\r\n", b"\n")
