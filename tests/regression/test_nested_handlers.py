"""Signal handlers that call, interrupted by signals whose handlers call, overflowed the C stack at
450 levels, where Python alone raises RecursionError."""

import os
import sys

import pytest
from echo import HEAD, echo_server, run_echo

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no SIGALRM")


def test_nested_handlers_end_in_a_recursion_error(run_script):
    """Each call waits for its answer until a handler calls again. The handler calls the module's
    method itself, because each function between the two would take a level and need no stack.
    There are 487 levels on CPython 3.9, which need 3.7 MiB now and needed 7.6 MiB then.
    """
    plain = sys.version_info < (3, 12) and not os.environ.get("KVRPC_SANITIZED")
    with echo_server() as server:
        done = run_script(HEAD + f"""
    import resource
    if {plain}:
        resource.setrlimit(resource.RLIMIT_STACK, (6 << 20, 6 << 20))
""" + """
    class Done(Exception):
        pass

    def handler(number, frame):
        global depth
        depth += 1
        signal.setitimer(signal.ITIMER_REAL, 0.002)
        try:
            client.call('{"a_zeitstring_1":-60000}', allow)
        except RecursionError:
            pass
        signal.setitimer(signal.ITIMER_REAL, 0)
        raise Done

    depth = 0
    allow = Allow()
    client = connect()
    signal.signal(signal.SIGALRM, handler)
    try:
        handler(0, None)
    except (Done, RecursionError):
        print(depth > 200)
    print(call(client, 7))
    """, environment={"KORVEXRPCPORT": str(server.port)})
    assert (done.returncode, done.stdout) == (0, "True\n7\n")


def test_a_small_stack_carries_ten_nested_calls(run_script):
    output = run_echo(run_script, """
    client = connect()

    class Nesting:
        depth = 0
        def verify_call(self, name):
            self.depth += 1
            number = self.depth
            return number == 10 or call(client, number, self) == number

    numbers = []
    threading.stack_size(256 * 1024)
    thread = threading.Thread(target=lambda: numbers.append(call(client, 77, Nesting())))
    thread.start()
    thread.join()
    print(numbers)
    """)
    assert output == "[77]\n"
