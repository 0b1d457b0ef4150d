"""The clients for asyncio had two ways to become useless while their worker process started: a call
that was cancelled just as the worker said that it was ready, which every later call then waited
for, and a worker that died, which every later call found dead."""

import asyncio
import os
import select
import signal
import sys

import pytest

from kvrpc_tools._worker import WorkerError
from kvrpc_tools.aio import AsyncLambda
from tests.python.waits import GOOD

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="select and kill as on POSIX")


async def starting(client):
    """Begins a call. Returns its task and the worker, which is still starting."""
    task = asyncio.ensure_future(client.l_get_status_1())
    while client._transport._worker is None:
        await asyncio.sleep(0)
    return task, client._transport._worker


def test_a_call_that_is_cancelled_as_the_worker_gets_ready(fault_peer):
    fault_peer()

    async def main():
        loop = asyncio.get_running_loop()
        client = AsyncLambda("127.0.0.1")
        task, worker = await starting(client)
        for _ in range(3):  # the call waits for the worker now
            await asyncio.sleep(0)
        select.select([worker.socket], [], [], 20)
        # The next turn of the loop receives the frame, and the callback runs right after that.
        loop.call_soon(loop.call_soon, task.cancel)
        with pytest.raises(asyncio.CancelledError):
            await task
        assert await client.l_get_status_1(timeout=20) == GOOD
        await client.close()

    asyncio.run(main())


def test_a_worker_that_dies_as_it_starts(fault_peer):
    fault_peer()

    async def main():
        client = AsyncLambda("127.0.0.1")
        task, worker = await starting(client)
        os.kill(worker.pid, signal.SIGKILL)
        with pytest.raises(WorkerError):
            await task
        assert await client.l_get_status_1(timeout=20) == GOOD
        await client.close()

    asyncio.run(main())
