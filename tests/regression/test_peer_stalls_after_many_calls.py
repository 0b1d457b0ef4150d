"""The fault peer once wrote a line for each call. With 374 lines unread its pipe was full, and the
next call timed out after 25 seconds.
"""

import sys
import time

CALLS = 2000


def test_the_peer_answers_while_nobody_asks_for_its_events(module, fault_peer, allow):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)  # no other thread of this process runs during the loop
    try:
        before = time.monotonic()
        for _ in range(CALLS):
            assert client.call('{"l_version_1":null}', allow).startswith(b'{"status":0,')
        assert time.monotonic() - before < 20
    finally:
        sys.setswitchinterval(interval)
        client.close()
    assert len(peer.calls()) == CALLS
