"""Answers l_get_status_1 as fast as it can: one TCP connection and any datagrams on one port."""

import select
import socket
import struct

SLOT = 3
BODY = struct.pack(">9I", 1, 0, 0, 0, 0, 1, 2, 3, 4)
MARK = struct.pack(">I", 0x80000000 | (4 + len(BODY)))


def serve(listener, datagrams):
    stream, _ = listener.accept()
    sources = select.poll()
    sources.register(stream, select.POLLIN)
    sources.register(datagrams, select.POLLIN)
    while True:
        for number, _ in sources.poll():
            if number == datagrams.fileno():
                call, address = datagrams.recvfrom(65536)
                datagrams.sendto(call[:4] + BODY, address)
            else:
                call = stream.recv(65536)  # a call of 44 bytes comes whole
                if not call:
                    return
                stream.send(MARK + call[4:8] + BODY)


def main():
    listener = socket.create_server(("127.0.0.1", 0))
    datagrams = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    datagrams.bind(listener.getsockname())
    print("port", listener.getsockname()[1] - SLOT, flush=True)
    serve(listener, datagrams)


if __name__ == "__main__":
    main()
