"""Answers each call, however long, with the words 1 and 7. Prints the lengths that the fragments
of the call have, and then the length of the last one."""

import socket
import struct

SLOT = 3
LAST = 0x80000000
BODY = struct.pack(">7I", 1, 0, 0, 0, 0, 1, 7)
MARK = struct.pack(">I", LAST | (4 + len(BODY)))


def serve(connection):
    with connection, connection.makefile("rb") as stream:
        while True:
            lengths, data, mark = [], b"", 0
            while not mark & LAST:
                head = stream.read(4)
                if len(head) < 4:
                    return
                (mark,) = struct.unpack(">I", head)
                part = stream.read(mark & ~LAST)
                data = data or part
                lengths.append(len(part))
            connection.sendall(MARK + data[:4] + BODY)
            print(*sorted({*lengths[:-1]}), lengths[-1], flush=True)


def main():
    listener = socket.create_server(("127.0.0.1", 0))
    print("port", listener.getsockname()[1] - SLOT, flush=True)
    while True:
        serve(listener.accept()[0])


if __name__ == "__main__":
    main()
