"""The clients of the six servers: dicts in, dicts out, exceptions by status.

    with Alpha("fax.example") as alpha:
        session = alpha.a_login_1({"userid": "meier", "passwor": "geheim"})

A client has one method for each procedure of its server, made from the schema. A method takes the
argument of its procedure, or none, and returns the result. Lists are Python lists. The library
itself never repeats a call, but the module does, once: when a call fails it connects anew and sends
the request again, so a request may arrive twice.
"""

from __future__ import annotations

from types import TracebackType
from typing import TYPE_CHECKING, Any, Callable, ClassVar, Dict, Iterator, Optional, Type, TypeVar

from . import tracing
from .blocks import Blocks
from .check import did_you_mean
from .conversion import Conversion, conversion
from .deadline import TimedTransport
from .procedures import (
    AlphaProcedures,
    LambdaProcedures,
    NueProcedures,
    OmegaProcedures,
    SigmaProcedures,
    ThetaProcedures,
)
from .schema import own
from .transport import Allow, Transport, Verifier

C = TypeVar("C", bound="Client")


class Client:
    """A connection to one server. Use one of the classes below, one for each server.

    `host` is a host name or an IPv4 address; without one the environment decides. `verifier` is
    asked before each call. `check=False` turns the checks of arguments off. `transport` replaces
    the connection of the module. Raises ConnectError if there is no connection.

    `timeout` seconds end the connecting and each call with TimeoutError; a call's own `timeout` is
    used instead if it has one. `deadline` says what that costs.
    """

    server: ClassVar[str]

    def __init__(self, host: Optional[str] = None, *, verifier: Optional[Verifier] = None,
                 check: bool = True, timeout: Optional[float] = None,
                 transport: Optional[Transport] = None) -> None:
        if not (host is None or isinstance(host, str)):
            raise TypeError(f"host must be a str or None, not {type(host).__name__}")
        self.host = host
        self.timeout = timeout
        self._verifier: Verifier = verifier or Allow()
        self._check = check
        self._transport: Transport = transport or TimedTransport(self.server, host, timeout)

    def call(self, name: str, argument: Any = None, *, raw: bool = False,
             check: Optional[bool] = None, timeout: Optional[float] = None) -> Any:
        """Calls the procedure `name`, for names that come from elsewhere. Returns its result.

        With `raw`, lists come as the nested nodes of the wire. `timeout` seconds end the call with
        TimeoutError. `check` and `timeout` replace those of the client.
        """
        return self._run(conversion(self.server, name), argument, raw, check, timeout)

    def blocks(self, name: str, argument: Dict[str, Any], *, step: Optional[int] = None,
               progress: Optional[Callable[[int], object]] = None, check: Optional[bool] = None,
               timeout: Optional[float] = None) -> Iterator[Any]:
        """Yields what the procedure `name` gives in blocks: list entries, or pieces of a text.

        Starts at the argument's `pos`. A block has `step` entries or bytes, or else what the `anz`
        or `lng` of the argument says, or else 50 entries or 4,000 bytes. `progress` is called after
        each block with the number of entries or bytes so far. Raises ValueError if the procedure
        does not read in blocks, and BlockError if its first block fails.
        """
        way = conversion(self.server, name)
        return Blocks(own(), way.procedure).read(
            lambda asked: self._run(way, asked, False, check, timeout), argument, step, progress)

    def entries(self, name: str, argument: Any = None, *, check: Optional[bool] = None,
                timeout: Optional[float] = None) -> Iterator[Any]:
        """Makes one call and yields the entries of the list that is its result.

        Parses piece after piece, so a list of a million entries takes the memory of its text. A
        result that is no list, or has several lists, is the only entry.
        """
        way = conversion(self.server, name)
        text = way.call_text(argument, self._check if check is None else check)
        with tracing.Watch(way.procedure, self.host, argument, text) as watch:
            watch.reply = self._exchange(text, self.timeout if timeout is None else timeout)
        return way.entries(watch.reply)

    def close(self) -> None:
        """Closes the connection. The next call connects again."""
        self._transport.close()

    def _run(self, way: Conversion, argument: Any, raw: bool, check: Optional[bool],
             timeout: Optional[float]) -> Any:
        """Runs one call. Calls of every kind come through here."""
        text = way.call_text(argument, self._check if check is None else check)
        if timeout is None:
            timeout = self.timeout
        if not tracing.is_on():
            return way.result(self._exchange(text, timeout), raw)
        with tracing.Watch(way.procedure, self.host, argument, text) as watch:
            watch.reply = self._exchange(text, timeout)
        return way.result(watch.reply, raw)

    def _exchange(self, text: str, timeout: Optional[float]) -> bytes:
        if timeout is None:
            return self._transport.call(text, self._verifier)
        return self._transport.call(text, self._verifier, timeout)

    if not TYPE_CHECKING:  # so that a type checker still reports unknown methods
        def __getattr__(self, name: str) -> Any:
            names = (name for name in dir(type(self)) if not name.startswith("_"))
            raise AttributeError(
                f"{type(self).__name__} has no method {name!r}{did_you_mean(name, names)}")

    def __enter__(self: C) -> C:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self.host!r})"


class Alpha(AlphaProcedures, Client):
    """A client of the server alpha: sessions, documents, jobs, address books."""

    server = "alpha"


class Omega(OmegaProcedures, Client):
    """A client of the server omega: the administration of users, lines, routes and printers."""

    server = "omega"


class Lambda(LambdaProcedures, Client):
    """A client of the server lambda: the control of the processes of an installation."""

    server = "lambda"


class Theta(ThetaProcedures, Client):
    """A client of the server theta: transmission."""

    server = "theta"


class Sigma(SigmaProcedures, Client):
    """A client of the server sigma: the transfer of pages."""

    server = "sigma"


class Nue(NueProcedures, Client):
    """A client of the server nue: numbers of faxes."""

    server = "nue"
