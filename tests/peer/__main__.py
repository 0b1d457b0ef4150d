"""The peer's process: python -m peer HOST PORT

It serves TCP and UDP on one port (0: any that both have) and ends with its standard input. Commands
come in as lines of JSON, events go out as such:

    {"script": [...], "otherwise": ...}   the actions for the calls to come, and for all behind them
    {"ping": N}                           answered by {"event": "pong", "ping": N}

    {"event": "port", "port": N}          once, when it is ready
    {"event": "open", "connection": N}    a connection was accepted
    {"event": "call", "transport": "tcp" or "udp", "connection": N, "time": seconds, "bytes": hex}
    {"event": "gone", "connection": N}    the client closed or lost a connection
"""

import json
import socket
import struct
import sys
import threading
import time

from peer import steps

ANSWER_WELL = {}


def as_steps(action):
    return [action] if isinstance(action, dict) else action


class Script:
    """The actions that are left, and the events; both are for several threads."""

    def __init__(self):
        self._lock = threading.Lock()
        self._actions = []
        self._otherwise = ANSWER_WELL

    def say(self, event, **details):
        with self._lock:
            print(json.dumps({"event": event, **details}), flush=True)

    def replace(self, actions, otherwise):
        with self._lock:
            self._actions, self._otherwise = list(actions), otherwise

    def next_steps(self):
        with self._lock:
            return as_steps(self._actions.pop(0) if self._actions else self._otherwise)


def read_exactly(connection, length):
    data = b""
    while len(data) < length:
        piece = connection.recv(length - len(data))
        if not piece:
            raise EOFError
        data += piece
    return data


def read_record(connection):
    """The bytes of the next record, marks included, and its data."""
    whole, data = b"", b""
    while True:
        mark = read_exactly(connection, 4)
        (header,) = struct.unpack(">I", mark)
        part = read_exactly(connection, header & ~steps.LAST_FRAGMENT)
        whole, data = whole + mark + part, data + part
        if header & steps.LAST_FRAGMENT:
            return whole, data


def serve_connection(script, connection, number):
    script.say("open", connection=number)
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    before, going = b"\0" * 24, True
    try:
        while going:
            whole, call = read_record(connection)
            script.say("call", transport="tcp", connection=number, time=time.monotonic(),
                       bytes=whole.hex())
            if len(call) < 24:
                continue
            # all() stops at a step that ends the connection.
            going = all(steps.answer_stream(connection, step, call, before)
                        for step in script.next_steps())
            before = call
    except (EOFError, OSError):
        script.say("gone", connection=number)
    connection.close()


def serve_stream(script, listener):
    number = 0
    while True:
        connection, _ = listener.accept()
        number += 1
        threading.Thread(target=serve_connection, args=(script, connection, number),
                         daemon=True).start()


def serve_datagrams(script, sock):
    before = b"\0" * 24
    while True:
        call, address = sock.recvfrom(65536)
        script.say("call", transport="udp", connection=0, time=time.monotonic(), bytes=call.hex())
        for step in script.next_steps():
            steps.answer_datagram(sock, address, step, call, before)
        before = call


def bind_both(host, port):
    while True:
        listener = socket.create_server((host, port), backlog=1024)
        sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        try:
            sock.bind((host, listener.getsockname()[1]))
            return listener, sock
        except OSError:
            listener.close()
            sock.close()
            if port != 0:
                raise


def main(host, port):
    script = Script()
    listener, sock = bind_both(host, int(port))
    for target, resource in ((serve_stream, listener), (serve_datagrams, sock)):
        threading.Thread(target=target, args=(script, resource), daemon=True).start()
    script.say("port", port=listener.getsockname()[1])
    for line in sys.stdin:
        command = json.loads(line)
        if "script" in command:
            script.replace(command["script"], command["otherwise"])
        else:
            script.say("pong", ping=command["ping"])


if __name__ == "__main__":
    main(*sys.argv[1:])
