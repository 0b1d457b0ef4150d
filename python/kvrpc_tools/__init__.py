"""Tools beside the module kvrpc: the client library, in dicts and exceptions.

    from kvrpc_tools import Alpha

Clients, exceptions and the names that go with them can be imported from here. Each is loaded when
it is first used, so that importing this package costs next to nothing. `fleet`, `testing`,
`arguments` and `results` are modules of their own.
"""

from __future__ import annotations

import importlib
from typing import TYPE_CHECKING, Any, List

if TYPE_CHECKING:
    from ._worker import WorkerError as WorkerError
    from .aio import AsyncAlpha as AsyncAlpha
    from .aio import AsyncClient as AsyncClient
    from .aio import AsyncLambda as AsyncLambda
    from .aio import AsyncNue as AsyncNue
    from .aio import AsyncOmega as AsyncOmega
    from .aio import AsyncSigma as AsyncSigma
    from .aio import AsyncTheta as AsyncTheta
    from .blocks import BlockError as BlockError
    from .client import Alpha as Alpha
    from .client import Client as Client
    from .client import Lambda as Lambda
    from .client import Nue as Nue
    from .client import Omega as Omega
    from .client import Sigma as Sigma
    from .client import Theta as Theta
    from .errors import ArgumentError as ArgumentError
    from .errors import CallError as CallError
    from .errors import ConnectError as ConnectError
    from .errors import KvrpcError as KvrpcError
    from .errors import Problem as Problem
    from .errors import Refused as Refused
    from .errors import ResultError as ResultError
    from .errors import RpcError as RpcError
    from .errors import UnknownProcedure as UnknownProcedure
    from .fleet import Outcome as Outcome
    from .fleet import ProcessDied as ProcessDied
    from .tracing import CallEvent as CallEvent
    from .tracing import on_call as on_call
    from .transport import Transport as Transport
    from .transport import Verifier as Verifier

_PUBLIC = {
    "_worker": "WorkerError",
    "aio": "AsyncAlpha AsyncClient AsyncLambda AsyncNue AsyncOmega AsyncSigma AsyncTheta",
    "blocks": "BlockError",
    "client": "Alpha Client Lambda Nue Omega Sigma Theta",
    "errors": "ArgumentError CallError ConnectError KvrpcError Problem Refused ResultError "
              "RpcError UnknownProcedure",
    "fleet": "Outcome ProcessDied",
    "tracing": "CallEvent on_call",
    "transport": "Transport Verifier",
}
_MODULES = {name: module for module, names in _PUBLIC.items() for name in names.split()}

__all__ = sorted(_MODULES)


def __getattr__(name: str) -> Any:
    if name not in _MODULES:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    value = getattr(importlib.import_module(f".{_MODULES[name]}", __name__), name)
    globals()[name] = value
    return value


def __dir__() -> List[str]:
    return sorted({*globals(), *_MODULES})
