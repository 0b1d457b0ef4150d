"""The project in examples/testing, run by pytest as somebody outside this tree has it: a copy."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def test_ten_tests_of_a_script_pass_outside_the_tree(tmp_path):
    project = tmp_path / "project"
    shutil.copytree(ROOT / "examples" / "testing", project,
                    ignore=shutil.ignore_patterns("__pycache__"))
    paths = [os.environ.get("KVRPC_LIB", str(ROOT / "build" / "lib")), str(ROOT / "python")]
    run = subprocess.run(
        [sys.executable, "-m", "pytest", "-q", "-p", "kvrpc_tools.pytest_plugin", "-p",
         "no:cacheprovider", "-p", "no:xdist"],
        cwd=project, env={**os.environ, "PYTHONPATH": os.pathsep.join(paths)},
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8", timeout=120)
    assert run.returncode == 0, run.stdout
    assert "10 passed" in run.stdout
