"""The command kvrpc.exe that pip made of the wheel, with rows of the table of tests/python/cli."""

import json
import os
import re
import subprocess

import pytest
from wine import BUILD, ROOT

from kvrpc_tools.simulator.fixture import running
from tests.python.cli.test_invocations import ALONE, SERVED

INSTALLED = BUILD / "installed"
SECONDS = 300

# Runs all rows in one session of Wine, which takes seconds to start.
RUN_ALL = """
import concurrent.futures, json, subprocess, sys

def done(row):
    words, stdin = row
    run = subprocess.run([r"Z:%s", *words], input=stdin.encode(), capture_output=True)
    return [run.returncode, run.stdout.decode("utf-8"), run.stderr.decode("utf-8")]

with concurrent.futures.ThreadPoolExecutor(2) as pool:
    for each in pool.map(done, json.loads(sys.argv[1])):
        print(json.dumps(each), flush=True)
""" % (INSTALLED / "bin" / "kvrpc.exe")

# A part of the table, because each row takes more than a second there.
ROWS = [(["--version"], 0, r"kvrpc \d.*\n", "", ""),
        *(row.values for row in ALONE[::4] + SERVED[::2])]


@pytest.fixture(scope="module")
def results():
    """Returns the exit code, output and errors of each row."""
    given = json.dumps([[row[0], row[4]] for row in ROWS])
    command = [str(ROOT / "tools" / "win32-run"), str(BUILD / "python" / "python.exe"), "-c",
               RUN_ALL, given]
    with running() as simulator:
        environment = dict(os.environ, PYTHONPATH=f"Z:{INSTALLED}", ZOLMHOST="localhost",
                           KORVEXRPCPORT=str(simulator.port))
        done = subprocess.run(command, capture_output=True, timeout=SECONDS, env=environment,
                              encoding="utf-8")
    assert (done.returncode, done.stderr) == (0, "")
    return [[each.replace("\r\n", "\n") if isinstance(each, str) else each
             for each in json.loads(line)] for line in done.stdout.splitlines()]


def test_the_rows_have_each_command():
    words = {word for row in ROWS for word in row[0]}
    assert {"list", "describe", "call", "ping", "decode"} <= words
    assert {row[1] for row in ROWS} >= {0, 2, 65}


@pytest.mark.parametrize("number", range(len(ROWS)), ids=lambda each: " ".join(ROWS[each][0])[:60])
def test_the_command_answers_as_on_linux(results, number):
    _, code, out, err, _ = ROWS[number]
    found = results[number]
    assert found[0] == code, found
    assert re.fullmatch(out, found[1], re.DOTALL), found
    assert re.fullmatch(err, found[2], re.DOTALL), found
