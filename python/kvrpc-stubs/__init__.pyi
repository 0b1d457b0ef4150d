"""The script interface of kvrpc: JSON calls to the server programs of a fax server."""

from typing import Any, NoReturn, Optional, Protocol, SupportsInt

class _Encodable(Protocol):
    """A `str`, or what encodes like one."""

    def encode(self, encoding: str, /) -> bytes: ...

class _Verifier(Protocol):
    """Vets calls. The name is that of the procedure; 0 or False refuses the call.

    A verdict counts by its `__int__`, so that 0.5 refuses. One without it, and an exception, refuse
    the call as well: they are printed to standard error and do not reach the caller of `call`. That
    includes KeyboardInterrupt; SystemExit ends the process.
    """

    def verify_call(self, name: str, /) -> SupportsInt: ...

class RpcClient:
    """A connection to one server program.

    `which` is "alpha", "lambda", "nue", "omega", "sigma" or "theta". `host` is a host name or an
    IPv4 address; without one the environment decides (ALPHAHOST, OMEGAHOST, LOCALHOST, ZOLMHOST).
    Raises ClntCreateError when there is no connection.

    Dropping a client leaves its connection open: call `close`. A client cannot be pickled.

    A client may be shared by threads, and closed or called again in `verify_call` and in signal
    handlers. After a fork it is not connected in the child: the next `create` or `call` there
    connects anew, and the parent's connection is left alone.
    """

    def __new__(cls, which: _Encodable, host: Optional[_Encodable] = None) -> RpcClient: ...
    def create(self) -> None:
        """Connect, unless connected. Raises ClntCreateError."""

    def close(self) -> None:
        """Destroy the connection, if there is one. The next `create` or `call` connects again."""

    def call(self, str: _Encodable, obj: _Verifier) -> bytes:
        """Run one call and return its reply, both JSON texts in UTF-8.

        `str` is `{"procedure":argument}`; only the first member counts. The reply is an object:

            status   0 success, 1 the argument does not fit, 2 the result does not convert,
                     3 the RPC failed, 4 no such procedure, 5 no call in the text,
                     6 the text does not parse, 9 `obj.verify_call` refused
            rpc_err  with status 3 only: {"re_status": ...} and what belongs to that status
            message  the status in words
            result   with status 0 only: the result of the procedure, null for one without

        A call waits up to 25 seconds for each piece of the reply, and no other thread runs
        meanwhile. Signal handlers do; one that raises ends the call with its exception.

        When the RPC fails, the client connects anew and tries once more, vetting included, so that
        a request may arrive twice.

        Raises ClntCreateError when it cannot reconnect, MemoryError when memory is out or `which`
        has no procedures here ("gamma"), and RecursionError when calls are nested so deep that
        little stack is left.
        """

    def __reduce__(self) -> NoReturn:
        """Raises TypeError."""

    def __setstate__(self, state: Any, /) -> NoReturn:
        """Raises TypeError."""

class ClntCreateError(Exception):
    """There is no connection. The reason is in `message` alone; `args` and `str()` are empty."""

    message: str
    def __init__(self) -> None: ...

class ClntRpcError(Exception):
    """Never raised: a failed RPC is status 3 of the reply."""

    message: Any
    def _ClntRpcError__init__self(self, message: Any) -> None: ...

__test__: dict[str, Any]
