"""Each row of the table of faults, reached through the module; the page that shows the table."""

import contextlib
import json
import subprocess
import sys
import textwrap

import port_111
import pytest
from settings import clean_environment

from kvrpc_tools.simulator import faults
from kvrpc_tools.testing import start
from tests.python.fault_table import CALLS, LONG, PAGE, ROWS, STATES, needs_portmapper, page

CASES = [(row, transport) for row in ROWS for transport in row.transports]


def server_of(call):
    return "lambda" if call == STATES else "alpha"


def named(cases):
    return [pytest.param(*case, id=f"{case[0].fault}-{case[1]}-{case[0].call[-5:]}")
            for case in cases]


@pytest.fixture(scope="module")
def simulator():
    with start() as started:
        yield started


@pytest.fixture
def set_environment(monkeypatch):
    """Leads clients to a simulator."""
    def lead(simulator, transport, portmapper=False):
        for name, value in simulator.environment().items():
            if value is not None and not portmapper:
                monkeypatch.setenv(name, value)
        monkeypatch.setenv("RPCTRANSPORT", transport)
    return lead


def seen(reply):
    return reply["status"], reply.get("rpc_err")


@pytest.mark.parametrize(("row", "transport"), named(
    case for case in CASES if not case[0].waits and not needs_portmapper(case[0])))
def test_a_call_meets_the_fault(simulator, set_environment, module, allow, row, transport):
    simulator.reset()
    set_environment(simulator, transport)
    call = CALLS[row.call]
    with contextlib.closing(module.RpcClient(server_of(call))) as client:
        good = json.loads(client.call(call, allow)) if row.call != LONG else None
        simulator.fault(row.fault)
        assert seen(json.loads(client.call(call, allow))) == (row.status, row.rpc_err)
        kind = faults.parse(row.fault).kind
        assert {record.outcome for record in simulator.calls()[1 if good else 0:]} == {kind}
        simulator.reset()
        if good:
            assert json.loads(client.call(call, allow)) == good


@pytest.fixture(scope="module")
def with_portmapper():
    with port_111.taken(), start("--portmapper") as started:
        yield started


@pytest.mark.parametrize(("row", "transport"), named(
    case for case in CASES if not case[0].waits and needs_portmapper(case[0])))
def test_a_creation_meets_the_fault(with_portmapper, set_environment, module, row, transport):
    with_portmapper.reset()
    set_environment(with_portmapper, transport, portmapper=True)
    with_portmapper.fault(row.fault)
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient("lambda", "127.0.0.1")
    assert caught.value.message == row.message + "\n"
    with_portmapper.reset()
    module.RpcClient("lambda", "127.0.0.1").close()


WAITING = """
    import json, os, sys
    import kvrpc
    from kvrpc_tools.testing import start

    class Allow:
        def verify_call(self, name):
            return True

    fault, transport, call, *portmapper = sys.argv[1:]
    with start(*portmapper) as simulator:
        environment = simulator.environment()
        if not portmapper:
            os.environ.update({name: value for name, value in environment.items() if value})
        os.environ["RPCTRANSPORT"] = transport
        simulator.fault(fault)
        client = kvrpc.RpcClient("lambda", "127.0.0.1")
        print(client.call(call, Allow()).decode("ascii"))
        client.close()
"""


@pytest.mark.slow
@pytest.mark.once
def test_calls_meet_the_faults_that_time_out():
    """All at once: each of them waits for 50 seconds."""
    waiting = [case for case in CASES if case[0].waits]
    with contextlib.ExitStack() as stack:
        stack.enter_context(port_111.taken())
        processes = [stack.enter_context(subprocess.Popen(
            [sys.executable, "-c", textwrap.dedent(WAITING), row.fault, transport, STATES,
             *(["--portmapper"] if needs_portmapper(row) else [])],
            env=clean_environment(), stdout=subprocess.PIPE, encoding="utf-8"))
            for row, transport in waiting]
        replies = [json.loads(process.communicate(timeout=300)[0]) for process in processes]
    assert [seen(reply) for reply in replies] == [(row.status, row.rpc_err) for row, _ in waiting]


def test_each_kind_of_fault_has_a_row():
    assert {faults.parse(row.fault).kind for row in ROWS} == set(faults.KINDS)


def test_the_page_has_the_table():
    assert PAGE.read_text(encoding="utf-8") == page(), "run: python tests/python/fault_table.py"
