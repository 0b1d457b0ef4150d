"""Answers a_zeitstring_1 with the text of its argument, so that a client sees whose answer it got.

Serves any number of TCP connections, and datagrams of any client, on one port. Prints a line
`bad HEX` for a message that is not such a call, for example bytes of two processes on one
connection. Answers a negative argument after that many milliseconds.
"""

import socket
import struct
import threading
import time

SLOT = 0
PROGRAM, PROCEDURE = 16011967, 1003
REPLY_HEADER = struct.pack(">5I", 1, 0, 0, 0, 0)
CALL_SIZE = 44
TEXT_SIZE = 21


def reply_to(call):
    """Returns the reply message, or None if the bytes are not a call."""
    words = struct.unpack(">11I", call) if len(call) == CALL_SIZE else ()
    if words[1:6] != (0, 2, PROGRAM, 1, PROCEDURE):
        print("bad", call.hex(), flush=True)
        return None
    argument = struct.unpack(">i", call[-4:])[0]
    if argument < 0:
        time.sleep(-argument / 1000)
    text = str(argument).encode().ljust(TEXT_SIZE, b"\0")
    return call[:4] + REPLY_HEADER + struct.pack(f">{TEXT_SIZE}i", *text)


def records(stream):
    while True:
        mark = stream.read(4)
        if len(mark) < 4:
            return
        yield stream.read(struct.unpack(">I", mark)[0] & 0x7FFFFFFF)


def serve_connection(connection):
    with connection, connection.makefile("rb") as stream:
        try:
            for call in records(stream):
                reply = reply_to(call)
                if reply is None:
                    return
                connection.sendall(struct.pack(">I", 0x80000000 | len(reply)) + reply)
        except OSError:
            pass  # the client is gone


def serve_stream(listener):
    while True:
        connection, _ = listener.accept()
        threading.Thread(target=serve_connection, args=(connection,), daemon=True).start()


def serve_datagrams(datagrams):
    while True:
        call, address = datagrams.recvfrom(65536)
        reply = reply_to(call)
        if reply is not None:
            datagrams.sendto(reply, address)


def main():
    listener = socket.create_server(("127.0.0.1", 0), backlog=1024)
    datagrams = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    datagrams.bind(listener.getsockname())
    threading.Thread(target=serve_stream, args=(listener,), daemon=True).start()
    print("port", listener.getsockname()[1] - SLOT, flush=True)
    serve_datagrams(datagrams)


if __name__ == "__main__":
    main()
