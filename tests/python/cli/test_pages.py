"""The page of commands and the manual page are those that the commands' help gives."""

import importlib.util
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[3]


@pytest.fixture
def generator():
    spec = importlib.util.spec_from_file_location(
        "generate_commands", ROOT / "tools" / "generate_commands.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def test_the_pages_are_up_to_date(generator, capsys):
    status = generator.main(["--check"])
    assert (status, capsys.readouterr().out) == (0, "")


@pytest.mark.parametrize("name", ["commands.md", "kvrpc.1"])
def test_a_stale_page_is_found_and_written_anew(generator, monkeypatch, tmp_path, capsys, name):
    shutil.copytree(ROOT / "docs", tmp_path / "docs")
    shutil.copy(ROOT / "pyproject.toml", tmp_path)
    monkeypatch.setattr(generator, "ROOT", tmp_path)
    page = tmp_path / "docs" / name
    text = page.read_text("utf-8")
    page.write_text(text.replace("--grep", "--find").replace("\\-\\-grep", "\\-\\-find"), "utf-8")
    assert generator.main(["--check"]) == 1
    assert capsys.readouterr().out.startswith(f"docs/{name} is not what ")
    assert generator.main([]) == 0
    assert page.read_text("utf-8") == text


def test_every_option_of_the_help_is_on_both_pages(generator, kvrpc):
    page = (ROOT / "docs" / "commands.md").read_text("utf-8")
    manual = (ROOT / "docs" / "kvrpc.1").read_text("utf-8").replace("\\-", "-")
    for command in generator.commands():
        words = {word.strip(",[]") for word in kvrpc(command.name, "--help").out.split()}
        options = {word for word in words if word.startswith("--") and word[2:].isalpha()}
        for option in options - {"--help", "--"}:
            assert option in page and option in manual, (command.name, option)


@pytest.mark.skipif(shutil.which("groff") is None, reason="needs groff")
def test_the_manual_page_has_no_mistake():
    done = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", ROOT / "docs" / "kvrpc.1"],
                          stderr=subprocess.PIPE, check=True)
    assert done.stderr == b""
