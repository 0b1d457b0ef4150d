"""The module refuses a call whose verdict does not fit an int. A call by a worker process, as one
with a timeout in another thread than the main one, was allowed."""

import concurrent.futures

import pytest

from kvrpc_tools import Lambda, Refused
from tests.python.waits import GOOD


class Verdict:
    def __init__(self, number):
        self.number = number

    def verify_call(self, name):
        return self.number


# The module reports what the vetting raises as unraisable, and pytest makes that a warning.
@pytest.mark.filterwarnings("ignore::pytest.PytestUnraisableExceptionWarning")
@pytest.mark.parametrize("number", [1 << 31, -(1 << 31) - 1, 1 << 64])
def test_they_refuse_in_every_thread(fault_peer, capfd, number):
    peer = fault_peer()
    with Lambda("127.0.0.1", verifier=Verdict(number)) as client:
        with pytest.raises(Refused):
            client.l_get_status_1()
        with concurrent.futures.ThreadPoolExecutor(1) as pool, pytest.raises(Refused):
            pool.submit(client.l_get_status_1, timeout=20).result()
    assert peer.calls() == []
    assert "OverflowError: value too large to convert to int" in capfd.readouterr().err


@pytest.mark.parametrize("number", [(1 << 31) - 1, -(1 << 31)])
def test_the_largest_allow(fault_peer, number):
    fault_peer()
    with Lambda("127.0.0.1", verifier=Verdict(number)) as client:
        assert client.l_get_status_1() == GOOD
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            assert pool.submit(client.l_get_status_1, timeout=20).result() == GOOD
