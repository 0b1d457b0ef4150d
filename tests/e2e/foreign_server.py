"""`lambda` served by pyvisa-py's rpc module: three procedures over a small state.

    foreign_server.py tcp|udp
"""

import socket
import sys

from pyvisa_py.protocols import rpc

LAMBDA, VERSION, SLOT = 26011932, 1, 3


class Procedures:
    """Procedures in pyvisa-py's form: handle_N unpacks the argument, calls turn_around and packs
    the result."""

    def handle_9(self):
        """l_startserver_1: the name comes as eleven characters, a unit each."""
        units = [self.unpacker.unpack_int() for _ in range(11)]
        self.turn_around()
        name = bytes(unit & 0xFF for unit in units).split(b"\0")[0].decode("iso8859-15")
        print("start", name, flush=True)
        self.packer.pack_bool(name != "nobody")

    def handle_19(self):
        """l_version_1"""
        self.turn_around()
        self.packer.pack_int(-30500)

    def handle_29(self):
        """l_get_status_1"""
        self.turn_around()
        for state in (1, 2, -2147483648, 2147483647):
            self.packer.pack_int(state)


class Stream(socket.socket):
    """Raises EOFError at the end of a stream, because pyvisa-py would read again forever."""

    def recv(self, size):
        data = super().recv(size)
        if not data:
            raise EOFError
        return data


class TcpServer(Procedures, rpc.TCPServer):
    def session(self, connection):
        sock, peer = connection
        with Stream(fileno=sock.detach()) as stream:
            super().session((stream, peer))


class UdpServer(Procedures, rpc.UDPServer):
    pass


def free_port(kind):
    with socket.socket(socket.AF_INET, kind) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def main(transport):
    kind = socket.SOCK_STREAM if transport == "tcp" else socket.SOCK_DGRAM
    port = free_port(kind)
    server = (TcpServer if transport == "tcp" else UdpServer)("127.0.0.1", LAMBDA, VERSION, port)
    if transport == "tcp":
        server.sock.listen(0)  # What it does itself, before it is announced.
    print("port", port - SLOT, flush=True)
    server.loop()


if __name__ == "__main__":
    main(sys.argv[1])
