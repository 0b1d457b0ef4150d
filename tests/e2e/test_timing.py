"""The real times of a call, which no script can set: 25 seconds a read over TCP; over UDP a
datagram every 5 seconds and an end after 25; and all of that once more for the second attempt.
"""

import json
import subprocess
import sys
import textwrap

import pytest
from failures import STATUS_REPLY, TIMEDOUT, failure
from peer.started import FaultPeer
from settings import clean_environment

pytestmark = [pytest.mark.slow, pytest.mark.once]

SECONDS = 90
CALL = textwrap.dedent("""
    import json, time
    import kvrpc
    names = []
    class Allow:
        def verify_call(self, name):
            names.append(name)
            return True
    client = kvrpc.RpcClient("lambda", "127.0.0.1")
    start = time.monotonic()
    reply = client.call('{"l_get_status_1":null}', Allow()).decode()
    end = time.monotonic()
    if CLOSES:
        client.close()
    again = client.call('{"l_get_status_1":null}', Allow()).decode()
    client.close()
    print(json.dumps({"start": start, "took": end - start, "reply": reply, "names": names,
                      "again": again}))
""")


class Timed:
    """A script that makes one call to a peer of its own, in a process of its own."""

    def __init__(self, transport, *actions, closes=False):
        self.peer = FaultPeer()
        self.peer.script(*actions)
        self.process = subprocess.Popen(
            [sys.executable, "-c", CALL.replace("CLOSES", str(closes))],
            stdout=subprocess.PIPE, encoding="ascii",
            env={**clean_environment(), "KORVEXRPCPORT": str(self.peer.base_port()),
                 "RPCTRANSPORT": transport})

    def finish(self):
        """What the script says, and the times of its calls after the first one began."""
        said = json.loads(self.process.communicate(timeout=SECONDS)[0])
        calls = self.peer.calls()
        self.peer.stop()
        return said, [call.time - said["start"] for call in calls], calls


def check_silence(said, times, expected):
    assert said["reply"] == failure(TIMEDOUT).decode()
    assert said["names"] == ["l_get_status_1"] * 3
    assert said["took"] == pytest.approx(50, abs=1)
    assert times == pytest.approx(expected, abs=1)
    assert said["again"] == STATUS_REPLY.decode()


def check_stream(said, times, calls):
    check_silence(said, times, [0, 25, 50])
    assert [call.connection for call in calls] == [1, 2, 3]


def check_datagrams(said, times, calls):
    check_silence(said, times, [0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50])
    assert len({call.whole for call in calls[:5]}) == 1  # the same bytes, the same id
    assert len({call.whole for call in calls[5:10]}) == 1


def check_trickle(said, times, calls):
    assert said["reply"] == said["again"] == STATUS_REPLY.decode()
    assert said["took"] == pytest.approx(27, abs=1)
    assert (len(calls), said["names"]) == (2, ["l_get_status_1"] * 2)


def test_times_that_no_script_can_set():
    """All at once, so that it takes 50 seconds in all."""
    # The next call on that connection would take its reply for the one that never came.
    silent_stream = Timed("tcp", [], [], closes=True)
    silent_datagrams = Timed("udp", *[[]] * 10)
    # Nine gaps of three seconds: longer in all than a read may take.
    trickle = Timed("tcp", {"piece": 5, "pause": 3.375})
    check_trickle(*trickle.finish())
    check_stream(*silent_stream.finish())
    check_datagrams(*silent_datagrams.finish())
