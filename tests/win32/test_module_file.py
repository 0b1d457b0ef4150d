"""What the module's file asks of Windows and shows to it."""

import re
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
MODULE = ROOT / "build" / "win32" / "lib" / "kvrpc.cp39-win32.pyd"


@pytest.fixture(scope="module")
def headers():
    command = ["i686-w64-mingw32-objdump", "-p", str(MODULE)]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, encoding="utf-8").stdout


def test_it_is_a_32_bit_library(headers):
    assert "file format pei-i386" in headers
    assert re.search(r"^\s+DLL$", headers, re.MULTILINE)


def test_it_imports_from_windows_and_the_interpreter_alone(headers):
    names = set(re.findall(r"DLL Name: (\S+)", headers))
    assert names == {"python39.dll", "KERNEL32.dll", "msvcrt.dll", "WS2_32.dll", "USER32.dll"}


def test_it_exports_its_entry_point_alone(headers):
    table = headers[headers.index("[Ordinal/Name Pointer] Table"):]
    entry = r"^\s+\[\s*\d+\] (?:\+base\[\s*\d+\]\s+[0-9a-f]+ )?(\S+)$"
    names = re.findall(entry, table, re.MULTILINE)
    assert names == ["PyInit_kvrpc"]
