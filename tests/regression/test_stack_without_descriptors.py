"""The bounds of the main thread's stack are read from a file. A first call without a descriptor for
it left them unknown for good, and nested calls overflowed the stack."""

import sys

import pytest
from echo import run_echo

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="no limit of descriptors there")


def test_nested_calls_end_in_a_recursion_error(run_script):
    output = run_echo(run_script, """
    import resource

    def limit_descriptors(number):
        resource.setrlimit(resource.RLIMIT_NOFILE, (number, most))

    class Nesting:
        def verify_call(self, name):
            global refused
            try:
                client.call('{"a_zeitstring_1":1}', self)
            except RecursionError:
                refused += 1
            return False

    usual, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    limit_descriptors(3)
    try:
        kvrpc.RpcClient("alpha")
    except kvrpc.ClntCreateError:
        print("no connection")
    limit_descriptors(usual)

    sys.setrecursionlimit(100_000)
    refused = 0
    client = connect()
    client.call('{"a_zeitstring_1":1}', Nesting())
    print(refused, call(client, 7))
    """)
    assert output == "no connection\n1 7\n"
