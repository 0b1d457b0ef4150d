"""In a thread with a stack of less than 64 KiB, nested calls overflowed it. The quarter that was
kept free there was less than the last of them needed."""

import os

import pytest
from echo import run_echo

# AddressSanitizer's frames need a third more.
SIZES = [48] if os.environ.get("KVRPC_SANITIZED") else [32, 40, 48]


@pytest.mark.parametrize("size", SIZES)
def test_nested_calls_end_in_a_recursion_error(run_script, size):
    output = run_echo(run_script, f"""
    sys.setrecursionlimit(100_000)  # a system may give the thread more than it asks for
    depth = refused = 0
    replies = []

    class Nesting:
        def verify_call(self, name):
            global depth, refused
            depth += 1
            try:
                call(client, 8, self)
            except RecursionError:
                refused += 1
            return True

    client = connect()
    threading.stack_size({size} << 10)
    thread = threading.Thread(target=lambda: replies.append(call(client, 7, Nesting())))
    thread.start()
    thread.join()
    print(depth > 1, refused, replies)
    """)
    assert output == "True 1 [7]\n"
