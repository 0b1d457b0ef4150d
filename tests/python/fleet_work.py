"""What the tests of fleet do on each host. A module of its own, because it must be picklable."""

import os
import signal
import threading
import time

from kvrpc_tools import Lambda


def status(host, patience=4):
    with Lambda(host, timeout=patience) as server:
        return server.l_get_status_1()


def double(number):
    return 2 * number


def nap(seconds):
    time.sleep(seconds)
    return seconds


def wait_for(file):
    end = time.monotonic() + 60
    while not file.exists():
        assert time.monotonic() < end
        time.sleep(0.01)


def die_at_3(number):
    if number == 3:
        os.kill(os.getpid(), signal.SIGKILL)
    return number


class Unfriendly(Exception):
    """It cannot be pickled."""

    def __init__(self):
        super().__init__("what it says")
        self.lock = threading.Lock()


def fail(number):
    if number == 1:
        raise KeyError("one")
    if number == 2:
        raise Unfriendly
    if number == 3:
        raise SystemExit(5)
    return (lambda: 0) if number == 4 else number
