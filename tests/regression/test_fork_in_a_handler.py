"""A child that was forked by a signal handler, in the middle of a call, returned into that call:
it took its parent's answer, and its next call waited for ever for a lock that a thread of its
parent held."""

import sys

import pytest
from echo import run_echo

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no fork")

FORKING = """
    client = connect()
    children = []

    def forking(number, frame):
        if not children:
            children.append(os.fork())
            if children[0] == 0:
                in_the_child()

    def on_alarm(seconds):
        signal.signal(signal.SIGALRM, forking)
        signal.setitimer(signal.ITIMER_REAL, seconds)

    def in_the_child():
        pass
"""
BOTH_CALL = """
    on_alarm(0.1)
    numbers = call(client, -500), call(client, 7)
    if children[0] == 0:
        os._exit(0 if numbers == (-500, 7) else 1)
    print(numbers, wait_for(children[0]))
"""


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_both_get_the_answer_of_the_interrupted_call_and_of_the_next(run_script, transport):
    output = run_echo(run_script, FORKING + BOTH_CALL, transport=transport)
    assert output == "(-500, 7) 0\n"


@pytest.mark.parametrize("action", ["call(client, 8)", "client.close()", "client.create()"])
def test_the_child_uses_the_client_before_it_returns(run_script, action):
    """The interrupted call still has the handle in its hands then."""
    output = run_echo(run_script, FORKING + f"""
    def in_the_child():
        {action}
    """ + BOTH_CALL)
    assert output == "(-500, 7) 0\n"


def test_a_thread_forks_while_a_handler_of_the_waiting_call_runs(run_script):
    """The handle's lock belongs to a thread that the child does not have."""
    output = run_echo(run_script, FORKING + """
    def child():
        return 0 if call(client, 7) == 7 and call(client, 8) == 8 else 1

    def forking(number, frame):
        if not children:
            thread = threading.Thread(target=lambda: children.append(spawn(child)))
            thread.start()
            thread.join()

    on_alarm(0.1)
    print(call(client, -500), wait_for(children[0]))
    """)
    assert output == "-500 0\n"


def test_a_fork_while_a_connection_is_made(run_script):
    """No portmapper answers, so both processes fail, and for that reason."""
    done = run_script("""
    import os, signal, sys, time, kvrpc
    children = []

    def forking(number, frame):
        if not children:
            children.append(os.fork())

    signal.signal(signal.SIGALRM, forking)
    signal.setitimer(signal.ITIMER_REAL, 0.2)
    started = time.monotonic()
    try:
        kvrpc.RpcClient("alpha", "127.0.0.1")
    except kvrpc.ClntCreateError as error:
        text = error.message
    if children and children[0] == 0:
        print(text, flush=True)
        os._exit(0)
    if children:
        os.waitpid(children[0], 0)
    print(text)
    """, environment={"KORVEXRPCPORT": "", "RPCTRANSPORT": "udp"})
    assert done.stderr == ""
    texts = done.stdout.split()
    assert "10004" not in texts and texts[:len(texts) // 2] == texts[len(texts) // 2:], texts
