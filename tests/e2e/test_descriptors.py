"""A process with more open files than a set of descriptors holds."""

import pytest

# In a process of its own, because the limit belongs to the process.
SCRIPT = """
    import os, resource, socket, sys
    import kvrpc
    MANY = 1500
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if hard != resource.RLIM_INFINITY and hard < 2 * MANY:
        sys.exit(f"only {hard} open files are allowed")
    resource.setrlimit(resource.RLIMIT_NOFILE, (2 * MANY, hard))
    class Allow:
        def verify_call(self, name):
            return True
    def call(client):
        return client.call('{"l_get_status_1":null}', Allow()).decode()
    before = kvrpc.RpcClient("lambda", "127.0.0.1")
    files = [os.open(os.devnull, os.O_RDONLY) for _ in range(MANY)]
    assert files[-1] >= MANY
    clients = [kvrpc.RpcClient("lambda", "127.0.0.1") for _ in range(3)]
    with socket.socket() as probe:
        print(probe.fileno() > MANY)
    for client in [before, *clients]:
        print(call(client))
        client.close()
    print(len(os.listdir("/proc/self/fd")) - len(files))
"""


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_1500_open_files_are_no_hindrance(run_script, fault_peer, transport):
    peer = fault_peer(transport)
    done = run_script(SCRIPT, environment={"KORVEXRPCPORT": str(peer.base_port()),
                                           "RPCTRANSPORT": transport})
    assert done.stderr == ""
    status = ('{"status":0,"message":"ok","result":{"state_fax":1,"state_gateways":2,'
              '"state_daemons":3,"state_drivers":4}}')
    # Left open are the three standard streams and the directory that is being listed.
    assert done.stdout.splitlines() == ["True", *[status] * 4, "4"]
    assert [call.transport for call in peer.calls()] == [transport] * 4
