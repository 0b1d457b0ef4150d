"""One method for each procedure, one class of them for each server, made from the schema.

The types of the methods are in procedures.pyi, which the build writes from the same schema.
"""

from __future__ import annotations

from typing import Any, Callable, Optional

from .conversion import Conversion, conversion
from .docstrings import procedure_text
from .schema import Procedure, own


def _without_argument(procedure: Procedure) -> Callable[..., Any]:
    way: Optional[Conversion] = None

    def method(self: Any, *, raw: bool = False, check: Optional[bool] = None,
               timeout: Optional[float] = None) -> Any:
        nonlocal way
        if way is None:
            way = conversion(procedure.server, procedure.name)
        return self._run(way, None, raw, check, timeout)
    return method


def _with_argument(procedure: Procedure) -> Callable[..., Any]:
    way: Optional[Conversion] = None

    def method(self: Any, argument: Any, *, raw: bool = False, check: Optional[bool] = None,
               timeout: Optional[float] = None) -> Any:
        nonlocal way
        if way is None:
            way = conversion(procedure.server, procedure.name)
        return self._run(way, argument, raw, check, timeout)
    return method


def _serves(server: str) -> Callable[[type], type]:
    """Returns a decorator that gives a class the methods of a server."""

    def decorate(cls: type) -> type:
        for procedure in own().servers[server].procedures.values():
            make = _without_argument if procedure.argument.kind == "nothing" else _with_argument
            method = make(procedure)
            # CPython 3.9 takes the name in a TypeError from the code, and every traceback does.
            method.__code__ = method.__code__.replace(co_name=procedure.name)
            method.__name__ = procedure.name
            method.__qualname__ = f"{cls.__name__}.{procedure.name}"
            method.__doc__ = procedure_text(own(), procedure)
            setattr(cls, procedure.name, method)
        return cls

    return decorate


@_serves("alpha")
class AlphaProcedures:
    """The procedures of alpha as methods."""


@_serves("omega")
class OmegaProcedures:
    """The procedures of omega as methods."""


@_serves("lambda")
class LambdaProcedures:
    """The procedures of lambda as methods."""


@_serves("theta")
class ThetaProcedures:
    """The procedures of theta as methods."""


@_serves("sigma")
class SigmaProcedures:
    """The procedures of sigma as methods."""


@_serves("nue")
class NueProcedures:
    """The procedures of nue as methods."""
