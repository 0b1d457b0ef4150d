"""The project in examples/testing, run by pytest as somebody outside this tree has it: a copy."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
import tomli

ROOT = Path(__file__).resolve().parents[2]


def test_ten_tests_of_a_script_pass_outside_the_tree(tmp_path):
    run = run_project(tmp_path, "-p", "kvrpc_tools.pytest_plugin")
    assert run.returncode == 0, run.stdout
    assert "10 passed" in run.stdout


@pytest.mark.parametrize("options", [(), ("-p", "kvrpc_tools.pytest_plugin")], ids=" ".join)
def test_an_installed_fixture_is_found_and_may_be_named(tmp_path, options):
    project = tomli.loads((ROOT / "pyproject.toml").read_text(encoding="utf-8"))["project"]
    (name, module), = project["entry-points"]["pytest11"].items()
    told = tmp_path / "site" / "kvrpc-0.dist-info"
    told.mkdir(parents=True)
    (told / "METADATA").write_text("Metadata-Version: 2.1\nName: kvrpc\nVersion: 0\n")
    (told / "entry_points.txt").write_text(f"[pytest11]\n{name} = {module}\n")
    run = run_project(tmp_path, *options, "--setup-plan", "-k", "wrong_password", path=told.parent)
    assert run.returncode == 0, run.stdout
    assert "SETUP    F kvrpc_simulator" in run.stdout


def run_project(place, *options, path=ROOT / "python"):
    """Runs pytest in a copy of the project. `path` is in front of the tree's own folders."""
    project = place / "project"
    shutil.copytree(ROOT / "examples" / "testing", project,
                    ignore=shutil.ignore_patterns("__pycache__"))
    paths = [str(path), os.environ.get("KVRPC_LIB", str(ROOT / "build" / "lib")),
             str(ROOT / "python")]
    return subprocess.run(
        [sys.executable, "-m", "pytest", "-q", *options, "-p", "no:cacheprovider", "-p",
         "no:xdist"],
        cwd=project, env={**os.environ, "PYTHONPATH": os.pathsep.join(paths)},
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8", timeout=120)
