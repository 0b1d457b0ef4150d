"""Parent and child talked on one connection with one sequence of transaction ids, and took each
other's answers."""

import json
import os
import signal
import sys
import time

import pytest
from echo import run_echo

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no fork")


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_parent_and_children_get_their_own_answers(run_script, transport):
    output = run_echo(run_script, """
    client = connect()

    def calls_of(who):
        for count in range(50):
            number = who * 1000 + count
            if call(client, number) != number:
                return 1

    children = [spawn(lambda who=who: calls_of(who)) for who in range(1, 5)]
    print(calls_of(0), [wait_for(child) for child in children], calls_of(9))
    """, transport=transport)
    assert output == "None [0, 0, 0, 0] None\n"


def environment_of(peer):
    return {"KORVEXRPCPORT": str(peer.base_port), "ZOLMHOST": "127.0.0.1"}


def test_the_child_has_no_copy_of_the_connection(module, lambda_peer):
    """The server sees the parent close it, also while a child lives that never calls."""
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    child = os.fork()
    if child == 0:
        time.sleep(30)
        os._exit(0)
    try:
        client.close()
        assert peer.events(2) == ["open", "gone"]
    finally:
        os.kill(child, signal.SIGKILL)
        os.waitpid(child, 0)


CHILDREN = {
    "create": ("client.create()", ["open", "gone"]),
    "call": ("client.call('{\"l_version_1\":0}', Allow())", ["open", "call 19", "gone"]),
    "close": ("client.close()", []),
}


@pytest.mark.parametrize("action", CHILDREN)
def test_what_a_child_does_with_an_inherited_client_stays_its_own(run_script, lambda_peer, action):
    peer = lambda_peer("answer")
    statement, events = CHILDREN[action]
    done = run_script(f"""
    import os, sys, kvrpc
    class Allow:
        def verify_call(self, name):
            return True
    client = kvrpc.RpcClient("lambda")
    child = os.fork()
    if child == 0:
        {statement}
        os._exit(0)
    print(os.waitpid(child, 0)[1])
    print(client.call('{{"l_version_1":0}}', Allow()).decode())
    client.close()
    """, environment=environment_of(peer))
    assert (done.returncode, done.stderr) == (0, "")
    status, reply = done.stdout.splitlines()
    assert (status, json.loads(reply)["status"]) == ("0", 0)
    seen = sorted(peer.events(3 + len(events)))
    assert seen == sorted(["open", *events, "call 19", "gone"])


def test_a_child_that_closed_all_files_keeps_its_own(run_script):
    """A daemon closes every descriptor; the numbers of the inherited sockets are others' then."""
    output = run_echo(run_script, """
    clients = [connect() for _ in range(5)]

    def daemon():
        os.closerange(3, 100)
        files = [os.open("/dev/null", os.O_RDONLY) for _ in range(20)]
        for number, client in enumerate(clients):
            client.close() if number % 2 else call(client, 1)
        for each in files:
            os.fstat(each)

    print(wait_for(spawn(daemon)), [call(client, 5) for client in clients])
    """)
    assert output == "0 [5, 5, 5, 5, 5]\n"


def test_a_fork_in_the_vetting_gives_both_processes_their_answer(run_script):
    output = run_echo(run_script, """
    class Forking:
        child = None
        names = 0
        def verify_call(self, name):
            self.names += 1
            if self.child is None:
                self.child = os.fork()
            return True

    client = connect()
    verifier = Forking()
    number = call(client, 42, verifier)
    if verifier.child == 0:
        os._exit(0 if (number, verifier.names) == (42, 2) else 1)
    print(number, verifier.names, wait_for(verifier.child), call(client, 43))
    """)
    assert output == "42 1 0 43\n"
