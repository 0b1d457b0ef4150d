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
from typing import Any, ClassVar, Optional, Type, TypeVar

from .conversion import Conversion, conversion
from .procedures import (
    AlphaProcedures,
    LambdaProcedures,
    NueProcedures,
    OmegaProcedures,
    SigmaProcedures,
    ThetaProcedures,
)
from .transport import Allow, ModuleTransport, Transport, Verifier

C = TypeVar("C", bound="Client")


class Client:
    """A connection to one server. Use one of the classes below, one for each server.

    `host` is a host name or an IPv4 address; without one the environment decides. `verifier` is
    asked before each call. `check=False` turns the checks of arguments off. `transport` replaces
    the connection of the module. Raises ConnectError if there is no connection.
    """

    server: ClassVar[str]

    def __init__(self, host: Optional[str] = None, *, verifier: Optional[Verifier] = None,
                 check: bool = True, transport: Optional[Transport] = None) -> None:
        self.host = host
        self._verifier: Verifier = verifier or Allow()
        self._check = check
        self._transport: Transport = transport or ModuleTransport(self.server, host)

    def call(self, name: str, argument: Any = None, *, raw: bool = False) -> Any:
        """Calls the procedure `name`, for names that come from elsewhere. Returns its result.

        With `raw`, lists come as the nested nodes of the wire.
        """
        return self._run(conversion(self.server, name), argument, raw)

    def close(self) -> None:
        """Closes the connection. The next call connects again."""
        self._transport.close()

    def _run(self, way: Conversion, argument: Any, raw: bool) -> Any:
        """Runs one call: everything that a call does passes here.

        The two seams: `_exchange` carries the text, so deadlines belong there; before and after it
        is where a call can be observed.
        """
        text = way.call_text(argument, self._check)
        reply = self._exchange(way, text)
        return way.result(reply, raw)

    def _exchange(self, way: Conversion, text: str) -> bytes:
        return self._transport.call(text, self._verifier)

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
