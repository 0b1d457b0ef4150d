"""Waits for what comes soon."""

import time


def wait_until(condition, what="it does not come", seconds=10):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, what
        time.sleep(0.005)
