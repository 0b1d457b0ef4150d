"""tools/setup on machines that lack something, and after the tree has moved."""

import os
import shutil
import tempfile
from pathlib import Path

import pytest

from tests.tools.scripts import ROOT, executable, run

# Replaces an interpreter of version 3.11 without the module that makes virtual environments.
BARE = """
case "$*" in
  *Python.h*) echo "003011002 $0" ;;
  *ensurepip*) exit 1 ;;
  *-venv*) echo python3.11-venv ;;
  *) echo "unexpected: $*" >&2; exit 1 ;;
esac
"""

# Replaces an interpreter. Makes virtual environments at once, with nothing in them.
QUICK = """
case "$*" in
  *Python.h*) echo "003011002 $0" ;;
  --version) echo "Python 3.11.2" ;;
  "-m venv "*) mkdir -p "$3/bin"; cp "$0" "$3/bin/python" ;;
  *ensurepip* | *pip*) ;;
  *) echo "unexpected: $*" >&2; exit 1 ;;
esac
"""


@pytest.fixture
def tree():
    """A tree with only tools/ in it, which anybody may read."""
    with tempfile.TemporaryDirectory() as directory:
        root = Path(directory) / "tree"
        shutil.copytree(ROOT / "tools", root / "tools")
        for path in (Path(directory), root):
            path.chmod(0o755)
        yield root


def as_somebody_else(*command, **options):
    if os.getuid() != 0:
        return run(*command, **options)
    return run("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", *command, **options)


def test_nothing_is_done_where_all_is_there():
    result = run("tools/setup", "build", **os.environ)
    assert (result.returncode, result.stdout) == (0, "")


def test_somebody_else_learns_of_all_missing_packages_at_once(tree):
    setup = tree / "tools" / "setup"
    text = setup.read_text(encoding="utf-8")
    setup.write_text(text.replace('"g++ g++"', '"no-such-package"'), encoding="utf-8")
    python = executable(tree, "python3.11", BARE)
    result = as_somebody_else(setup, "build", cwd=tree, KVRPC_PYTHON=str(python))
    assert result.returncode == 1
    command = result.stderr.splitlines()[-1].split()
    assert command[:6] == "apt-get update && apt-get install -y".split()
    assert {"no-such-package", "python3.11-venv"} <= set(command)


def test_a_machine_without_an_interpreter_needs_headers_and_virtual_environments(tree):
    executable(tree / "tools", "find-python", "exit 1")
    result = as_somebody_else(tree / "tools" / "setup", "build", cwd=tree)
    assert {"python3-dev", "python3-venv"} <= set(result.stderr.split())


def test_no_package_is_named_by_the_version_of_one_release():
    text = (ROOT / "tools" / "setup").read_text(encoding="utf-8")
    assert "clang-rt-dev" in text
    assert not [word for word in text.split() if "clang" in word and any(map(str.isdigit, word))]


def test_a_virtual_environment_is_made_once_and_again_after_the_tree_has_moved(tree):
    python = executable(tree.parent, "python3.11", QUICK)

    def setup(root):
        result = run(root / "tools" / "setup", "build", cwd=root, KVRPC_PYTHON=str(python))
        assert result.returncode == 0, result.stderr
        return result.stdout

    made = f"setup: making .venv for {python}\n"
    assert [setup(tree), setup(tree)] == [made, ""]
    moved = tree.rename(tree.parent / "moved")
    assert [setup(moved), setup(moved)] == [made, ""]
