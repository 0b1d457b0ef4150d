"""The examples, run by the simulator as a reader would run them."""

import os
import subprocess
import sys

import pytest
from servers import ROOT

EXPECTED = {
    "status.py": ["process control, version 3.5.0", "gateways     running"],
    "process_control.py": ["stopped: True", "gateways     partly running", "started: False",
                           "Grüße vom Beispiel"],
    "send_fax.py": ["session 1", "  queued\n  sending\n  sent\n", "2 of 2 pages",
                    "sent, 2 pages"],
    "read_inbox.py": ["1 in the inbox of meier", "an: Ida Meier", "[Zeichnung, Blatt 1]"],
    "address_book.py": ["3 entries in kunden", "Mühle Süd", "2 entries in kunden",
                        "members: hafen, kontor", "+49 451 5550888 is Kontor Lüders"],
    "administer.py": ["Änne Weber", "schulz cannot stand in for meier", "line fax2 added: error 0",
                      "a fax on fax2 goes to weber", "user weber deleted: True"],
}


def run(example):
    command = [sys.executable, "-m", "kvrpc_tools.simulator", "--run", f"examples/{example}"]
    return subprocess.run(command, cwd=ROOT, timeout=60, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, encoding="utf-8",
                          env=dict(os.environ, PYTHONIOENCODING="utf-8"))


def test_every_example_is_run_here():
    scripts = {path.name for path in (ROOT / "examples").glob("*.py")}
    assert scripts - {"common.py"} == set(EXPECTED)


@pytest.mark.parametrize("example", EXPECTED)
def test_an_example_ends_by_itself_and_prints_what_a_person_can_read(module, example):
    done = run(example)
    assert done.returncode == 0, done.stderr
    for text in EXPECTED[example]:
        assert text in done.stdout


def test_an_example_without_a_server_says_so_in_one_line(module):
    done = subprocess.run([sys.executable, str(ROOT / "examples" / "status.py")], timeout=60,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
                          env=dict(os.environ, KORVEXRPCPORT="1"))
    assert done.returncode == 1
    assert done.stderr.startswith("no connection: ")
    assert "Traceback" not in done.stderr
