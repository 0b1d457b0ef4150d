"""Answers every call with a random result of its procedure.

All servers, over TCP. For each call it prints the bytes of the argument and of the result, in hex.

    random_peer.py SEED
"""

import itertools
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT), str(ROOT / "python")]

from kvrpc_tools.schema import own  # noqa: E402
from kvrpc_tools.simulator import ports, rpc, transport  # noqa: E402
from kvrpc_tools.simulator.codec import Codec  # noqa: E402
from tests.python.simulator.values import Values  # noqa: E402

HEADER = 40


def make_server(server, seeds):
    codec = Codec(own())

    def handle(message, carrier):
        xid = int.from_bytes(message[:4], "big")
        procedure = server.procedures[int.from_bytes(message[20:24], "big")]
        value = Values(own(), next(seeds)).of(procedure.result)
        result = codec.encode(procedure.result, value)
        print("call", message[HEADER:].hex() or "-", result.hex() or "-", flush=True)
        return transport.Answer(rpc.success(xid, result))
    return transport.Server(handle)


def main(seed):
    loop = transport.Loop()
    seeds = itertools.count(int(seed))
    base, pairs = ports.bind_range(len(own().servers))
    for server in own().servers.values():
        loop.serve(*pairs[server.slot], make_server(server, seeds))
    print("port", base, flush=True)
    loop.run()


if __name__ == "__main__":
    main(sys.argv[1])
