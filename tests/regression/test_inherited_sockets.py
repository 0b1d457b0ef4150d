"""On Windows, a program that the script started kept the connection of a closed client open."""

import socket
import subprocess
import sys

WAITING = [sys.executable, "-c", "input()"]


def test_a_started_program_does_not_hold_the_connection(module, monkeypatch):
    with socket.create_server(("127.0.0.1", 0)) as server:
        server.settimeout(60)
        monkeypatch.setenv("KORVEXRPCPORT", str(server.getsockname()[1] - 3))
        client = module.RpcClient("lambda", "127.0.0.1")
        end, _ = server.accept()
    with end, subprocess.Popen(WAITING, stdin=subprocess.PIPE, close_fds=False) as program:
        end.settimeout(60)
        client.close()
        received = end.recv(1)
        running = program.poll() is None
        program.communicate(b"\n")
    assert (received, running) == (b"", True)
