"""What a user meets who has installed the wheel."""

import json
import re
import shutil
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
README = (ROOT / "README.md").read_text(encoding="utf-8")

NAMES = """__doc__ __file__ __loader__ __name__ __package__ __spec__ __test__
ClntCreateError ClntRpcError RpcClient""".split()


def test_the_module_has_its_names_and_no_others(installed, builds):
    done = installed("python", "-c", "import json, kvrpc; print(json.dumps([sorted(vars(kvrpc)), "
                                     "kvrpc.__file__]))", cwd="/")
    names, file = json.loads(done.stdout)
    assert set(names) == set(NAMES)
    assert Path(file).parent == only_site_packages(builds)


def only_site_packages(builds):
    found = list((builds / "venv" / "lib").glob("python3.*/site-packages"))
    assert len(found) == 1
    return found[0]


def test_the_tools_import_without_anything_else(installed, version):
    done = installed("python", "-c", """
import importlib.metadata
from kvrpc_tools import schema
assert len(schema.load().procedures) == 321
print(importlib.metadata.version("kvrpc"))
""", cwd="/")
    assert (done.returncode, done.stdout.strip()) == (0, version), done.stderr


def test_the_command_says_its_version(installed, version):
    done = installed("kvrpc", "--version", cwd="/")
    assert (done.returncode, done.stdout.split()[:2]) == (0, ["kvrpc", version]), done.stderr


def test_the_command_without_its_packages_says_what_to_run(installed):
    done = installed("kvrpc", "call", "lambda", "l_ps_1", cwd="/")
    assert done.returncode == 1
    assert 'pip install "kvrpc[cli]"' in done.stderr
    assert "Traceback" not in done.stderr


def test_the_first_script_of_the_readme_runs_against_the_simulator(installed, tmp_path):
    script = next(text for text in re.findall(r"```python\n(.*?)```", README, re.DOTALL)
                  if "RpcClient" in text)
    (tmp_path / "hello.py").write_text(script, encoding="utf-8")
    done = installed("python", "-m", "kvrpc_tools.simulator", "--run", "hello.py")
    assert done.returncode == 0, done.stderr
    replies = [line for line in done.stdout.splitlines() if line.startswith("{")]
    assert len(replies) == 1
    assert replies[0] in README


@pytest.mark.parametrize("name", sorted(
    path.name for path in (ROOT / "examples").glob("*.py") if path.name != "common.py"))
def test_an_example_runs_outside_the_tree(installed, tmp_path, name):
    examples = tmp_path / "examples"
    shutil.copytree(ROOT / "examples", examples, ignore=shutil.ignore_patterns("__pycache__"))
    done = installed("python", "-m", "kvrpc_tools.simulator", "--run", name, cwd=examples,
                     environment={"PYTHONIOENCODING": "utf-8"})
    assert done.returncode == 0, done.stderr
    assert "KORVEXRPCPORT=" in done.stdout and len(done.stdout.splitlines()) > 10
