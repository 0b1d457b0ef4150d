"""A child of fork closed a file of the script, because the script had closed the module's socket
and its number went to that file: a script that becomes a daemon closes all descriptors."""

import os
import socket
import sys

import pytest

pytestmark = pytest.mark.skipif(not sys.platform.startswith("linux"), reason="reads /proc")


def sockets():
    """Returns the descriptors of this process that are sockets."""
    found = set()
    for name in os.listdir("/proc/self/fd"):
        try:
            if os.readlink(f"/proc/self/fd/{name}").startswith("socket:"):
                found.add(int(name))
        except FileNotFoundError:  # the descriptor of the listing itself
            pass
    return found


@pytest.mark.parametrize("make", [os.pipe, lambda: [end.detach() for end in socket.socketpair()]],
                         ids=["pipe", "socket"])
def test_the_child_keeps_what_took_the_number_of_a_closed_socket(module, lambda_peer, make):
    lambda_peer("answer")
    before = sockets()
    client = module.RpcClient("lambda")
    (number,) = sockets() - before
    source, sink = make()
    os.dup2(sink, number)  # closes the module's socket and takes its number
    child = os.fork()
    if child == 0:
        try:
            os.write(number, b"x")
            os._exit(0)
        except OSError:
            os._exit(1)
    _, status = os.waitpid(child, 0)
    client.close()  # closes the number
    os.close(source)
    os.close(sink)
    assert os.WEXITSTATUS(status) == 0
