"""These tests need what tools/test-wheel builds and installs; it runs them.

KVRPC_WHEELS is a folder with dist/ and again/, the results of two builds, and venv/, which has the
wheel and nothing else.
"""

import os
import subprocess
from pathlib import Path

import pytest
import tomli

collect_ignore_glob = [] if os.environ.get("KVRPC_WHEELS") else ["test_*.py"]


@pytest.fixture(scope="session")
def builds():
    return Path(os.environ["KVRPC_WHEELS"])


@pytest.fixture(scope="session")
def version():
    text = (Path(__file__).resolve().parents[2] / "pyproject.toml").read_text(encoding="utf-8")
    return tomli.loads(text)["project"]["version"]


@pytest.fixture
def installed(builds, tmp_path):
    """Runs a program of the environment that has the wheel, outside the tree."""

    def run(program, *arguments, environment=None, cwd=tmp_path):
        own = {"PATH": "/usr/bin:/bin", "HOME": str(tmp_path), **(environment or {})}
        command = [str(builds / "venv" / "bin" / program), *arguments]
        return subprocess.run(command, cwd=cwd, env=own, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, encoding="utf-8", timeout=60)

    return run
