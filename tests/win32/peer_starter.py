"""Starts peers on this side of the loopback for tests that run as Windows programs.

A connection brings one line of JSON: a name for the process and the arguments of the Python
interpreter. The answer is a port. What connects there becomes the standard input and output of the
process. A second line says how the process has ended. It is killed when the other side shuts the
first connection down.

Standard error goes to build/win32/peers/NAME, which both sides can read. The process runs in the
root of the repository.
"""

import json
import os
import socket
import subprocess
import sys
import threading
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PATH = f"{ROOT / 'python'}:{ROOT / 'tests'}"
ERRORS = ROOT / "build" / "win32" / "peers"
SECONDS = 60


def say(connection, number):
    connection.sendall(f"{number}\n".encode("ascii"))


def run(stream, name, arguments):
    ERRORS.mkdir(exist_ok=True)
    with stream, open(ERRORS / name, "wb") as errors:
        return subprocess.Popen([sys.executable, "-u", *arguments], cwd=ROOT, stderr=errors,
                                stdin=stream, stdout=stream, env={**os.environ, "PYTHONPATH": PATH})


def kill_at_the_end(connection, process):
    try:
        connection.recv(1)
    except OSError:
        pass  # The other side has gone.
    process.kill()


def serve(connection):
    with connection:
        name, *arguments = json.loads(connection.makefile("rb").readline())
        with socket.create_server(("127.0.0.1", 0)) as listener:
            listener.settimeout(SECONDS)
            say(connection, listener.getsockname()[1])
            stream, _ = listener.accept()
        process = run(stream, name, arguments)
        threading.Thread(target=kill_at_the_end, args=(connection, process), daemon=True).start()
        code = process.wait()
        try:
            say(connection, code)
        except OSError:
            pass  # Nobody waits for it.


def start():
    """Serves from threads of this process; returns the port."""
    listener = socket.create_server(("127.0.0.1", 0))

    def accept():
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=serve, args=(connection,), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    return listener.getsockname()[1]
