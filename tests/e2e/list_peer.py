"""Answers `a_get_s_1` with a list as long as the argument's `loginid` says.

All records are alike except for their number, so that making a hundred thousand is fast.
"""

import socket

from kvrpc_tools.simulator import rpc, transport
from kvrpc_tools.simulator.xdr import Reader, Writer

HEADER = 40


def text(writer, value, size):
    writer.characters(value.encode("iso8859-15").ljust(size, b"\0"))


def fields_behind_the_number():
    """Returns the bytes of the nineteen fields of a send record that follow `faxid`."""
    writer = Writer()
    text(writer, "meier", 11)
    for number in (1, 3, 2):
        writer.long(number)
    text(writer, "für Köln", 31)
    for number in (1000000000, 1000000060, 1, 1000000061, 40, 2, 0, 0, 3, 1):
        writer.long(number)
    text(writer, "+49 221 5550", 21)
    text(writer, "0221 5550", 31)
    for number in (4, -5):
        writer.long(number)
    return writer.written()


def answer_list(count):
    """Returns the bytes of `anz`, then of each node a true bool and its record, then a false."""
    writer = Writer()
    writer.long(count)
    present, rest = (1).to_bytes(4, "big"), fields_behind_the_number()
    nodes = b"".join(present + number.to_bytes(4, "big") + rest for number in range(count))
    return writer.written() + nodes + bytes(4)


def replies(connection):
    """Answers call after call. Keeps each list, so that a second call for it takes no time."""
    lists = {}
    records = transport.RecordReader()
    while True:
        data = connection.recv(4096)
        if not data:
            return
        for message in records.feed(data):
            xid = Reader(message).u_long()
            count = Reader(message[HEADER:]).u_long()
            if count not in lists:
                lists[count] = transport.framed(rpc.success(0, answer_list(count)))
            framed = memoryview(lists[count])
            connection.sendall(bytes(framed[:4]) + xid.to_bytes(4, "big"))
            connection.sendall(framed[8:])


def main():
    with socket.create_server((transport.LOOPBACK, 0)) as listener:
        print("port", listener.getsockname()[1], flush=True)
        while True:
            with listener.accept()[0] as connection:
                connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                replies(connection)


if __name__ == "__main__":
    main()
