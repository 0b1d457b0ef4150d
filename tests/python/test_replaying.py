"""A recording in the place of an installation: by `start` and by the fixture."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

from kvrpc_tools import Lambda, RpcError
from kvrpc_tools.pytest_plugin import kvrpc_simulator, kvrpc_simulator_process  # noqa: F401
from kvrpc_tools.testing import start

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"
SCRIPT = """
from kvrpc_tools import Lambda
with Lambda() as control:
    print([control.l_stopgateway_1("mail"), control.l_get_status_1()["state_gateways"],
           control.l_startgateway_1("mail"), control.l_get_status_1()["state_gateways"]])
"""
STATUS = [2, 1]  # of the gateways, in the order of the calls


def record(script, file):
    """Runs a script against a simulator. Returns what it printed."""
    with start() as simulator:
        traced = subprocess.run(
            [sys.executable, "-m", "kvrpc_tools.cli", "trace", "--record", str(file), str(script)],
            env={**os.environ, "KORVEXRPCPORT": str(simulator.port)}, capture_output=True,
            encoding="utf-8", timeout=60)
    assert traced.returncode == 0, traced.stderr
    return traced.stdout


@pytest.fixture(scope="module")
def recording(tmp_path_factory):
    folder = tmp_path_factory.mktemp("recording")
    (folder / "script.py").write_text(SCRIPT)
    assert record(folder / "script.py", folder / "calls.jsonl") == f"{[True, 2, True, 1]}\n"
    return folder / "calls.jsonl"


def states(control, count):
    return [control.l_get_status_1()["state_gateways"] for _ in range(count)]


def test_the_fixture_answers_from_a_recording_until_the_next_test(
        kvrpc_simulator, recording):  # noqa: F811
    kvrpc_simulator.replay(recording)
    with Lambda() as control:
        assert states(control, 3) == [*STATUS, STATUS[-1]]  # the last one again
        kvrpc_simulator.assert_called("l_get_status_1", times=3)
        with pytest.raises(RpcError, match="Procedure unavailable"):
            control.l_version_1()
        kvrpc_simulator.reset()
        assert states(control, 1) == [1]
        assert control.l_version_1()


def test_faults_and_prepared_answers_come_before_a_recording(
        kvrpc_simulator, recording):  # noqa: F811
    kvrpc_simulator.replay(recording)
    kvrpc_simulator.answer("l_version_1", 7)
    kvrpc_simulator.fault("system-error:l_get_status_1:1")
    kvrpc_simulator.fault("fragments:l_get_status_1")
    with Lambda() as control:
        assert control.l_version_1() == 7
        assert states(control, 2) == STATUS  # the module repeats the refused call
    assert [call.outcome for call in kvrpc_simulator.calls("l_get_status_1")] == [
        "system-error", "fragments", "fragments"]


def test_a_file_that_is_no_recording_is_refused(kvrpc_simulator, tmp_path):  # noqa: F811
    (tmp_path / "empty").write_text("")
    for name, error in (("empty", ValueError), ("missing", FileNotFoundError)):
        with pytest.raises(error, match=name):
            kvrpc_simulator.replay(tmp_path / name)
    with pytest.raises(RuntimeError, match="empty is no recording"):
        with start("--replay", str(tmp_path / "empty")):
            pass


def test_a_started_simulator_replays_from_the_beginning_after_a_reset(recording, monkeypatch):
    with start("--replay", str(recording)) as simulator:
        monkeypatch.setenv("KORVEXRPCPORT", str(simulator.port))
        with Lambda("127.0.0.1") as control:
            assert states(control, 2) == STATUS
            assert states(control, 1) == STATUS[-1:]
            simulator.reset()
            assert simulator.calls() == []
            assert states(control, 2) == STATUS


def test_an_example_prints_the_same_when_it_is_replayed(tmp_path):
    file, example = tmp_path / "calls.jsonl", EXAMPLES / "send_fax.py"
    printed = record(example, file)
    with start("--replay", str(file)) as simulator:
        replayed = subprocess.run(
            [sys.executable, str(example)], capture_output=True, encoding="utf-8",
            env={**os.environ, "KORVEXRPCPORT": str(simulator.port)}, timeout=60)
        assert simulator.calls("a_send_new_1")
    assert (replayed.returncode, replayed.stderr, replayed.stdout) == (0, "", printed)
