"""Calls within calls overflowed the C stack where the interpreter's recursion limit does not bound
it: with a raised limit, in a thread with a small stack, and under AddressSanitizer on CPython 3.13,
where a call within a handler takes one level of that limit and took two on 3.9."""

import sys

import pytest
from echo import run_echo

MAIN_THREAD = pytest.param(False, marks=pytest.mark.skipif(
    sys.platform == "win32", reason="Windows has no limit to set for the main thread's stack"))
pytestmark = pytest.mark.parametrize("in_thread", [True, MAIN_THREAD])

# `run` runs a function that nests, in a thread with a stack of 1 MiB or in the main thread with 8,
# and prints how that ended.
HEAD = """
    sys.setrecursionlimit(100_000)
    depth = refused = 0

    def nest(step):
        global depth, refused
        depth += 1
        try:
            step()
        except RecursionError:
            refused += 1

    def run(step):
        if in_thread:
            threading.stack_size(1 << 20)
            thread = threading.Thread(target=step)
            thread.start()
            thread.join()
        else:
            import resource
            resource.setrlimit(resource.RLIMIT_STACK, (8 << 20, -1))
            step()
        print(depth > 50, refused, call(client, 7))

    client = connect()
"""


def test_vettings_that_call_end_in_a_recursion_error(run_script, in_thread):
    output = run_echo(run_script, f"""
    in_thread = {in_thread}
{HEAD}
    class Nesting:
        def verify_call(self, name):
            nest(lambda: client.call('{{"a_zeitstring_1":1}}', self))
            return False

    run(lambda: client.call('{{"a_zeitstring_1":1}}', Nesting()))
    """)
    assert output == "True 1 7\n"


def test_hosts_that_create_end_in_a_recursion_error(run_script, in_thread):
    output = run_echo(run_script, f"""
    in_thread = {in_thread}
{HEAD}
    class Closed(kvrpc.RpcClient):
        def create(self):
            pass

    class Host(str):
        def __eq__(self, other):
            nest(lambda: kvrpc.RpcClient.create(closed))
            raise ValueError

    closed = Closed("alpha", Host())
    def step():
        try:
            kvrpc.RpcClient.create(closed)
        except ValueError:
            pass
    run(step)
    """)
    assert output == "True 1 7\n"
