"""kvrpc trace: calls pass the relay unchanged, are printed, recorded, and replayed serverless."""

import json
import os
import re
import signal
import subprocess
import sys
from pathlib import Path

import pytest

from kvrpc_tools import recording
from kvrpc_tools.cli import pinging
from kvrpc_tools.schema import own
from kvrpc_tools.simulator.fixture import running

ROOT = Path(__file__).resolve().parents[3]
EXAMPLES = sorted(path for path in (ROOT / "examples").glob("*.py") if path.name != "common.py")
TRACE = [sys.executable, "-m", "kvrpc_tools.cli", "trace"]

STATUS = """
import kvrpc
class Allow:
    def verify_call(self, name):
        return True
print(kvrpc.RpcClient("lambda").call('{"l_get_status_1":null}', Allow()).decode())
"""

SEVERAL = """
import os, socket, struct
_, _, base = os.environ["KORVEXRPCMAP"].split(";")[0].partition(":")
address = ("127.0.0.1", int(base) + 3)
program = int(os.environ["PROGRAM"])
def call(number):
    return struct.pack(">10I", number, 0, 2, program, 1, int(os.environ["NUMBER"]), 0, 0, 0, 0)
sockets = [socket.create_connection(address) for _ in range(8)]
for number, sock in enumerate(sockets):
    message = call(number)
    for at in range(0, len(message), 4):  # each word a fragment
        last = at + 4 == len(message)
        sock.sendall(struct.pack(">I", 4 | (0x80000000 if last else 0)) + message[at:at + 4])
for number, sock in enumerate(sockets):
    assert struct.unpack(">I", sock.recv(1000)[4:8])[0] == number
    sock.close()
"""


def trace(*words, **variables):
    return subprocess.run([*TRACE, *map(str, words)], env={**os.environ, **variables},
                          capture_output=True, encoding="utf-8")


def calls_of(file):
    return list(recording.read(file)[1])


@pytest.mark.parametrize("example", EXAMPLES, ids=lambda path: path.stem)
def test_an_example_is_recorded_and_replayed_without_the_server(example, tmp_path):
    file = tmp_path / "calls.jsonl"
    with running() as simulator:
        traced = trace("--record", file, example, KORVEXRPCPORT=str(simulator.port))
    assert traced.returncode == 0, traced.stderr
    assert len(traced.stderr.splitlines()) == len(calls_of(file)) > 0
    with running("--replay", str(file)) as replaying:
        replayed = subprocess.run([sys.executable, str(example)], env=replaying.environment(),
                                  capture_output=True, encoding="utf-8")
    assert (replayed.returncode, replayed.stderr) == (0, "")
    assert replayed.stdout == traced.stdout


def test_the_lines_and_the_recording_have_no_passwords(simulator, tmp_path):
    file = tmp_path / "calls.jsonl"
    traced = trace("--record", file, ROOT / "examples" / "send_fax.py")
    assert re.search(r'alpha a_login_1 {"userid": "meier", "passwor": "\*\*\*"} -> {"loginid": ',
                     traced.stderr)
    assert "geheim" not in traced.stderr + file.read_text("utf-8")
    traced = trace("--show-secrets", "--record", file, ROOT / "examples" / "send_fax.py")
    assert "geheim" in traced.stderr
    assert "geheim" in file.read_text("utf-8")


def test_datagrams_are_told_too(kvrpc, simulator, tmp_path):
    script = tmp_path / "script.py"
    script.write_text(STATUS)
    done = kvrpc("trace", "--transport", "udp", "--json", str(script))
    told = json.loads(done.err)
    assert done.code == 0
    assert done.out.startswith('{"status":0,')
    assert (told["procedure"], told["transport"], told["status"]) == ("l_get_status_1", "udp", 0)
    assert json.loads(done.out)["result"] == told["result"]


