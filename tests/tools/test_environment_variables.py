"""Every place that lists the environment variables has all that the module reads."""

import re
from pathlib import Path

import pytest
from settings import SETTINGS

from kvrpc_tools.directory import VARIABLES

ROOT = Path(__file__).resolve().parents[2]


def test_the_header_names_them():
    assert len(SETTINGS) == len(set(SETTINGS)) >= 8
    assert {"KORVEXRPCPORT", "RPCTRANSPORT", "ZOLMHOST"} <= set(SETTINGS)


def test_a_worker_gets_all_of_them():
    assert sorted(VARIABLES) == sorted(SETTINGS)


@pytest.mark.parametrize("page", ["docs/guide/servers.md", "docs/commands.md"])
def test_a_page_names_all_of_them(page):
    named = re.findall(r"\w+", (ROOT / page).read_text(encoding="utf-8"))
    assert [name for name in SETTINGS if name not in named] == []
