"""Each entry of docs/decisions.md says what else was possible, why this, and when it is wrong."""

import re
from pathlib import Path

PAGE = Path(__file__).resolve().parents[2] / "docs" / "decisions.md"
LINES = (r"^Alternatives?: ", r"^Reason: ", r"^Wrong if: ")


def incomplete(text):
    """Returns the headings of the entries that lack one of the lines."""
    entries = re.split(r"^### ", text, flags=re.MULTILINE)[1:]
    return [entry.partition("\n")[0] for entry in entries
            if not all(re.search(line, entry, re.MULTILINE) for line in LINES)]


def test_every_entry_is_complete():
    text = PAGE.read_text(encoding="utf-8")
    assert text.count("\n### ") > 90
    assert incomplete(text) == []


def test_an_entry_without_one_of_the_lines_is_found():
    whole = "### Whole\n\nAlternatives: none.\nReason: this.\nWrong if: that.\n"
    assert incomplete(whole) == []
    for line in ("Alternatives: none.\n", "Reason: this.\n", "Wrong if: that.\n"):
        assert incomplete(f"## One\n\n{whole}\n{whole.replace(line, '')}") == ["Whole"]
