"""The scripts behind `make` on machines that lack something."""
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


def run(*command, **variables):
    environment = {"PATH": "/usr/bin:/bin", "HOME": "/nonexistent", **variables}
    environment.pop("LD_PRELOAD", None)
    return subprocess.run(command, cwd=ROOT, env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True)


def launcher(directory, name, script):
    path = directory / name
    path.write_text(f"#!/bin/sh\n{script}\n", encoding="utf-8")
    path.chmod(0o755)
    return path


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
    launcher(tmp_path, "python3.9", "echo 'command not found' >&2; exit 127")
    real = launcher(tmp_path, "python3", f'exec "{os.path.realpath(sys.executable)}" "$@"')
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


@pytest.mark.skipif(os.getuid() != 0, reason="only root can become somebody else")
def test_somebody_else_is_told_the_command_for_what_is_missing():
    with tempfile.TemporaryDirectory() as directory:
        tools = Path(directory) / "tools"
        shutil.copytree(ROOT / "tools", tools)
        setup = tools / "setup"
        text = setup.read_text(encoding="utf-8")
        setup.write_text(text.replace('"g++ g++"', '"no-such-package"'), encoding="utf-8")
        Path(directory).chmod(0o755)
        result = run("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                     str(setup), "build")
    assert result.returncode == 1
    assert "apt-get install -y --no-install-recommends" in result.stderr
    assert "no-such-package" in result.stderr
