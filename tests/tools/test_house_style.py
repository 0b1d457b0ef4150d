"""What CONTRIBUTING asks of every source and no linter checks: its opening, the names of tests."""

import ast
import re
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TEST = re.compile(r"^TEST(?:_[FP])?\((\w+),\s*(\w+)\)", re.MULTILINE)
# googletest runs suites with this ending first, because they fork.
SNAKE_CASE = re.compile(r"[a-z0-9_]+(?:DeathTest)?")


def sources(*patterns):
    """Returns the text of each file that matches, by its name."""
    listed = subprocess.run([ROOT / "tools" / "files", *patterns], cwd=ROOT, check=True,
                            stdout=subprocess.PIPE, encoding="utf-8").stdout
    names = [name for name in listed.split("\0") if name and (ROOT / name).is_file()]
    return {name: (ROOT / name).read_text(encoding="utf-8") for name in names}


def test_every_source_opens_with_what_it_is_for():
    assert [name for name, text in sources("*.cpp", "*.h").items()
            if not text.startswith("//")] == []
    assert [name for name, text in sources("*.py").items()
            if text and ast.get_docstring(ast.parse(text)) is None] == []


def test_unit_tests_are_named_in_snake_case():
    named = [f"{suite}.{test}" for text in sources("tests/*.cpp").values()
             for suite, test in TEST.findall(text)]
    assert len(named) > 700
    assert [name for name in named
            if not all(SNAKE_CASE.fullmatch(part) for part in name.split("."))] == []
