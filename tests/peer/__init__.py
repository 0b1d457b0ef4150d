"""A scripted server for ONC RPC calls over TCP and UDP, to try a client's handling of faults.

`FaultPeer` starts it in a process of its own (`python -m peer`) and tells it, call by call, what to
answer: a step, a list of steps (several messages in answer to one call) or an empty list (silence).
A step is a dictionary; without any entry it answers well.

    reply     what follows the id, in hex; `messages` builds it
    id        "own" (default), "wrong", or "before": that of the call before this one
    raw       these bytes in hex instead of a message, not framed
    fragment  data bytes a fragment, TCP; all in one without it
    empty     so many fragments of length zero ahead of each fragment, TCP
    piece     bytes a write, TCP
    pause     seconds between two writes
    cut       only the first so many bytes are written, marks included
    then      "close" or "reset": how the connection ends after the step, TCP
    delay     seconds before the step
    times     how often the message is sent
    stranger  True: the datagram comes from another socket, UDP

It keeps every call with its bytes and its time for the test to look at.
"""

from peer import messages
from peer.started import FaultPeer

__all__ = ["FaultPeer", "messages"]
