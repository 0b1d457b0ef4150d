"""The portmapper's port for one test at a time, and a portmapper that nobody here wrote on it."""

import contextlib
import fcntl
import shutil
import socket
import subprocess
import tempfile
from pathlib import Path

from needs import missing
from peer import messages
from settings import plain_environment
from waiting import wait_until

PORT = 111
JARS = [Path("/usr/share/java") / name for name in ("portmap.jar", "oncrpc.jar")]
PORTMAPPER = "org.acplt.oncrpc.apps.jportmap.jportmap"
PROGRAM, VERSION, NULL, SET, UNSET = 100000, 2, 0, 1, 2
SECONDS = 60


def is_free():
    """Returns true if TCP and UDP can both be bound. Raises PermissionError if only root may."""
    with contextlib.ExitStack() as stack:
        for kind in (socket.SOCK_STREAM, socket.SOCK_DGRAM):
            probe = stack.enter_context(socket.socket(socket.AF_INET, kind))
            if kind == socket.SOCK_STREAM:
                probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            try:
                probe.bind(("0.0.0.0", PORT))
            except PermissionError:
                raise
            except OSError:
                return False
    return True


@contextlib.contextmanager
def taken():
    """Waits until port 111 is free, and keeps it from all other users of this function."""
    with open(Path(tempfile.gettempdir()) / "kvrpc-port-111", "a") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            wait_until(is_free, "port 111 stays in use", SECONDS)
        except PermissionError:
            missing("only root may serve on port 111")
        yield


def ask(procedure, *arguments):
    """Returns the first word of the portmapper's answer, or None if none comes in time."""
    call = messages.words(7, 0, 2, PROGRAM, VERSION, procedure, 0, 0, 0, 0, *arguments)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        sock.settimeout(0.2)
        sock.connect(("127.0.0.1", PORT))
        try:
            sock.send(call)
            reply = sock.recv(400)
        except OSError:
            return None
    assert reply[:24] == messages.words(7, 1, 0, 0, 0, 0)
    return reply[24:28]


def register(program, protocol, port):
    ask(UNSET, program, 1, protocol, 0)
    assert ask(SET, program, 1, protocol, port) == messages.words(1)


@contextlib.contextmanager
def remote_tea():
    """Runs Remote Tea's portmapper on port 111."""
    if shutil.which("java") is None or not all(jar.exists() for jar in JARS):
        missing("Remote Tea's portmapper is missing")
    with taken():
        process = subprocess.Popen(
            ["java", "-cp", ":".join(map(str, JARS)), PORTMAPPER], env=plain_environment(),
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            wait_until(lambda: ask(NULL) is not None, "the portmapper does not answer", SECONDS)
            yield
        finally:
            process.kill()
            process.wait()
