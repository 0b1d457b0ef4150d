"""A plugin of pytest, found by its entry point: the fixture `kvrpc_simulator`.

One simulator runs for the whole session, or for each worker of pytest-xdist. Each test finds it
new, and the environment of the test leads every client of this process, and of the processes that
the test starts, to it.
"""

from __future__ import annotations

from typing import Iterator

import pytest

from kvrpc_tools.testing import Simulator, start


@pytest.fixture(scope="session")
def kvrpc_simulator_process() -> Iterator[Simulator]:
    """The simulator of the session. Tests use `kvrpc_simulator`."""
    with start() as simulator:
        yield simulator


@pytest.fixture
def kvrpc_simulator(kvrpc_simulator_process: Simulator,
                    monkeypatch: pytest.MonkeyPatch) -> Iterator[Simulator]:
    """A simulator as new, to which the environment leads. See kvrpc_tools.testing.Simulator."""
    simulator = kvrpc_simulator_process
    simulator.reset()
    for name, value in simulator.environment().items():
        if value is None:
            monkeypatch.delenv(name, raising=False)
        else:
            monkeypatch.setenv(name, value)
    yield simulator
    simulator.assert_nothing_unexpected()
