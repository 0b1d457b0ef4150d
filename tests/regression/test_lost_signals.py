"""A signal that came just before a connect or a send began to wait was lost: nothing happened until
the kernel gave up, after two minutes, or never.

Such a signal interrupts no system call of the thread that waits. The same is true of a signal that
another thread takes, and so it is in these scripts.
"""

import socket

import pytest

SCRIPT = """
    import signal, sys, threading, time
    import kvrpc

    class Alarm(Exception):
        pass

    def handler(number, frame):
        raise Alarm

    class Allow:
        def verify_call(self, name):
            return True

    threading.Thread(target=threading.Event().wait, daemon=True).start()
    signal.signal(signal.SIGALRM, handler)
    signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGALRM])

    def expect_alarm(seconds, action):
        signal.setitimer(signal.ITIMER_REAL, seconds)
        started = time.monotonic()
        try:
            action()
        except Alarm:
            print(time.monotonic() - started < seconds + 1)
"""


@pytest.fixture
def listener():
    with socket.create_server(("127.0.0.1", 0), backlog=0) as listener:
        yield listener


@pytest.fixture
def ends_at_the_alarm(run_script, listener):
    def check(steps):
        port = listener.getsockname()[1] - 3
        done = run_script(SCRIPT + steps, timeout=20,
                          environment={"KORVEXRPCPORT": str(port), "ZOLMHOST": "127.0.0.1"})
        assert (done.stdout, done.stderr) == ("True\n", "")

    return check


def test_a_connect_to_a_host_that_does_not_answer(listener, ends_at_the_alarm):
    fillers = [socket.socket() for _ in range(2)]
    for filler in fillers:
        filler.setblocking(False)
        filler.connect_ex(listener.getsockname())
    ends_at_the_alarm("""
    expect_alarm(0.3, lambda: kvrpc.RpcClient("lambda"))
    """)
    for filler in fillers:
        filler.close()


@pytest.mark.parametrize(("call", "seconds"), [
    pytest.param("""'{"l_version_1":0}'""", 0.3, id="wait for a reply"),
    pytest.param("""'{"l_statfile_1":{"filename":"%s"}}' % ("x" * 12_000_000)""", 2,
                 id="send that nobody reads"),  # first the argument is converted
])
def test_a_call_ends_at_the_alarm(ends_at_the_alarm, call, seconds):
    ends_at_the_alarm(f"""
    client = kvrpc.RpcClient("lambda")
    text = {call}
    expect_alarm({seconds}, lambda: client.call(text, Allow()))
    """)
