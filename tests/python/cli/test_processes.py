"""The command as a process: pipes that close, Ctrl-C, completion, and the time of its start."""

import os
import re
import signal
import subprocess
import sys
import time
from pathlib import Path

import pytest

COMMAND = [sys.executable, "-m", "kvrpc_tools.cli"]


def test_whoever_closes_the_pipe_is_no_error():
    with subprocess.Popen([*COMMAND, "list"], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE) as process:
        process.stdout.close()
        assert process.stderr.read() == b""
    assert process.returncode == 141


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="needs a device that is always full")
def test_a_full_disk_is_told_in_one_line():
    with open("/dev/full", "wb") as full:
        done = subprocess.run([*COMMAND, "list"], stdout=full, stderr=subprocess.PIPE)
    assert done.returncode == 1
    assert re.fullmatch(rb"kvrpc: the output: No space left on device\n", done.stderr)


@pytest.mark.skipif(sys.platform == "win32", reason="needs a POSIX shell")
@pytest.mark.parametrize(("words", "closed", "code", "out", "err"), [
    ("list", ">&-", 1, b"", b"kvrpc: the output is closed\n"),
    ("list nonsense", "2>&-", 2, b"", b""),
    ("call a_login -", "<&-", 2, b"", b"kvrpc: the standard input is closed\n"),
    ("decode a_login -", "<&-", 2, b"", b"kvrpc: the standard input is closed\n"),
])
def test_a_closed_stream_is_no_traceback(words, closed, code, out, err):
    script = f'"$@" {closed}'
    words = words.split()
    done = subprocess.run(["sh", "-c", script, "sh", *COMMAND, *words], capture_output=True)
    assert (done.returncode, done.stdout, done.stderr) == (code, out, err)


@pytest.mark.skipif(sys.platform == "win32", reason="Windows has no such signal")
def test_ctrl_c_ends_a_call(fault_peer):
    peer = fault_peer()
    peer.script([])
    with subprocess.Popen([*COMMAND, "call", "l_get_status"], stderr=subprocess.PIPE) as process:
        while not peer.calls():
            time.sleep(0.01)
        process.send_signal(signal.SIGINT)
        assert process.stderr.read() == b""
    assert process.returncode == 130


def test_a_shell_completes_procedures():
    environment = dict(os.environ, _KVRPC_COMPLETE="bash_complete", COMP_CWORD="2",
                       COMP_WORDS="kvrpc call a_send")
    done = subprocess.run(COMMAND, env=environment, capture_output=True, encoding="utf-8")
    names = [line.split(",")[1] for line in done.stdout.splitlines()]
    assert "a_send_new_1" in names
    assert all(name.startswith("a_send") for name in names)


@pytest.mark.parametrize("words", ["kvrpc trace ver", "kvrpc simulate --run ver"])
def test_a_shell_completes_the_name_of_a_script(words):
    environment = dict(os.environ, _KVRPC_COMPLETE="bash_complete", COMP_WORDS=words,
                       COMP_CWORD=str(len(words.split()) - 1))
    done = subprocess.run(COMMAND, env=environment, capture_output=True, encoding="utf-8")
    assert done.stdout.splitlines() == ["file,ver"], done.stderr


def test_the_list_starts_soon():
    """Processor time, because the machine has more to do than this."""
    best = min(_seconds() for _ in range(3))
    assert best < 0.25


def _seconds():
    before = os.times()
    subprocess.run([*COMMAND, "list"], stdout=subprocess.DEVNULL, check=True)
    after = os.times()
    return (after.children_user - before.children_user
            + after.children_system - before.children_system)
