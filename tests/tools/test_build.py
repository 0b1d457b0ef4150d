"""tools/build and tools/run-tests in trees that were moved or have not been built."""

import os
import shutil

import pytest

from tests.tools.scripts import ROOT, executable, run

PROJECT = """
cmake_minimum_required(VERSION 3.24)
project(small LANGUAGES NONE)
add_custom_target(all_of_it ALL COMMAND ${CMAKE_COMMAND} -E touch built)
"""
PRESETS = """
{"version": 3,
 "configurePresets": [{"name": "debug", "generator": "Ninja",
                       "binaryDir": "${sourceDir}/build/debug"}],
 "buildPresets": [{"name": "debug", "configurePreset": "debug"}]}
"""


@pytest.fixture
def tree(tmp_path):
    """A small project with the tools of this one."""
    root = tmp_path / "tree"
    shutil.copytree(ROOT / "tools", root / "tools")
    executable(root / "tools", "find-python", "echo /bin/true")
    executable(root / "tools", "setup", "")
    (root / "CMakeLists.txt").write_text(PROJECT, encoding="utf-8")
    (root / "CMakePresets.json").write_text(PRESETS, encoding="utf-8")
    return root


def build(root, *arguments):
    return run(root / "tools" / "build", "debug", *arguments, PATH=os.environ["PATH"])


def test_a_preset_is_configured_and_built(tree):
    result = build(tree)
    assert result.returncode == 0, result.stderr
    assert (tree / "build" / "debug" / "built").exists()


def test_a_tree_that_has_moved_is_configured_anew(tree):
    assert build(tree).returncode == 0
    moved = tree.rename(tree.parent / "moved")
    (moved / "build" / "debug" / "built").unlink()
    result = build(moved)
    assert result.returncode == 0, result.stderr
    assert (moved / "build" / "debug" / "built").exists()
    assert f"build/debug was configured in {tree}; configuring it anew" in result.stdout
    assert "anew" not in build(moved).stdout


def test_a_target_that_is_not_there_fails(tree):
    assert build(tree, "nonsense").returncode != 0


def test_tests_are_run_on_what_was_built_just_before(tree):
    log = tree / "log"
    executable(tree / "tools", "build", f'echo "build $*" >> {log}; mkdir -p build/debug/python')
    (tree / "python").mkdir()
    (tree / ".venv" / "bin").mkdir(parents=True)
    executable(tree / ".venv" / "bin", "python", f'[ "$3" = -n ] && echo "$2" >> {log}')
    (tree / "build" / "debug").mkdir(parents=True)
    (tree / "build" / "debug" / "CMakeCache.txt").write_text("", encoding="utf-8")
    result = run(tree / "tools" / "run-tests", "debug", "tests/e2e")
    assert result.returncode == 0, result.stderr
    assert log.read_text(encoding="utf-8").splitlines() == [
        "build debug kvrpc kvrpc-schema kvrpc-generated", "pytest"]
