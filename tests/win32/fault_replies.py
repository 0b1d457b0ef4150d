"""Prints what a script gets to see for every fault of the fault peer: a line of JSON for each, the
reply text or the exception. Runs on both platforms; the same lines come out.

    fault_replies.py DIRECTORY-OF-THE-MODULE
"""

import json
import os
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path[:0] = [sys.argv[1], str(HERE.parent), str(HERE.parent / "e2e"),
                str(HERE.parents[1] / "python")]
if "KVRPC_PEER_STARTER" in os.environ:
    import other_side

    other_side.start_peers_on_the_other_side()

from peer import messages  # noqa: E402
from peer.started import FaultPeer  # noqa: E402
from test_faults import NO_REPLIES, REFUSALS  # noqa: E402

import kvrpc  # noqa: E402

STATUS = '{"l_get_status_1":null}'
BOTH = {
    **{f"refusal {number}": {"reply": reply} for number, (reply, _) in enumerate(REFUSALS)},
    **{f"short result {size}": {"reply": messages.success(b"\0" * size)} for size in (0, 4, 15)},
}
TCP = {
    "end at once": {"cut": 0, "then": "close"},
    "end within the mark": {"cut": 3, "then": "close"},
    "end within the reply": {"cut": 11, "then": "close"},
    "end within the result": {"cut": 33, "then": "close"},
    "reset at once": {"cut": 0, "then": "reset"},
    "reset within the reply": {"cut": 11, "then": "reset"},
}
UDP = {name: {"reply": reply} for name, reply in NO_REPLIES.items()}


class Allow:
    def verify_call(self, name):
        return True


def tell(*words):
    print(json.dumps(words), flush=True)


def reply(client):
    try:
        return client.call(STATUS, Allow()).decode("utf-8")
    except kvrpc.ClntCreateError as error:
        return repr(error.message)


def tell_faults(transport, faults):
    peer = FaultPeer()
    os.environ.update(KORVEXRPCPORT=str(peer.base_port()), RPCTRANSPORT=transport,
                      ZOLMHOST=peer.host)
    for name, fault in faults.items():
        client = kvrpc.RpcClient("lambda")
        peer.script(otherwise=fault)
        tell(transport, name, reply(client))
        peer.script()
        tell(transport, name, "next", reply(client))
        client.close()
    peer.stop()


def tell_creation():
    settings = {
        "refused": {"KORVEXRPCPORT": "1", "RPCTRANSPORT": "tcp"},
        "no such host": {"ZOLMHOST": "x" * 300},
        "no such transport": {"ZOLMHOST": "127.0.0.1", "RPCTRANSPORT": "TCP"},
    }
    for name, variables in settings.items():
        os.environ.update(variables)
        try:
            kvrpc.RpcClient("lambda")
            tell("creation", name, "a client")
        except kvrpc.ClntCreateError as error:
            tell("creation", name, error.message)


tell_faults("tcp", {**BOTH, **TCP})
tell_faults("udp", {**BOTH, **UDP})
tell_creation()
