"""A scripted server for ONC RPC calls over TCP and UDP, which shows how a client handles faults.

`started.FaultPeer` starts it in a process of its own (`python -m peer`) and gives it an action for
each call: a step, a list of steps (several messages in answer to one call) or an empty list (no
answer). A step is a dictionary; an empty one is a good answer.

    reply     the bytes after the id, in hex; `messages` builds them
    id        "own" (the default), "wrong", or "before": that of the call before this one
    raw       bytes in hex that are sent instead of a message, without a record mark
    fragment  data bytes per fragment, TCP; one fragment if missing
    empty     number of fragments of length zero before each fragment, TCP
    piece     bytes per write, TCP
    pause     seconds between two writes
    cut       number of bytes to write at most, record marks included
    then      "close" or "reset": how the connection ends after the step, TCP
    delay     seconds before the step
    times     how often the message is sent
    stranger  True: the datagram comes from another socket, UDP

For example, `peer.script({"delay": 0.5}, [])` answers the first call late and the second never. The
peer keeps each call with its bytes and its time.
"""
