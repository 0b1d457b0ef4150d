"""What several regression tests share: a server that echoes, and the head of their scripts."""

import contextlib

from servers import Started

# The names that every script of `run_echo` starts with. `connect` returns a client that is closed
# at the end, `call` the number that came back, `spawn` the id of a child that runs a function, and
# `wait_for` a child's exit code. It says where in the kernel a child that hangs waits, and aborts
# it, so that faulthandler says where in the script. No thread watches the script, because a child
# that is forked while a thread starts may wait for ever for a lock of AddressSanitizer's allocator.
HEAD = """
    import atexit, faulthandler, os, signal, sys, threading, time
    import kvrpc
    faulthandler.enable()
    if hasattr(signal, "alarm"):
        faulthandler.register(signal.SIGALRM, chain=True)
        signal.alarm(60)

    class Allow:
        def verify_call(self, name):
            return True

    def connect():
        client = kvrpc.RpcClient("alpha")
        atexit.register(client.close)
        return client

    def call(client, number, verifier=Allow()):
        reply = client.call('{"a_zeitstring_1":%d}' % number, verifier)
        head = b'{"status":0,"message":"ok","result":"'
        return int(reply[len(head):-2]) if reply.startswith(head) else reply

    def where_it_waits(process):
        said = []
        for name in ("wchan", "syscall", "stack"):
            try:
                with open("/proc/%d/%s" % (process, name)) as file:
                    said.append(file.read().strip())
            except OSError as error:
                said.append(str(error))
        return "; ".join(said)

    def wait_for(child, seconds=20):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            done, status = os.waitpid(child, os.WNOHANG)
            if done:
                return -os.WTERMSIG(status) if os.WIFSIGNALED(status) else os.WEXITSTATUS(status)
            time.sleep(0.005)
        where = where_it_waits(child)
        os.kill(child, signal.SIGABRT)
        os.waitpid(child, 0)
        return "hangs in " + where

    def spawn(function):
        child = os.fork()
        if child == 0:
            code = 99
            try:
                code = function() or 0
            finally:
                os._exit(code)
        return child
"""


@contextlib.contextmanager
def echo_server():
    """Runs an echo server. After the block it must have seen nothing but calls."""
    server = Started("echo_server.py")
    try:
        yield server
        assert server.lines() == []
    finally:
        server.stop()


# From 3.12 on the interpreter warns of a fork beside threads, which is what some tests are about.
FORK_WARNING = "ignore:This process:DeprecationWarning"


def run_echo(run_script, script, *, transport="tcp", environment=(), **options):
    """Runs the script against an echo server. Returns its output; anything on stderr fails."""
    with echo_server() as server:
        done = run_script(
            HEAD + script, "-W", FORK_WARNING,
            environment={"KORVEXRPCPORT": str(server.port), "ALPHAHOST": "127.0.0.1",
                         "RPCTRANSPORT": transport, **dict(environment)},
            **options)
    assert (done.returncode, done.stderr) == (0, ""), (done.returncode, done.stderr, done.stdout)
    return done.stdout
