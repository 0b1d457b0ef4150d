"""Stands for a peer in a Windows process tree: has tests/win32/peer_starter.py start it, and passes
on what it reads and writes and how it ends. Ends with the peer, and the peer ends with this.

    peer_relay.py NAME ARGUMENT...
"""

import json
import os
import socket
import struct
import sys
import threading

EXIT = 0


def unix_path(text):
    """Z: is the root of the other side."""
    return text[2:].replace("\\", "/") if text[:3].upper() in ("Z:\\", "Z:/") else text


def pass_input(connection):
    while True:
        data = os.read(0, 65536)
        if not data:
            return
        connection.sendall(data)


def main(arguments):
    starter = ("127.0.0.1", int(os.environ["KVRPC_PEER_STARTER"]))
    with socket.create_connection(starter) as connection:
        line = json.dumps([unix_path(argument) for argument in arguments]) + "\n"
        connection.sendall(line.encode("utf-8"))
        threading.Thread(target=pass_input, args=(connection,), daemon=True).start()
        frames = connection.makefile("rb")
        while True:
            header = frames.read(5)
            if len(header) < 5:
                os._exit(1)
            kind, length = struct.unpack(">BI", header)
            data = frames.read(length)
            if kind == EXIT:
                os._exit(int(data) & 0xFF)  # the thread may be waiting for input
            os.write(kind, data)


if __name__ == "__main__":
    main(sys.argv[1:])
