"""A timeout that is no number raised TypeError or ValueError from a client for asyncio, and the
interpreter then warned of a coroutine that was never awaited."""

import asyncio

import pytest

from kvrpc_tools.aio import AsyncLambda


def test_a_timeout_that_is_no_number(fault_peer, recwarn):
    fault_peer()

    async def main():
        client = AsyncLambda("127.0.0.1")
        for timeout in (float("nan"), "1"):
            with pytest.raises((TypeError, ValueError)):
                await client.l_get_status_1(timeout=timeout)
        await client.close()

    asyncio.run(main())
    assert [str(each.message) for each in recwarn] == []
