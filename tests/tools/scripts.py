"""How the tests of tools/ run scripts, and write some of their own."""

import os
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def run(*command, cwd=ROOT, **variables):
    """Runs a command in an environment that has only the system's programs and `variables`."""
    environment = {"PATH": "/usr/bin:/bin", "HOME": "/nonexistent", **variables}
    environment.pop("LD_PRELOAD", None)
    return subprocess.run([os.fspath(word) for word in command], cwd=cwd, env=environment,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def executable(directory, name, script):
    """Writes a shell script and returns its path."""
    path = directory / name
    path.write_text(f"#!/bin/sh\n{script}\n", encoding="utf-8")
    path.chmod(0o755)
    return path
