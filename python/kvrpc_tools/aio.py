"""The clients for asyncio.

    async with AsyncAlpha("fax.example") as alpha:
        session = await alpha.a_login_1({"userid": "meier", "passwor": "geheim"})

They are the clients of `client`, with methods to await. The module keeps the interpreter lock
during a call, so each client has a worker process that makes its calls, one after the other. Calls
at the same time need several clients.

A cancelled call ends at once, and so does one whose `timeout` is over. Either ends the worker and
its connection, because a late reply could be taken for that of the next call; the next call starts
another. The server may have run the procedure all the same.

A client takes 30 ms to start and 4 MB, and a call takes 0.1 ms more than one in this process. The
event loop never waits for a server. A long list is converted on another thread, in pieces, so the
loop goes on meanwhile. Only an argument stops it for a moment, because it becomes text on the loop:
10 ms for a megabyte.
"""

from __future__ import annotations

import asyncio
import contextlib
from types import TracebackType
from typing import Any, AsyncIterator, ClassVar, Coroutine, List, Optional, Type, TypeVar

import kvrpc

from . import _exchange, tracing
from . import _worker_process as wire
from ._exchange import Exchange, Frame
from ._time_limit import TimeLimit
from ._worker import Worker, WorkerError
from .async_procedures import (
    AlphaProcedures,
    LambdaProcedures,
    NueProcedures,
    OmegaProcedures,
    SigmaProcedures,
    ThetaProcedures,
)
from .conversion import Conversion, conversion
from .transport import Allow, Verifier, connect_error

C = TypeVar("C", bound="AsyncClient")
T = TypeVar("T")

_PIECE = 1 << 18
_LONG = 1 << 16  # bytes of a reply whose conversion takes more than a millisecond


class AsyncTransport:
    """A connection to one server, in a worker process, for an event loop."""

    def __init__(self, server: str, host: Optional[str] = None) -> None:
        self._server = server
        self._host = host
        self._worker: Optional[Worker] = None
        self._ready = bytearray(wire.HEADER)  # the frame of a worker that has started
        self._is_connected = False
        self._lock: Optional[asyncio.Lock] = None
        self._loop: Optional[asyncio.AbstractEventLoop] = None

    async def connect(self) -> None:
        """Connects if there is no connection. Raises ConnectError if that fails."""
        async with self._turn():
            await self._connect()

    async def call(self, text: str, verifier: Verifier) -> bytes:
        """Carries a call text to the server. Returns the reply text."""
        asked = None if isinstance(verifier, Allow) else verifier
        async with self._turn():
            await self._connect()
            return await self._run(_exchange.call(text, asked))

    async def close(self) -> None:
        """Ends the worker. The next call starts another."""
        async with self._turn():
            self._discard()

    @contextlib.asynccontextmanager
    async def _turn(self) -> AsyncIterator[None]:
        """Waits for its turn, because a worker makes one call at a time."""
        loop = asyncio.get_running_loop()
        if self._lock is None or self._loop is not loop:
            self._discard()  # on Windows a socket belongs to the loop that used it first
            self._lock, self._loop = asyncio.Lock(), loop
        async with self._lock:
            yield

    async def _connect(self) -> None:
        if self._worker is None:
            await self._start()
        assert self._worker is not None
        if not any(self._ready):
            await self._wait_for_start(self._worker)
        now = _exchange.settings()
        if now != self._worker.settings:
            await self._run(_exchange.tell_settings(now))
            self._worker.settings = now
        if not self._is_connected:
            await self._run(_exchange.connect(self._server, self._host))
            self._is_connected = True

    async def _start(self) -> None:
        self._ready = bytearray(wire.HEADER)
        self._is_connected = False
        self._worker = await asyncio.get_running_loop().run_in_executor(None, Worker)
        self._worker.socket.setblocking(False)

    async def _wait_for_start(self, worker: Worker) -> None:
        """Waits until the worker has started. After a cancellation, the next call can wait for it.

        A receive that is cancelled may have taken the frame already. So the frame goes to a buffer
        that outlives the call.
        """
        try:
            length = await asyncio.get_running_loop().sock_recv_into(worker.socket, self._ready)
        except OSError:
            length = 0
        if not length:
            self._worker = None
            raise await _failure(worker)

    def _discard(self) -> None:
        """Ends the worker on another thread, because its last moments may take some."""
        worker, self._worker = self._worker, None
        if worker is not None:
            asyncio.get_running_loop().run_in_executor(None, worker.end)

    async def _run(self, exchange: Exchange) -> bytes:
        assert self._worker is not None
        try:
            last = await _drive(self._worker, exchange)
        except BaseException:
            self._discard()
            raise
        try:
            return _exchange.checked(last)
        except kvrpc.ClntCreateError as error:
            raise connect_error(self._server, self._host, error.message) from None


