"""The peer's process: python -m peer HOST PORT

Serves TCP and UDP on one port (0: any port that both have) and ends with its standard input. Its
first line of output is the port. Each command is a line of JSON on standard input and is answered
by one line, a list of the events since the last answer:

    {"script": [...], "otherwise": ...}   sets the actions for the next calls and for all later ones
    {"wait": SECONDS}                     waits for an event, at most so long, if there is none yet

    {"event": "open", "connection": N}    a connection was accepted
    {"event": "call", "transport": "tcp" or "udp", "connection": N, "time": seconds, "bytes": hex}
    {"event": "gone", "connection": N}    the client closed or lost a connection

Events are kept in memory until they are asked for. The peer must never write unasked: while the
module under test waits for an answer it holds the GIL, so that the test process cannot read, and a
full pipe would stop the peer before it answers.
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
    """The actions to come and the events so far. May be used from several threads."""

    def __init__(self):
        self._changed = threading.Condition()
        self._actions = []
        self._otherwise = ANSWER_WELL
        self._events = []

    def note(self, event, **details):
        with self._changed:
            self._events.append({"event": event, **details})
            self._changed.notify_all()

    def take_events(self, seconds=0):
        """Returns the events since the last time, waiting up to `seconds` for the first."""
        with self._changed:
            self._changed.wait_for(lambda: self._events, timeout=seconds)
            taken, self._events = self._events, []
            return taken

    def replace(self, actions, otherwise):
        with self._changed:
            self._actions, self._otherwise = list(actions), otherwise

    def next_steps(self):
        with self._changed:
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
    """Returns the bytes of the next record with its marks, and its data without them."""
    whole, data = b"", b""
    while True:
        mark = read_exactly(connection, 4)
        (header,) = struct.unpack(">I", mark)
        part = read_exactly(connection, header & ~steps.LAST_FRAGMENT)
        whole, data = whole + mark + part, data + part
        if header & steps.LAST_FRAGMENT:
            return whole, data


def serve_connection(script, connection, number):
    script.note("open", connection=number)
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    before, going = b"\0" * 24, True
    try:
        while going:
            whole, call = read_record(connection)
            script.note("call", transport="tcp", connection=number, time=time.monotonic(),
                        bytes=whole.hex())
            if len(call) < 24:
                continue
            # all() stops at a step that ends the connection.
            going = all(steps.answer_stream(connection, step, call, before)
                        for step in script.next_steps())
            before = call
    except (EOFError, OSError):
        script.note("gone", connection=number)
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
        script.note("call", transport="udp", connection=0, time=time.monotonic(), bytes=call.hex())
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


def answer(value):
    print(json.dumps(value), flush=True)


def main(host, port):
    script = Script()
    listener, sock = bind_both(host, int(port))
    for target, resource in ((serve_stream, listener), (serve_datagrams, sock)):
        threading.Thread(target=target, args=(script, resource), daemon=True).start()
    answer(listener.getsockname()[1])
    for line in sys.stdin:
        command = json.loads(line)
        if "script" in command:
            script.replace(command["script"], command["otherwise"])
        answer(script.take_events(command.get("wait", 0)))


if __name__ == "__main__":
    main(*sys.argv[1:])
