"""Answers each call with the bytes of its vector, if the call has the bytes of that vector.

Serves for all servers over TCP and UDP. Takes a procedure's lines in turn, and begins again after
the last. Answers a call that differs from its line with a system error, and prints how it differs
on standard output.

    vector_peer.py FILE
"""

import collections
import itertools
import json
import sys
from pathlib import Path

from kvrpc_tools.simulator import ports, rpc, transport
from kvrpc_tools.simulator.xdr import Writer

# Program numbers in the order of their ports; the tests do not take them from the tables they test.
PROGRAMS = (("alpha", 16011967), ("gamma", 1481537), ("theta", 1102104009), ("lambda", 26011932),
            ("nue", 302095104), ("omega", 16011931), ("sigma", 9081975))


def read_vectors(path):
    """Returns, by (program, number), an endless iterator over the lines of that procedure."""
    found = collections.defaultdict(list)
    for text in Path(path).read_text(encoding="utf-8").splitlines():
        line = json.loads(text)
        found[line["program"], line["number"]].append(line)
    return {key: itertools.cycle(lines) for key, lines in found.items()}


def call_bytes(xid, program, number, argument):
    """Returns the bytes of a call: version 2, program version 1, null credential and verifier."""
    writer = Writer()
    for word in (xid, 0, 2, program, 1, number, 0, 0, 0, 0):
        writer.long(word)
    return writer.written() + bytes.fromhex(argument)


def make_server(vectors, name, program):
    def handle(message, carrier):
        xid = int.from_bytes(message[:4], "big")
        number = int.from_bytes(message[20:24], "big")
        lines = vectors.get((name, number))
        if lines is None:
            print(f"{carrier} {name} has no procedure {number}", flush=True)
            return transport.Answer(rpc.procedure_unavailable(xid))
        line = next(lines)
        expected = call_bytes(xid, program, number, line["arg_xdr"])
        if message != expected:
            print(f"{carrier} {line['procedure']} {line['call']} got {message.hex()} "
                  f"expected {expected.hex()}", flush=True)
            return transport.Answer(rpc.system_error(xid))
        return transport.Answer(rpc.success(xid, bytes.fromhex(line["res_xdr"])))
    return transport.Server(handle)


def main(path):
    vectors = read_vectors(path)
    loop = transport.Loop()
    base, pairs = ports.bind_range(len(PROGRAMS))
    for (tcp, udp), (name, program) in zip(pairs, PROGRAMS):
        loop.serve(tcp, udp, make_server(vectors, name, program))
    print("port", base, flush=True)
    loop.run()


if __name__ == "__main__":
    main(sys.argv[1])
