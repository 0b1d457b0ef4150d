"""The scripts that `make` runs, on machines that lack something."""
import os
import sys
from pathlib import Path

import pytest

from tests.tools.scripts import executable, run


def test_the_interpreter_named_is_taken_and_its_own_file_printed():
    result = run("tools/find-python", KVRPC_PYTHON=sys.executable)
    assert result.returncode == 0
    assert result.stdout.strip() == os.path.realpath(sys.executable)


def test_an_interpreter_named_that_does_not_run_is_refused():
    result = run("tools/find-python", KVRPC_PYTHON="/bin/false")
    assert result.returncode == 1
    assert result.stdout == ""
    assert "KVRPC_PYTHON=/bin/false is of no use" in result.stderr


def test_a_launcher_with_nothing_behind_it_is_passed_over(tmp_path):
    executable(tmp_path, "python3.9", "echo 'command not found' >&2; exit 127")
    real = executable(tmp_path, "python3", f'exec "{os.path.realpath(sys.executable)}" "$@"')
    result = run("tools/find-python", "--newest", PATH=f"{tmp_path}:/usr/bin:/bin")
    assert result.returncode == 0
    assert Path(result.stdout.strip()).parent != real.parent


@pytest.mark.parametrize("script", ["tools/setup", "tools/find-python"])
def test_an_unknown_argument_is_told_the_usage(script):
    result = run(script, "nonsense")
    assert result.returncode == 2
    assert "usage:" in result.stderr


def test_setup_does_nothing_where_all_is_there():
    result = run("tools/setup", "build", **os.environ)
    assert (result.returncode, result.stdout) == (0, "")
