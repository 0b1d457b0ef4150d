"""A timeout raises in the code of the script that happens to run. If that caught the exception, as
a verifier with a bare `except` or a `__del__` does, the call went on without a time limit."""

import sys
import time

import pytest

from kvrpc_tools import Lambda
from tests.python.waits import GOOD

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="a worker ends the call there")


class Swallowing:
    """A verifier whose first vetting takes too long, and ignores every exception."""

    def __init__(self):
        self.is_first = True

    def verify_call(self, name):
        if self.is_first:
            self.is_first = False
            try:
                time.sleep(20)
            except:  # noqa: E722
                pass
        return True


def test_the_call_ends_all_the_same(fault_peer):
    peer = fault_peer()
    peer.script(otherwise=[])
    with Lambda("127.0.0.1", verifier=Swallowing()) as client:
        started = time.monotonic()
        with pytest.raises(TimeoutError, match=r"0\.2 s"):
            client.l_get_status_1(timeout=0.2)
        assert time.monotonic() - started < 10
        peer.script()
        assert client.l_get_status_1(timeout=20) == GOOD
