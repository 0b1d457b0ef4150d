"""Greenlets that shared a client and switched in verify_call ended in another order than the last
in, first out, and the client's list of calls led into a stack that had moved."""

import os
import sys

import pytest
from echo import run_echo

pytestmark = [
    pytest.mark.skipif(sys.platform == "win32", reason="greenlet is not in the Windows root"),
    pytest.mark.skipif("KVRPC_SANITIZED" in os.environ,
                       reason="the sanitizers cannot follow stacks that are copied"),
]

GREENLETS = """
    import greenlet
    main = greenlet.getcurrent()
    client = connect()
    numbers = []

    class Switching:
        def verify_call(self, name):
            main.switch()
            return True

    def begin(number):
        each = greenlet.greenlet(lambda: numbers.append(call(client, number, Switching())))
        each.switch()
        return each

    # Moves the stacks of those that wait out of the way.
    def deep(depth, function):
        return deep(depth - 1, function) if depth else function()
"""


@pytest.mark.parametrize("order", [(0, 1, 2), (1, 0, 2), (2, 0, 1), (0, 2, 1)])
def test_greenlets_end_their_vettings_in_any_order(run_script, order):
    output = run_echo(run_script, GREENLETS + f"""
    waiting = [deep(10 * number, lambda: begin(number)) for number in range(3)]
    for number in {order}:
        waiting[number].switch()
    print(numbers, call(client, 9))
    """)
    assert output == f"{list(order)} 9\n"


def test_a_client_is_closed_while_greenlets_vet(run_script):
    output = run_echo(run_script, GREENLETS + """
    waiting = [deep(10 * number, lambda: begin(number)) for number in range(3)]
    client.close()
    client.create()
    for each in waiting:
        while not each.dead:  # closed while vetting: the second attempt vets again
            each.switch()
    print(numbers, call(client, 9))
    """)
    assert output == "[0, 1, 2] 9\n"


def test_a_greenlet_that_is_never_resumed_harms_nobody(run_script):
    output = run_echo(run_script, GREENLETS + """
    waiting = deep(10, lambda: begin(1))
    print(call(client, 9))
    client.close()
    print(call(client, 10), flush=True)
    os._exit(0)
    """)
    assert output == "9\n10\n"
