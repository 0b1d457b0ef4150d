"""For a host with several addresses, the client connected to the one that the system sorts first.
It must connect to the first one that the resolver lists."""

import shutil
import subprocess
import sys

import pytest
from needs import missing

NAMESPACE = ["unshare", "--mount", "--map-root-user"]

SCRIPT = """if True:
    import kvrpc

    class Allow:
        def verify_call(self, name):
            return True

    client = kvrpc.RpcClient("lambda", "fax.example")
    print(client.call('{"l_version_1":0}', Allow()).decode())
    client.close()
"""


@pytest.fixture
def with_hosts(tmp_path):
    """Returns a command prefix: what runs with it sees another /etc/hosts."""
    shell = [*NAMESPACE, "sh", "-c", 'mount --bind "$0" /etc/hosts && exec "$@"']
    hosts = tmp_path / "hosts"
    hosts.write_text("127.0.0.9 fax.example\n127.0.0.1 fax.example\n")
    command = [*shell, str(hosts)]
    if shutil.which("unshare") is None or subprocess.run([*command, "true"]).returncode != 0:
        missing("no table of hosts of our own")
    return command


@pytest.mark.peers
@pytest.mark.skipif(sys.platform == "win32", reason="Windows does not sort")
def test_the_first_address_in_the_table_is_taken(with_hosts, fault_peer):
    fault_peer("tcp", host="127.0.0.9")
    done = subprocess.run([*with_hosts, sys.executable, "-c", SCRIPT], capture_output=True,
                          encoding="utf-8", timeout=60)
    assert (done.stdout, done.stderr) == ('{"status":0,"message":"ok","result":7}\n', "")
