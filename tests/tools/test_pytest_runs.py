"""How pytest finds the tests, whatever is named in one run and however the run was started."""

import os
import signal
import subprocess
import sys
from pathlib import Path

import pytest

pytestmark = pytest.mark.slow  # each collects a whole run

ROOT = Path(__file__).resolve().parents[2]


def pytest_run(*arguments, **options):
    # The names of this run's workers are not those of the run that is started here.
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith("PYTEST_")}
    return subprocess.run(
        [sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", *map(str, arguments)],
        cwd=ROOT, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        encoding="utf-8", timeout=60, **options)


def test_files_of_one_name_can_be_named_in_one_run(tmp_path):
    for directory in ("a", "b"):
        (tmp_path / directory).mkdir()
        (tmp_path / directory / "conftest.py").write_text(
            "import pytest\n\n\n@pytest.fixture\ndef here():\n"
            f"    return {directory!r}\n", encoding="utf-8")
        (tmp_path / directory / "test_same.py").write_text(
            f"def test_same(here):\n    assert here == {directory!r}\n", encoding="utf-8")
    named = [tmp_path / directory / name for directory in ("a", "b")
             for name in ("conftest.py", "test_same.py")]
    done = pytest_run("-c", ROOT / "pyproject.toml", "--rootdir", tmp_path, *named)
    assert done.returncode == 0, done.stdout
    assert "2 passed" in done.stdout


def test_every_directory_of_tests_can_be_named_in_one_run():
    found = {}
    for path in sorted((ROOT / "tests").rglob("test_*.py")):
        found.setdefault(path.parent, path)
    assert len(found) > 3
    done = pytest_run("--collect-only", "-q", *found.values())
    assert done.returncode == 0, done.stdout[-3000:]


def test_children_stop_at_sigint_when_the_run_was_started_with_sigint_ignored():
    before = signal.signal(signal.SIGINT, signal.SIG_IGN)  # as a script's `&` and nohup start it
    try:
        done = pytest_run("tests/e2e/test_signals.py", "-k", "from_outside and tcp")
    finally:
        signal.signal(signal.SIGINT, before)
    assert done.returncode == 0, done.stdout
    assert "1 passed" in done.stdout
