"""A hundred thousand calls on one client: memory and descriptors stay where they were."""

import json
import os

import pytest
from servers import Started

CALLS = 20000 if os.environ.get("KVRPC_SANITIZED") else 100000
MOST_GROWTH = 128 * 1024  # a byte and a third a call

SCRIPT = """
    import json, os, socket, sys
    import kvrpc
    class Allow:
        def verify_call(self, name):
            return True
    def usage():
        with open("/proc/self/statm") as sizes:
            pages = int(sizes.read().split()[1])
        return pages * os.sysconf("SC_PAGE_SIZE"), len(os.listdir("/proc/self/fd"))
    def run(count):
        for _ in range(count):
            if client.call(text, allow) != good:
                sys.exit("a wrong reply")
    # The server serves the datagrams of any client, and a stream, whose end ends it.
    os.environ["RPCTRANSPORT"] = "tcp"
    client = stream = kvrpc.RpcClient("lambda", "127.0.0.1")
    if sys.argv[1:] == ["udp"]:
        os.environ["RPCTRANSPORT"] = "udp"
        client = kvrpc.RpcClient("lambda", "127.0.0.1")
    allow, text = Allow(), '{"l_get_status_1":null}'
    good = (b'{"status":0,"message":"ok","result":{"state_fax":1,"state_gateways":2,'
            b'"state_daemons":3,"state_drivers":4}}')
    seen = []
    for count in (CALLS // 10, CALLS // 10, CALLS):  # what is allocated once is by then
        run(count)
        seen.append(usage())
    print(json.dumps(seen[1:]))
    client.close()
    stream.close()
"""


@pytest.mark.slow
@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_calls_leave_nothing_behind(run_script, transport):
    server = Started("fast_server.py")
    script = SCRIPT.replace("sys.argv[1:]", f"[{transport!r}]").replace("CALLS", str(CALLS))
    done = run_script(script, environment={"KORVEXRPCPORT": str(server.port)})
    server.stop()
    assert done.stderr == ""
    (memory, descriptors), (memory_after, descriptors_after) = json.loads(done.stdout)
    assert descriptors_after == descriptors
    if not os.environ.get("KVRPC_SANITIZED"):  # whose memory rests for a while before it is reused
        assert memory_after - memory < MOST_GROWTH
