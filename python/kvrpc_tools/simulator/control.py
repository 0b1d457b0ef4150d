"""Steers a simulator from another process, over a connection of its own on loopback.

A request is one line of JSON, {"token": T, "do": NAME, ...}; so is its answer, {"value": ...} or
{"error": TEXT}. The token, which only the process that started the simulator knows, is needed
because an answer can be code. When the connection ends, so does the simulator.
"""

from __future__ import annotations

import base64
import hmac
import json
import marshal
import pickle
import socket
import types
from typing import Any, Callable, Dict

from kvrpc_tools.simulator import faults
from kvrpc_tools.simulator.polling import READ
from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.transport import LOOPBACK, Loop

Request = Dict[str, Any]


class Control:
    """Listens for the one connection that steers the simulator."""

    def __init__(self, loop: Loop, simulation: Simulation, token: str) -> None:
        self._loop = loop
        self._simulation = simulation
        self._token = token
        self._input = b""
        self._listener = socket.create_server((LOOPBACK, 0))
        self.port: int = self._listener.getsockname()[1]
        loop.watch(self._listener, READ, self._accept)
        self._actions: Dict[str, Callable[[Request], Any]] = {
            "reset": lambda _: simulation.reset(),
            "calls": lambda _: [call._asdict() for call in simulation.calls()],
            "answer": self._answer,
            "make_answer": self._make_answer,
            "fault": self._fault,
            "advance": self._advance,
            "now": lambda _: simulation.clock(),
            "allow_only": self._allow_only,
            "replay": lambda request: simulation.answer_from(request["file"]),
            "save": lambda _: simulation.installation.save(),
            "load": lambda request: simulation.installation.load(request["state"]),
        }

    def _accept(self, _: int) -> None:
        connection, _address = self._listener.accept()
        self._loop.watch(connection, READ, lambda events: self._read(connection))

    def _read(self, connection: socket.socket) -> None:
        try:
            data = connection.recv(1 << 20)
        except OSError:
            data = b""
        if not data:
            self._loop.forget(connection)
            self._loop.stop()
            return
        *lines, self._input = (self._input + data).split(b"\n")
        for line in lines:
            connection.sendall(json.dumps(self._reply(json.loads(line)), default=_text).encode()
                               + b"\n")

    def _reply(self, request: Request) -> Dict[str, Any]:
        if not hmac.compare_digest(str(request.get("token")), self._token):
            return {"error": "wrong token"}
        try:
            return {"value": self._actions[request["do"]](request)}
        except Exception as error:
            return {"error": str(error)}

    def _answer(self, request: Request) -> None:
        self._simulation.answers.prepare(request["procedure"], request["values"])

    def _make_answer(self, request: Request) -> None:
        self._simulation.answers.make(request["procedure"], unpacked(request["function"]))

    def _fault(self, request: Request) -> None:
        self._simulation.add_fault(faults.parse(request["text"]))

    def _advance(self, request: Request) -> None:
        self._simulation.clock.ahead += request["seconds"]

    def _allow_only(self, request: Request) -> None:
        self._simulation.allow_only(request["procedures"])


def _text(value: Any) -> str:
    """Bytes in JSON are Base64, as in call texts."""
    return base64.b64encode(value).decode()


def packed(function: Callable[..., Any]) -> str:
    """Returns a function as text: its code, and the values of the names that it uses.

    Raises TypeError if one of these values cannot be sent to another process.
    """
    code = function.__code__
    modules, values = {}, {}
    for name in _names(code):
        if name in function.__globals__:
            value = function.__globals__[name]
            if isinstance(value, types.ModuleType):
                modules[name] = value.__name__
            else:
                values[name] = value
    cells = [cell.cell_contents for cell in function.__closure__ or ()]
    try:
        parts = pickle.dumps((function.__name__, function.__defaults__, cells, modules, values))
    except (pickle.PicklingError, AttributeError, TypeError) as error:
        raise TypeError(f"{function.__name__} runs in the simulator's process, and a value that it "
                        f"uses cannot be sent there: {error}") from error
    return base64.b64encode(pickle.dumps((marshal.dumps(code), parts))).decode()


def unpacked(text: str) -> Callable[..., Any]:
    """Returns the function that `packed` made to text."""
    code, parts = pickle.loads(base64.b64decode(text))
    name, defaults, cells, modules, values = pickle.loads(parts)
    names: Dict[str, Any] = {"__builtins__": __builtins__, **values}
    for alias, module in modules.items():
        names[alias] = __import__(module, fromlist=["*"])
    closure = tuple(types.CellType(value) for value in cells)
    return types.FunctionType(marshal.loads(code), names, name, defaults, closure)


def _names(code: types.CodeType) -> set[str]:
    """Returns the global names that a function's code uses, also in its inner functions."""
    inner = [constant for constant in code.co_consts if isinstance(constant, types.CodeType)]
    return set(code.co_names).union(*map(_names, inner))
