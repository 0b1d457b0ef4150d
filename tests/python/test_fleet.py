"""Work on many hosts: everything arrives, whatever happens on some of them."""

import concurrent.futures
import functools
import multiprocessing
import os
import sys
import threading
import time

import pytest
from servers import Started

from kvrpc_tools import ConnectError, fleet
from tests.python import fleet_work

SLOW = 2.0
posix = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no such signal")


@pytest.fixture
def installations(monkeypatch):
    """Starts so many, two of them dead and one slow. Returns their hosts."""
    started = []

    def start(count):
        peer = Started(os.path.join("..", "python", "many_simulators.py"), str(count), str(SLOW))
        started.append(peer)
        monkeypatch.setenv("KORVEXRPCPORT", str(peer.port))
        return [f"127.0.1.{number}" for number in range(1, count + 1)]

    yield start
    for peer in started:
        peer.stop()


def assert_the_others_arrive_meanwhile(outcomes, hosts, patience):
    """The host that listens and never answers comes last, after its timeout."""
    found = list(outcomes)
    order = [outcome.host for outcome in found]
    assert sorted(order) == sorted(hosts)
    refused, silent, slow = hosts[:3]
    assert order[-1] == silent
    assert order.index(slow) >= 4
    by_host = {outcome.host: outcome for outcome in found}
    assert isinstance(by_host[refused].error, ConnectError)
    assert isinstance(by_host[silent].error, TimeoutError)
    assert patience <= by_host[silent].seconds < patience + 1
    assert by_host[slow].seconds >= SLOW
    assert {host for host, outcome in by_host.items() if outcome.error} == {refused, silent}
    assert all(by_host[host].value["state_fax"] == 1 for host in hosts[2:])


def test_all_but_the_dead_and_the_slow_arrive_meanwhile(installations):
    hosts = installations(8)
    outcomes = fleet.map(hosts, fleet_work.status, processes=4)
    assert_the_others_arrive_meanwhile(outcomes, hosts, 4)


@pytest.mark.slow
def test_fifty_installations(installations):
    hosts = installations(50)
    outcomes = fleet.map(hosts, fleet_work.status, processes=8)
    assert_the_others_arrive_meanwhile(outcomes, hosts, 4)


@pytest.mark.slow
def test_fifty_installations_by_way_of_dask(installations, tmp_path):
    distributed = pytest.importorskip("distributed")
    hosts = installations(50)
    with distributed.LocalCluster(n_workers=2, threads_per_worker=4, processes=True,
                                  dashboard_address=None, local_directory=str(tmp_path)) as cluster:
        with distributed.Client(cluster) as client:
            # Its threads are no main threads, so each host has a worker process for its timeout.
            work = functools.partial(fleet_work.status, patience=15)
            outcomes = fleet.map(hosts, work, client.get_executor(pure=False))
            assert_the_others_arrive_meanwhile(outcomes, hosts, 15)


@pytest.mark.parametrize("make", [concurrent.futures.ThreadPoolExecutor,
                                  concurrent.futures.ProcessPoolExecutor])
def test_any_executor_will_do_and_stays_open(make):
    with make(2) as executor:
        found = list(fleet.map(range(20), fleet_work.double, executor, ordered=True))
        assert [outcome.result() for outcome in found] == [2 * n for n in range(20)]
        assert executor.submit(fleet_work.double, 4).result() == 8


def test_outcomes_come_as_they_are_ready(tmp_path):
    """Each host is ready when the outcome of the one before it has come."""
    files = [tmp_path / str(number) for number in range(4)]
    first, second, third, _ = files
    first.touch()
    outcomes = fleet.map([third, first, second], fleet_work.wait_for,
                         progress=lambda done, number: files[done].touch())
    assert [outcome.host for outcome in outcomes] == [first, second, third]


def test_the_order_of_the_hosts_is_kept_on_request():
    naps = [0.8, 0.0, 0.4]
    outcomes = fleet.map(naps, fleet_work.nap, ordered=True)
    assert [outcome.value for outcome in outcomes] == naps


def test_progress_counts_each_outcome():
    told = []
    list(fleet.map([*"abc"], fleet_work.double, progress=lambda *each: told.append(each)))
    assert told == [(1, 3), (2, 3), (3, 3)]
    assert list(fleet.map([], fleet_work.double)) == []
    with pytest.raises(ValueError):
        fleet.map([*"abc"], fleet_work.double, processes=0)


def test_one_text_is_not_taken_for_its_letters():
    with pytest.raises(TypeError, match=r"such as \['fax1'\]"):
        fleet.map("fax1", fleet_work.double)


def test_failures_are_values():
    found = list(fleet.map(range(6), fleet_work.fail, ordered=True, processes=2))
    assert [outcome.value for outcome in found] == [0, None, None, None, None, 5]
    assert [type(outcome.error).__name__ for outcome in found] == [
        "NoneType", "KeyError", "PicklingError", "ProcessDied", "PicklingError", "NoneType"]
    assert "Unfriendly" in str(found[2].error)
    assert "exit code 5" in str(found[3].error)
    with pytest.raises(KeyError):
        found[1].result()


def test_a_host_that_cannot_be_sent_is_a_failure():
    found = list(fleet.map([1, threading.Lock(), 3], fleet_work.double, ordered=True))
    assert [outcome.value for outcome in found] == [2, None, 6]
    assert isinstance(found[1].error, TypeError)


@posix
@pytest.mark.parametrize("processes", [1, 2, 32])
def test_a_process_that_dies_loses_no_other_host(processes):
    found = list(fleet.map(range(12), fleet_work.die_at_3, ordered=True, processes=processes))
    assert [outcome.value for outcome in found] == [0, 1, 2, None, *range(4, 12)]
    assert isinstance(found[3].error, fleet.ProcessDied)
    assert "exit code -9" in str(found[3].error)


@posix
def test_a_process_that_dies_between_two_hosts_is_replaced():
    outcomes = fleet.map(range(4), fleet_work.double, processes=1)
    found = [next(outcomes).value]
    for child in multiprocessing.active_children():
        child.kill()
        child.join()
    found += [outcome.value for outcome in outcomes]
    assert found == [0, 2, 4, 6]


def test_what_is_given_up_leaves_no_process():
    before = multiprocessing.active_children()
    started = time.monotonic()
    for outcome in fleet.map([0, 30, 30], fleet_work.nap):
        assert outcome.value == 0
        break
    del outcome
    assert multiprocessing.active_children() == before
    assert time.monotonic() - started < 10
