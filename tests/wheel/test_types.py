"""Type checkers find the stubs of the installed module, and with them a script's mistakes."""

import json
import os
import re
import subprocess
import sys

import pytest

# Each mistake is in a line that ends in its number.
SCRIPT = """\
import kvrpc

class Allow:
    def verify_call(self, name: str) -> bool:
        return True

class Forbid:
    def verify(self, name: str) -> bool:
        return False

client = kvrpc.RpcClient("lambda")
reply: bytes = client.call('{"l_ps_1":null}', Allow())
client.call('{"l_ps_1":null}')  # 1
client.call('{"l_ps_1":null}', Forbid())  # 2
text: str = client.call('{"l_ps_1":null}', Allow())  # 3
kvrpc.RpcClient(3)  # 4
client.open()  # 5
"""


def mistakes(lines):
    numbers = (re.search(r"# (\d)$", SCRIPT.splitlines()[line - 1]) for line in lines)
    return [number.group(1) if number else "elsewhere" for number in numbers]


def run(tmp_path, *command):
    (tmp_path / "script.py").write_text(SCRIPT, encoding="utf-8")
    return subprocess.run([sys.executable, "-m", *command, "script.py"], cwd=tmp_path,
                          stdout=subprocess.PIPE, encoding="utf-8", timeout=120,
                          env=dict(os.environ, HOME=str(tmp_path)))


@pytest.fixture
def interpreter(builds):
    return str(builds / "venv" / "bin" / "python")


def test_mypy_names_five_mistakes(tmp_path, interpreter):
    done = run(tmp_path, "mypy", "--strict", "--python-executable", interpreter)
    lines = [int(line) for line in re.findall(r"^script\.py:(\d+): error", done.stdout, re.M)]
    assert sorted(mistakes(lines)) == ["1", "2", "3", "4", "5"], done.stdout


def test_pyright_names_five_mistakes(tmp_path, interpreter):
    done = run(tmp_path, "pyright", "--outputjson", "--pythonpath", interpreter)
    found = json.loads(done.stdout)["generalDiagnostics"]
    lines = [each["range"]["start"]["line"] + 1 for each in found if each["severity"] == "error"]
    assert sorted(mistakes(lines)) == ["1", "2", "3", "4", "5"], done.stdout
