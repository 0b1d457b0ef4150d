"""Starts peers on this side of the loopback for tests that run as Windows programs.

A connection brings one line of JSON, a name for the process and the arguments of the Python
interpreter, and then the standard input of the process. What the process writes goes back in
frames:

    byte     1 standard output, 0 the end: the exit code, as text
    4 bytes  length, big-endian
    data

Standard error goes to build/win32/peers/NAME, which both sides can read: what stands there stood
there before the next answer. The process runs in the root of the repository. It is killed
when the connection ends; until then its standard input stays open. A line without arguments waits
until the process of that name has gone.
"""

import json
import os
import socket
import struct
import subprocess
import sys
import threading
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PATH = f"{ROOT / 'python'}:{ROOT / 'tests'}"
EXIT, OUTPUT = 0, 1
ERRORS = ROOT / "build" / "win32" / "peers"

ended = {}  # an event for each name
changes = threading.Lock()


class Sender:
    def __init__(self, connection):
        self._connection = connection

    def send(self, kind, data):
        self._connection.sendall(struct.pack(">BI", kind, len(data)) + data)

    def copy(self, kind, stream):
        try:
            while True:
                data = stream.read1(65536)
                if not data:
                    return
                self.send(kind, data)
        except OSError:
            pass  # The other side has gone; the process is being killed.


def feed(lines, process):
    """Hands on the standard input, and kills the process when the other side goes."""
    try:
        while True:
            data = lines.read1(65536)
            if not data:
                break
            process.stdin.write(data)
            process.stdin.flush()
    except OSError:
        pass
    process.kill()


def run(connection, lines, name, arguments):
    ERRORS.mkdir(exist_ok=True)
    with open(ERRORS / name, "wb") as errors:
        process = subprocess.Popen(
            [sys.executable, "-u", *arguments], cwd=ROOT, env=dict(os.environ, PYTHONPATH=PATH),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors)
    sender = Sender(connection)
    copier = threading.Thread(target=sender.copy, args=(OUTPUT, process.stdout))
    feeder = threading.Thread(target=feed, args=(lines, process), daemon=True)
    copier.start()
    feeder.start()
    code = process.wait()
    copier.join()
    try:
        sender.send(EXIT, str(code).encode("ascii"))
    except OSError:
        pass


def serve(connection):
    with connection, connection.makefile("rb") as lines:
        name, *arguments = json.loads(lines.readline())
        with changes:
            gone = ended.setdefault(name, threading.Event())
        if arguments:
            run(connection, lines, name, arguments)
            gone.set()
        else:
            gone.wait(10)


def start():
    """Serves from threads of this process; returns the port."""
    listener = socket.create_server(("127.0.0.1", 0))

    def accept():
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=serve, args=(connection,), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    return listener.getsockname()[1]
