"""Every code block of the guide and of README runs, and prints what the page says."""

import shutil
import sys
from pathlib import Path

import pytest

from kvrpc_tools.pytest_plugin import kvrpc_simulator, kvrpc_simulator_process  # noqa: F401
from tests.docs.blocks import mistakes, run_console, run_page

ROOT = Path(__file__).resolve().parents[2]
GUIDE = ROOT / "docs" / "guide"
SCRIPTS = GUIDE / "scripts"
PAGES = [*sorted(GUIDE.glob("*.md")), ROOT / "README.md"]


@pytest.fixture
def workplace(tmp_path, monkeypatch):
    """A directory with the scripts of the guide; its `python` and `kvrpc` are those under test."""
    programs = tmp_path / "bin"
    programs.mkdir()
    for name, words in (("python", ""), ("kvrpc", "-m kvrpc_tools.cli ")):
        program = programs / name
        program.write_text(f'#!/bin/sh\nexec "{sys.executable}" {words}"$@"\n')
        program.chmod(0o755)
    place = tmp_path / "work"
    shutil.copytree(SCRIPTS, place)
    shutil.copytree(ROOT / "examples" / "testing", place / "testing")
    monkeypatch.setenv("PATH", str(programs), prepend=":")
    for name, value in (("COLUMNS", "100"), ("NO_COLOR", "1"), ("LC_ALL", "C.UTF-8"), ("TZ", "UTC"),
                        ("PYTHONIOENCODING", "utf-8"),
                        ("PYTHONUNBUFFERED", "1")):  # as on a terminal, in the order of writing
        monkeypatch.setenv(name, value)
    monkeypatch.chdir(place)
    return place


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_the_blocks_of_a_page_run(page, workplace, kvrpc_simulator):  # noqa: F811
    assert list(mistakes(page.read_text(encoding="utf-8"))) == []
    run_page(page, workplace)


def test_every_script_is_shown_and_run():
    text = "".join(page.read_text(encoding="utf-8") for page in PAGES)
    for script in SCRIPTS.iterdir():
        if script.suffix in (".py", ".sh"):
            assert f"{{literalinclude}} scripts/{script.name}" in text
            assert f"$ {'python' if script.suffix == '.py' else 'bash'} {script.name}" in text


BAD = {
    "an exception": "```python\n1 / 0\n```\n",
    "another output": "```python\nprint(1)\n```\n\n```output\n2\n```\n",
    "a command's other output": "```console\n$ echo 1\n2\n```\n",
    "a failing command": "```console\n$ false\n```\n",
    "a failing call": "```console\n$ kvrpc call l_nothing\n...\n```\n",
    "no JSON": "```json\n{\n```\n",
}


@pytest.mark.parametrize("page", BAD.values(), ids=BAD)
def test_a_bad_block_is_found(page, tmp_path, workplace):
    path = tmp_path / "bad.md"
    path.write_text(page)
    with pytest.raises((AssertionError, ValueError, ZeroDivisionError)):
        run_page(path, workplace)


@pytest.mark.parametrize("page", ["```\nx\n```\n", "```sh\nreboot\n```\n", "```pyhton\nx\n```\n"])
def test_a_block_that_nobody_runs_is_found(page):
    assert len(list(mistakes(page))) == 1


def test_commands_may_be_continued_and_may_fail_if_that_is_said(workplace):
    run_console("$ echo a \\\n> b\na b\n$ X=1; false\n$ echo $?\n1\n$ echo $X and more\n1 ...\n",
                workplace)