async def _drive(worker: Worker, exchange: Exchange) -> Frame:
    """Sends and receives until the exchange ends. Returns its last frame."""
    loop = asyncio.get_running_loop()
    try:
        kind, data = next(exchange)
        while True:
            try:
                await loop.sock_sendall(worker.socket, wire.header(kind, len(data)))
                await loop.sock_sendall(worker.socket, data)
            except OSError:
                raise await _failure(worker) from None
            kind, data = exchange.send(await _receive(worker))
    except StopIteration as stop:
        last: Frame = stop.value
        return last


async def _receive(worker: Worker) -> Frame:
    kind, length = wire.parsed_header(await _read(worker, wire.HEADER))
    return kind, await _read(worker, length)


async def _read(worker: Worker, length: int) -> bytes:
    loop = asyncio.get_running_loop()
    pieces: List[bytes] = []
    while length:
        try:
            piece = await loop.sock_recv(worker.socket, min(length, _PIECE))
        except OSError:
            piece = b""
        if not piece:
            raise await _failure(worker)
        pieces.append(piece)
        length -= len(piece)
    return b"".join(pieces)


async def _failure(worker: Worker) -> WorkerError:
    return await asyncio.get_running_loop().run_in_executor(None, worker.failure)


class AsyncClient:
    """A connection to one server, for asyncio. Use one of the classes below, one for each server.

    The arguments are those of `Client`. It connects when it is entered or makes its first call,
    which raises ConnectError if there is no connection. `timeout` seconds end the connecting and
    each call with TimeoutError.
    """

    server: ClassVar[str]

    def __init__(self, host: Optional[str] = None, *, verifier: Optional[Verifier] = None,
                 check: bool = True, timeout: Optional[float] = None) -> None:
        self.host = host
        self.timeout = timeout
        self._verifier: Verifier = verifier or Allow()
        self._check = check
        self._transport = AsyncTransport(self.server, host)

    async def call(self, name: str, argument: Any = None, *, raw: bool = False,
                   check: Optional[bool] = None, timeout: Optional[float] = None) -> Any:
        """Calls the procedure `name`, for names that come from elsewhere. Returns its result.

        The options are those of `Client.call`.
        """
        return await self._run(conversion(self.server, name), argument, raw, check, timeout)

    async def close(self) -> None:
        """Closes the connection and ends its process, after the calls that wait for their turn.

        The next call starts another.
        """
        await self._transport.close()

    async def _run(self, way: Conversion, argument: Any, raw: bool, check: Optional[bool],
                   timeout: Optional[float]) -> Any:
        text = way.call_text(argument, self._check if check is None else check)
        exchange = self._transport.call(text, self._verifier)
        limited = _within(exchange, self.timeout if timeout is None else timeout)
        if not tracing.is_on():
            reply = await limited
        else:
            with tracing.Watch(way.procedure, self.host, argument, text) as watch:
                reply = watch.reply = await limited
        if len(reply) < _LONG:
            return way.result(reply, raw)
        loop = asyncio.get_running_loop()
        return await loop.run_in_executor(None, way.result_in_pieces, reply, raw)

    async def __aenter__(self: C) -> C:
        await _within(self._transport.connect(), self.timeout)
        return self

    async def __aexit__(self, kind: Optional[Type[BaseException]],
                        error: Optional[BaseException], trace: Optional[TracebackType]) -> None:
        await self.close()

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self.host!r})"


async def _within(waiting: Coroutine[Any, Any, T], timeout: Optional[float]) -> T:
    """Awaits. Raises TimeoutError after `timeout` seconds."""
    if timeout is None:
        return await waiting
    try:
        limit = TimeLimit(timeout)
        return await asyncio.wait_for(waiting, max(timeout, 0))
    except asyncio.TimeoutError:
        raise limit.error() from None
    finally:
        waiting.close()  # wait_for does not begin what has no time


class AsyncAlpha(AlphaProcedures, AsyncClient):
    """A client of the server alpha: sessions, documents, jobs, address books."""

    server = "alpha"


class AsyncOmega(OmegaProcedures, AsyncClient):
    """A client of the server omega: the administration of users, lines, routes and printers."""

    server = "omega"


class AsyncLambda(LambdaProcedures, AsyncClient):
    """A client of the server lambda: the control of the processes of an installation."""

    server = "lambda"


class AsyncTheta(ThetaProcedures, AsyncClient):
    """A client of the server theta: transmission."""

    server = "theta"


class AsyncSigma(SigmaProcedures, AsyncClient):
    """A client of the server sigma: the transfer of pages."""

    server = "sigma"


class AsyncNue(NueProcedures, AsyncClient):
    """A client of the server nue: numbers of faxes."""

    server = "nue"
