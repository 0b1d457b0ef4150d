"""What the examples share: calls by name, and an exception for a call that brought no result.

The examples use the module alone. With the client library, as in docs/guide/scripts, a script needs
none of this.
"""

import json
import sys
from typing import Any, Callable, Dict, Iterator, Optional

import kvrpc


class CallFailed(Exception):
    """The reply's message, and its status: 3 when the server could not be reached."""

    def __init__(self, procedure: str, reply: Dict[str, Any]) -> None:
        super().__init__(f"{procedure}: {reply['message']} (status {reply['status']})")
        self.status: int = reply["status"]


class Server:
    """A connection to one server program, made at once and again when it was lost.

    It lasts until the end of its `with`; a client that is only dropped keeps its connection.
    """

    def __init__(self, name: str, host: Optional[str] = None) -> None:
        self._client = kvrpc.RpcClient(name, host)

    def __enter__(self) -> "Server":
        return self

    def __exit__(self, *_: object) -> None:
        self._client.close()

    def verify_call(self, procedure: str) -> bool:
        """Asked before each call; a script that takes calls from elsewhere says no here."""
        return True

    def call(self, procedure: str, argument: Any = None) -> Any:
        """The result of one call; CallFailed when there is none."""
        reply = json.loads(self._client.call(json.dumps({procedure: argument}), self))
        if reply["status"] != 0:
            raise CallFailed(procedure, reply)
        return reply["result"]


def chain(first: Optional[Dict[str, Any]]) -> Iterator[Dict[str, Any]]:
    """The nodes of a list, which the servers hand out as objects nested in "next"."""
    node = first
    while node is not None:
        yield node
        node = node["next"]


def run(main: Callable[[], None]) -> None:
    """Runs a script's main function; failures become one line and exit code 1."""
    try:
        main()
    except kvrpc.ClntCreateError as error:
        sys.exit(f"no connection: {error.message}")
    except CallFailed as error:
        sys.exit(f"failed: {error}")
