"""The command: what it prints, how it ends, what it refuses."""

import os
import signal
import socket
import subprocess
import sys
import textwrap
import time

import pytest

from kvrpc_tools.simulator.fixture import running
from kvrpc_tools.simulator.transport import LOOPBACK
from kvrpc_tools.simulator.xdr import Reader, Writer
from tests.python.simulator.client import Client, Unanswered

ALPHA, OMEGA = 16011967, 16011931


def command(*arguments, **options):
    return subprocess.run([sys.executable, "-m", "kvrpc_tools.simulator", *arguments], timeout=30,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
                          **options)


@pytest.fixture
def script(tmp_path):
    def write(text):
        path = tmp_path / "script.py"
        path.write_text(textwrap.dedent(text), encoding="utf-8")
        return str(path)
    return write


def test_it_says_what_it_serves_and_which_variable_to_set(script):
    said = command("--run", script("")).stdout.splitlines()
    assert said[0] == "serving on 127.0.0.1, TCP and UDP:"
    assert [line.split()[0] for line in said[1:8]] == [
        "alpha", "gamma", "theta", "lambda", "nue", "omega", "sigma"]
    name, _, base = said[8].partition("=")
    assert name == "KORVEXRPCPORT"
    assert [int(line.split()[2]) for line in said[1:8]] == list(range(int(base), int(base) + 7))


def test_a_script_is_run_with_the_variable_set_and_its_code_is_returned(script):
    done = command("--run", script("""
        import os, socket, sys
        socket.create_connection(("127.0.0.1", int(os.environ["KORVEXRPCPORT"]) + 3)).close()
        print("arguments", sys.argv[1:])
        sys.exit(7)
    """), "a", "--log")
    assert done.returncode == 7
    assert "arguments ['a', '--log']" in done.stdout


def test_a_script_that_a_signal_ends_has_the_code_that_shells_give_it(script):
    assert command("--run", script("import os; os.kill(os.getpid(), 15)")).returncode == 128 + 15


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_it_stops_cleanly_when_it_is_told_to(schema, number):
    with running() as simulator:
        Client(schema, simulator.port).call("l_version_1")
        simulator.process.send_signal(number)
        assert simulator.process.wait(timeout=10) == 0
        assert "Traceback" not in simulator.log()


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_it_stops_cleanly_while_it_starts(number):
    with subprocess.Popen([sys.executable, "-u", "-m", "kvrpc_tools.simulator"], encoding="utf-8",
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
        assert process.stdout.readline().startswith("serving on")
        process.send_signal(number)
        assert "Traceback" not in process.communicate(timeout=10)[1]
        assert process.returncode == 0


def test_a_script_must_be_named():
    refused = command("--run")
    assert refused.returncode == 2
    assert "argument --run: a script is expected" in refused.stderr


def test_it_stops_at_sigint_when_it_was_started_with_sigint_ignored(schema):
    before = signal.signal(signal.SIGINT, signal.SIG_IGN)  # as a script's `&` and nohup start it
    try:
        with running() as simulator:
            Client(schema, simulator.port).call("l_version_1")
            simulator.process.send_signal(signal.SIGINT)
            assert simulator.process.wait(timeout=10) == 0
    finally:
        signal.signal(signal.SIGINT, before)


def test_it_logs_each_call_in_one_line(schema):
    with running() as simulator:
        Client(schema, simulator.port, "udp").call("l_stopgateway_1", "mail")
        assert simulator.log().splitlines()[-1].split(" ", 1)[1] == (
            "udp lambda l_stopgateway_1('mail') -> True")


def test_a_base_port_can_be_chosen(schema, simulator):
    taken = simulator.port
    refused = command("--port", str(taken))
    assert refused.returncode == 1
    assert refused.stderr.startswith("simulator: ")
    assert f"port {taken} of 127.0.0.1" in refused.stderr


@pytest.mark.parametrize("options", [["--port", "70000"], ["--portmapper", "70000"]])
def test_a_port_that_cannot_be_is_named(options):
    refused = command(*options)
    assert (refused.returncode, refused.stderr) == (
        1, "simulator: 127.0.0.1 has no port 70000\n")


@pytest.mark.parametrize("options", [
    ["--seed", "-1"], ["--seed", "x"], ["--slow", "inf"], ["--loss", "101"], ["--slow", "-0.1"]])
def test_a_number_that_makes_no_sense_is_refused(options):
    refused = command(*options)
    assert refused.returncode == 2
    assert f"argument {options[0]}: {options[1]!r} is no number from 0" in refused.stderr


def test_answers_are_late_and_lost_as_often_as_asked(schema):
    with running("--slow", "0.02", "--loss", "50") as simulator:
        client = Client(schema, simulator.port)
        start, lost = time.monotonic(), 0
        for _ in range(40):
            try:
                client.call("l_version_1")
            except Unanswered:
                lost += 1
        assert 8 <= lost <= 32
        assert time.monotonic() - start >= 0.02 * 8 / 2


def test_without_an_interface_it_says_what_is_missing(tmp_path):
    refused = command("--schema", str(tmp_path / "none.json"))
    assert refused.returncode == 1
    assert "none.json" in refused.stderr


def test_a_bad_fault_is_refused():
    refused = command("--fault", "burn")
    assert refused.returncode == 2
    assert "a fault is" in refused.stderr


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_the_portmapper_knows_the_servers(schema, transport):
    with socket.create_server((LOOPBACK, 0)) as probe:
        port = probe.getsockname()[1]
    with running("--portmapper", str(port)) as simulator:
        asked = Client(schema, port, transport)
        assert get_port(asked, ALPHA, 1, 6) == simulator.port
        assert get_port(asked, OMEGA, 1, 17) == simulator.port + 5
        assert get_port(asked, OMEGA, 2, 17) == 0
        assert get_port(asked, 100005, 1, 6) == 0
        assert len(asked.exchange(0, 100000, 2, 0, b"")[1]) == 24


def get_port(client, program, version, protocol):
    writer = Writer()
    for word in (program, version, protocol, 0):
        writer.long(word)
    _, reply = client.exchange(0, 100000, 2, 3, writer.written())
    return Reader(reply[24:]).u_long()


def test_nothing_of_the_environment_leads_the_script_elsewhere(script):
    done = command("--run", script("""
        import os, sys
        sys.exit(sum(name in os.environ for name in ("KORVEXRPCMAP", "ALPHAHOST", "ZOLMHOST")))
    """), env=dict(os.environ, KORVEXRPCMAP="x:1", ALPHAHOST="x", ZOLMHOST="x"))
    assert done.returncode == 0
