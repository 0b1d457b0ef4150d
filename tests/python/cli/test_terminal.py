"""What a person sees: tables, a progress bar, colours and completion, read back from a screen.

The screen is tmux's, which is a terminal like any other and can print what it shows.
"""

import os
import re
import subprocess
import sys
import tempfile
import time

import pytest
from needs import need

from kvrpc_tools.simulator.fixture import running

SECONDS = 60.0  # for a machine with other things to do


class Terminal:
    """A shell in a terminal of 100 columns and 40 lines."""

    def __init__(self, directory, environment):
        self._tmux = ["tmux", "-u", "-S", os.path.join(directory, "socket"), "-f", os.devnull]
        subprocess.run([*self._tmux, "new-session", "-d", "-x", "100", "-y", "40",
                        "bash --norc --noprofile"], check=True, env=environment)
        self.type("PS1='$ '; clear", "Enter")
        self.wait_for(r"\A\$ *\Z")

    def type(self, *keys):
        subprocess.run([*self._tmux, "send-keys", *keys], check=True)

    def screen(self, *options):
        done = subprocess.run([*self._tmux, "capture-pane", "-p", *options], check=True,
                              stdout=subprocess.PIPE, encoding="utf-8")
        return done.stdout.rstrip()

    def wait_for(self, pattern, *options):
        """Returns the screen as soon as it has what the pattern matches."""
        end = time.monotonic() + SECONDS
        while True:
            screen = self.screen(*options)
            if re.search(pattern, screen):
                return screen
            assert time.monotonic() < end, screen
            time.sleep(0.05)

    def close(self):
        subprocess.run([*self._tmux, "kill-server"], check=False)


@pytest.fixture
def terminal(tmp_path):
    need("tmux", "bash")
    programs = tmp_path / "bin"
    programs.mkdir()
    (programs / "kvrpc").write_text(
        f'#!/bin/sh\nexec "{sys.executable}" -m kvrpc_tools.cli "$@"\n')
    (programs / "kvrpc").chmod(0o755)
    environment = {key: value for key, value in os.environ.items()
                   if key not in ("NO_COLOR", "TMUX", "COLUMNS", "LINES")}
    environment["PATH"] = f"{programs}{os.pathsep}{environment['PATH']}"
    environment["LC_ALL"] = "C.UTF-8"
    with tempfile.TemporaryDirectory() as directory:  # a socket's path must be short
        opened = Terminal(directory, environment)
        yield opened
        opened.close()


def test_watch_shows_a_server_its_death_and_its_return(terminal):
    with running() as simulator:
        terminal.type("echo before", "Enter")
        terminal.type(f"kvrpc watch --port {simulator.port} --interval 0.2; echo code $?", "Enter")
        screen = terminal.wait_for(r"daemon archive-collector started")
    assert re.match(r"lambda on localhost, port \d+, tcp  \d\d:\d\d:\d\d\n"
                    r"fax system 1   gateways 1   daemons 1   drivers 1   processes 14\n", screen)
    assert re.search(r"\nslot  pid  status  process +directory\n   0  401       1  lambda ", screen)
    screen = terminal.wait_for(r"no answer, trying again: ")
    assert "   9  464       1  mail " in screen  # the last known table stays
    with running("--port", str(simulator.port)):
        terminal.wait_for(r"processes 14\n *\n *slot ")
        terminal.type("C-c")
        screen = terminal.wait_for(r"code \d+")
    assert re.fullmatch(r"\$ echo before\nbefore\n\$ kvrpc watch [^\n]*\ncode 130\n\$", screen)


def test_export_shows_a_progress_bar(terminal, simulator, tmp_path):
    # One line, because the echo of keys that are typed ahead would break the bar.
    terminal.type(f"clear; kvrpc export l_ps --port {simulator.port} -o {tmp_path}/ps; "
                  "echo code $?", "Enter")
    screen = terminal.wait_for(r"code \d+")
    assert "code 0" in screen
    assert re.search(r"━━━ 14 entries 0:00:\d\d\n", screen)
    assert len((tmp_path / "ps").read_text("utf-8").splitlines()) == 14
    terminal.type(f"clear; kvrpc export l_ps --port {simulator.port}; echo plain $?", "Enter")
    assert "━" not in terminal.wait_for(r"plain \d+")


def test_colours_are_for_a_terminal_that_wants_them(terminal):
    terminal.type("clear; kvrpc list nue; echo code $?", "Enter")
    assert "\x1b[1m" in terminal.wait_for(r"code 0", "-e")
    terminal.type("clear; NO_COLOR=1 kvrpc list nue; echo plain $?", "Enter")
    assert "\x1b[" not in terminal.wait_for(r"nue: .*\n(.*\n)*plain 0", "-e")


def test_a_tab_completes_a_procedure_in_bash(terminal):
    terminal.type('eval "$(kvrpc completion bash)"; clear; echo ready', "Enter")
    terminal.wait_for(r"\Aready")
    terminal.type("kvrpc call a_sen", "Tab")
    terminal.wait_for(r"kvrpc call a_send")
    terminal.type("Tab", "Tab")
    screen = terminal.wait_for(r"a_send_new_1")
    assert not re.search(r"\b[o-z]_|\bl_", screen)
    terminal.type("_n", "Tab")
    terminal.wait_for(r"kvrpc call a_send_new_1 *\Z")