def test_a_host_without_base_port_is_asked_for_the_port(kvrpc, monkeypatch, tmp_path):
    script = tmp_path / "script.py"
    script.write_text(STATUS)
    with running() as free:
        port = free.port + 100
    monkeypatch.setattr(pinging, "_PORTMAPPER_PORT", port)
    with running("--portmapper", str(port)):
        done = kvrpc("trace", str(script))
    assert (done.code, done.out[:12]) == (0, '{"status":0,')
    assert "lambda l_get_status_1 null" in done.err


def test_fragments_and_several_connections_pass(simulator, tmp_path):
    script = tmp_path / "script.py"
    script.write_text(SEVERAL)
    traced = trace("--json", script, PROGRAM=str(own().servers["lambda"].program),
                   NUMBER=str(own().procedures["l_get_status_1"].number))
    assert (traced.returncode, traced.stdout) == (0, "")
    assert [json.loads(line)["status"] for line in traced.stderr.splitlines()] == [0] * 8


@pytest.mark.parametrize("fault, message", [
    ("refuse", "Authentication error"), ("cut", "no reply"), ("garbage", "Can't decode result")])
def test_a_failure_is_told_and_replayed(fault, message, tmp_path):
    file, script = tmp_path / "calls.jsonl", tmp_path / "script.py"
    script.write_text(STATUS)
    with running("--fault", fault) as simulator:
        traced = trace("--record", file, script, KORVEXRPCPORT=str(simulator.port))
    assert f"status 3: {message}" in traced.stderr
    told = calls_of(file)
    assert [each["message"] for each in told] == [message] * 2  # the module tries it twice
    with running("--replay", str(file)) as replaying:
        replayed = subprocess.run([sys.executable, str(script)], env=replaying.environment(),
                                  capture_output=True, encoding="utf-8")
    assert replayed.stdout == traced.stdout
    assert json.loads(replayed.stdout)["status"] == 3


def test_a_server_that_is_not_there_is_told(fault_peer):
    fault_peer().stop()
    traced = trace(ROOT / "examples" / "status.py")
    assert traced.returncode == 1
    assert re.search(r"kvrpc: lambda on \S+, port \d+, tcp: .*refused.*; does lambda listen",
                     traced.stderr)


def test_the_exit_code_is_that_of_the_script(kvrpc):
    assert kvrpc("trace", "-c", "import sys; sys.exit(7)").code == 7
    assert kvrpc("trace") == (2, "", "kvrpc: either SCRIPT or --listen is needed\n")
    assert kvrpc("trace", "--record", "/no/such/file", "-c", "").code == 2


@pytest.mark.skipif(sys.platform == "win32", reason="Windows has no such signal")
def test_a_relay_that_listens_ends_with_ctrl_c(simulator, tmp_path):
    script = tmp_path / "script.py"
    script.write_text(STATUS)
    with subprocess.Popen([*TRACE, "--listen"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          encoding="utf-8") as relay:
        variables = [relay.stdout.readline() for _ in range(4)]
        told = dict(line[len("export "):].strip().replace("'", "").split("=", 1)
                    for line in variables)
        subprocess.run([sys.executable, str(script)], env={**os.environ, **told}, check=True,
                       stdout=subprocess.DEVNULL)
        relay.send_signal(signal.SIGINT)
        _, errors = relay.communicate()
    assert relay.returncode == 130
    assert re.fullmatch(r" +[\d.]+ lambda l_get_status_1 null -> {.*} \(tcp, [\d.]+ ms\)\n", errors)


def test_a_file_that_is_no_recording_is_refused(kvrpc, tmp_path):
    file = tmp_path / "calls.jsonl"
    for text in ("", "[]\n", "{\n", '{"recording":2}\n', '{"recording":1}\n{"status":0}\n'):
        file.write_text(text)
        done = kvrpc("simulate", "--replay", str(file))
        assert (done.code, done.out) == (1, "")
        assert done.err.startswith("simulator: ")
        assert str(file) in done.err
