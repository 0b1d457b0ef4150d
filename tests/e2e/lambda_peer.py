"""A server for `lambda` over TCP in a process of its own, as far as the client object needs one.

The process takes a list of actions, one for each call that arrives on whatever connection; the
last one goes for all later calls. It writes a line for each event to its standard output:

    port N        once: it listens on N
    open          a connection was accepted
    call N        a call of procedure N arrived
    gone          the client closed a connection

Run as a script it is the server; `Peer` starts it and reads its lines.
"""

import pathlib
import queue
import socket
import struct
import subprocess
import sys
import threading
import time

LAMBDA_SLOT = 3  # its port behind the base port

# What each procedure answers: l_startserver_1, l_version_1, l_get_status_1.
RESULTS = {
    9: struct.pack(">i", 1),
    19: struct.pack(">i", 7),
    29: struct.pack(">4i", 1, 2, 3, 4),
}


# ---- the server


def read_exactly(connection, length):
    data = b""
    while len(data) < length:
        piece = connection.recv(length - len(data))
        if not piece:
            raise EOFError
        data += piece
    return data


def read_record(connection):
    record = b""
    while True:
        (mark,) = struct.unpack(">I", read_exactly(connection, 4))
        record += read_exactly(connection, mark & 0x7FFFFFFF)
        if mark & 0x80000000:
            return record


def send_reply(connection, record):
    xid, procedure = struct.unpack(">I16xI", record[:24])
    reply = struct.pack(">6I", xid, 1, 0, 0, 0, 0) + RESULTS[procedure]
    connection.sendall(struct.pack(">I", 0x80000000 | len(reply)) + reply)


class Server:
    def __init__(self, actions):
        self.actions = actions
        self.calls = 0
        self.lock = threading.Lock()

    def say(self, *words):
        with self.lock:
            print(*words, flush=True)

    def next_action(self):
        with self.lock:
            action = self.actions[min(self.calls, len(self.actions) - 1)]
            self.calls += 1
            return action

    def serve(self, connection):
        self.say("open")
        try:
            while True:
                record = read_record(connection)
                action = self.next_action()
                self.say("call", *struct.unpack(">I", record[20:24]))
                if action == "drop":
                    break
                if action == "slow":
                    time.sleep(0.5)
                if action != "hang":
                    send_reply(connection, record)
        except (EOFError, OSError):
            self.say("gone")
        connection.close()

    def run(self):
        listener = socket.create_server(("127.0.0.1", 0))
        self.say("port", listener.getsockname()[1])
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()


# ---- the tests' side


class Peer:
    def __init__(self, actions):
        self.process = subprocess.Popen(
            [sys.executable, str(pathlib.Path(__file__)), *actions],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            encoding="ascii",
        )
        self.lines = queue.Queue()
        threading.Thread(target=self.read_lines, daemon=True).start()
        self.base_port = int(self.event().split()[1]) - LAMBDA_SLOT

    def read_lines(self):
        with self.process.stdout as stream:
            for line in stream:
                self.lines.put(line.strip())

    def event(self, timeout=20):
        """The next event; queue.Empty when none comes in time."""
        return self.lines.get(timeout=timeout)

    def events(self, count):
        return [self.event() for _ in range(count)]

    def is_silent(self, seconds=0.3):
        try:
            self.event(seconds)
        except queue.Empty:
            return True
        return False

    def stop(self):
        self.process.kill()
        self.process.stdin.close()
        self.process.wait()


def end_with_parent():
    sys.stdin.read()
    sys.exit()


if __name__ == "__main__":
    threading.Thread(target=Server(sys.argv[1:]).run, daemon=True).start()
    end_with_parent()
