"""Each promise of docs/security.md names tests, and each test that is named there exists."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "security.md"
REFERENCE = re.compile(r"`([\w/]+\.(?:py|cpp))::([\w.]+)`")


def exists(file, name):
    """Returns true if the file in tests/ defines the test: `def NAME(` or `TEST(SUITE, NAME)`."""
    path = ROOT / "tests" / file
    if not path.is_file():
        return False
    if path.suffix == ".py":
        pattern = rf"^(?:async )?def {name}\("
    else:
        pattern = r"^TEST(?:_[FP])?\({}, ?{}\)".format(*name.split("."))
    return re.search(pattern, path.read_text(encoding="utf-8"), re.MULTILINE) is not None


def promises(text):
    """Returns the text of each numbered entry, by number."""
    parts = re.split(r"^(\d+)\. ", text.partition("## What holds")[2], flags=re.MULTILINE)
    return {int(number): entry for number, entry in zip(parts[1::2], parts[2::2])}


def test_every_test_that_is_named_exists():
    named = REFERENCE.findall(PAGE.read_text(encoding="utf-8"))
    assert len(named) >= 30
    assert [reference for reference in named if not exists(*reference)] == []


def test_every_promise_names_a_test_and_has_its_number():
    found = promises(PAGE.read_text(encoding="utf-8"))
    assert list(found) == list(range(1, len(found) + 1))
    assert [number for number, entry in found.items() if not REFERENCE.search(entry)] == []


def test_a_name_that_is_nowhere_is_noticed():
    here = "tools/test_security_page.py"
    assert exists(here, "test_a_name_that_is_nowhere_is_noticed")
    assert not exists(here, "test_a_name_that_is_nowhere")
    assert not exists("tools/no_such_file.py", "test_a_name_that_is_nowhere_is_noticed")
    assert not exists("unit/json/depth_test.cpp", "Depth.IsNotThere")
