"""tools/sanitizer-findings: which parts of a sanitized process's report are findings."""

import sys

import pytest

from tests.tools.scripts import ROOT, run

INTERPRETER = "/usr/bin/python3.13"
MALLOC = "in malloc ../../../../src/libsanitizer/asan/asan_malloc_linux.cpp:69"
OWN = f"({INTERPRETER}+0x554dc2) (BuildId: 7e8d5f6d)"
NAMED = f"in PyUnicode_New {OWN}"
LIBRARY = "(/opt/lib/libpython3.13.so.1.0+0x1234)"
MODULE = "in parse (/x/lib/kvrpc.cpython-313-x86_64-linux-gnu.so+0x88)"
SOURCE = "in json::parse src/json/parse.cpp:12"


def leak(*frames, kind="Direct"):
    lines = "".join(f"    #{number} 0x7f69 {frame}\n" for number, frame in enumerate(frames))
    return f"{kind} leak of 46463 byte(s) in 887 object(s) allocated from:\n{lines}\n"


def leaks(*records):
    return ("\n" + "=" * 65 + "\n==1547==ERROR: LeakSanitizer: detected memory leaks\n\n"
            + "".join(records)
            + "SUMMARY: AddressSanitizer: 46463 byte(s) leaked in 887 allocation(s).\n")


OVERFLOW = f"""
{"=" * 65}
==12==ERROR: AddressSanitizer: heap-buffer-overflow on address 0x1 at pc 0x2
    #0 0x7f691 {NAMED}
SUMMARY: AddressSanitizer: heap-buffer-overflow ({INTERPRETER}+0x554dc2)
"""


@pytest.fixture
def counted(tmp_path):
    """Returns the exit code and the output for one report of this text."""

    def count(text, *interpreter):
        (tmp_path / "report.1").write_text(text, encoding="utf-8")
        done = run(sys.executable, ROOT / "tools" / "sanitizer-findings", tmp_path, *interpreter)
        assert done.stderr == ""
        return done.returncode, done.stdout

    return count


@pytest.mark.parametrize("frames", [(OWN,), (NAMED, OWN, OWN), (LIBRARY, OWN)], ids=str)
def test_a_leak_that_is_all_the_interpreters_does_not_count(counted, frames):
    report = leaks(leak(MALLOC, *frames), leak(MALLOC, OWN, kind="Indirect"))
    assert counted(report, INTERPRETER) == (0, "")


@pytest.mark.parametrize("frames", [
    (MODULE, OWN), (OWN, MODULE, OWN), (SOURCE, OWN), (OWN, "(<unknown module>)"), (), ("",),
    ("(/usr/lib/x86_64-linux-gnu/libc.so.6+0x29ca7)", OWN), ("(/usr/bin/python3.12+0x1)",),
], ids=str)
def test_a_leak_with_any_other_frame_counts(counted, frames):
    wrong = leak(MALLOC, *frames)
    code, text = counted(leaks(leak(MALLOC, OWN), wrong), INTERPRETER)
    assert code == 1
    assert wrong.strip() in text
    assert text.count("leak of") == 1


def test_a_leak_that_no_allocator_made_counts(counted):
    assert counted(leaks(leak(OWN, OWN)), INTERPRETER)[0] == 1


@pytest.mark.parametrize("text", [
    OVERFLOW, leaks(leak(MALLOC, OWN)) + OVERFLOW, "something else\n",
    "/x/src/json/parse.cpp:12:3: runtime error: signed integer overflow\n"], ids=str)
def test_all_that_is_no_leak_counts(counted, text):
    code, output = counted(text, INTERPRETER)
    assert code == 1
    assert text.splitlines()[-1] in output


def test_with_an_interpreter_that_does_not_leak_every_leak_counts(counted):
    report = leaks(leak(MALLOC, OWN))
    assert counted(report) == (1, f"report.1:\n{report}\n")


def test_no_report_is_no_finding(tmp_path):
    done = run(sys.executable, ROOT / "tools" / "sanitizer-findings", tmp_path)
    assert (done.returncode, done.stdout) == (0, "")
