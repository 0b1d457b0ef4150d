"""The simulator as a test sees it: calls, prepared answers, faults, a clock, a state to load.

    def test_a_busy_line_is_tried_again(kvrpc_simulator):
        kvrpc_simulator.fault("drop:a_send_new_1:1")
        my_script.send("040 5550300")
        kvrpc_simulator.clock.advance(3600)
        kvrpc_simulator.assert_called("a_send_new_1", empfnr="040 5550300")

The fixture comes with the package, see pytest_plugin.py. Without pytest, use `start()`.

The simulator runs in another process, because the module holds the interpreter lock through a call.
It serves TCP and UDP on free ports of loopback.
"""

from __future__ import annotations

import contextlib
import json
import math
import secrets
import socket
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Optional, Union

from kvrpc_tools.check import did_you_mean
from kvrpc_tools.schema import own
from kvrpc_tools.simulator import faults
from kvrpc_tools.simulator.answers import in_turn, must_fit
from kvrpc_tools.simulator.control import packed
from kvrpc_tools.simulator.fixture import ELSEWHERE, VARIABLE, running
from kvrpc_tools.simulator.simulation import Call as Call

_NEAREST = 3  # calls that a failed assertion shows


class Clock:
    """The time of the simulated installation."""

    def __init__(self, ask: Callable[..., Any]) -> None:
        self._ask = ask

    def advance(self, seconds: float) -> None:
        """Lets time pass at once: a job that is due within it goes from queued to sent."""
        if not 0 <= seconds < math.inf:
            raise ValueError(f"the clock cannot advance by {seconds} seconds")
        self._ask("advance", seconds=seconds)

    def now(self) -> float:
        """Returns the installation's time, in seconds since 1970."""
        return float(self._ask("now"))


class Simulator:
    """A running simulator. `port` is its base port, for the variable KORVEXRPCPORT."""

    def __init__(self, port: int, control: int, token: str) -> None:
        self.port = port
        self._token = token
        self._connection = socket.create_connection(("127.0.0.1", control), timeout=30)
        self._replies = self._connection.makefile("r", encoding="utf-8")
        self.clock = Clock(self._ask)

    def environment(self) -> Dict[str, Optional[str]]:
        """Returns the variables that lead a client here; None for one that must not be set."""
        return {**dict.fromkeys(ELSEWHERE), VARIABLE: str(self.port)}

    def reset(self) -> None:
        """Makes the installation new: no calls, answers or faults, the real time."""
        self._ask("reset")

    def calls(self, procedure: Optional[str] = None) -> List[Call]:
        """Returns the calls so far, or those of one procedure, in the order of their arrival."""
        if procedure is not None:
            self._known(procedure)
        calls = [Call(**row) for row in self._ask("calls")]
        return [call for call in calls if procedure in (None, call.procedure)]

    def assert_called(self, procedure: str, *argument: Any, times: Optional[int] = None,
                      **members: Any) -> Call:
        """Asserts that a call of `procedure` had this argument, or an argument with these members.

        A member counts wherever it is in the argument. For example, `empfnr="040"` matches
        `{"selection": 0, "v0": {"s_record": {"empfnr": "040"}}}`. With `times`, exactly so many
        calls must match. Returns the last call that does. The message shows the nearest calls.
        """
        if times is not None and times < 1:
            raise ValueError(f"times={times}: assert_not_called asserts that there was no call")
        calls = self.calls(procedure)
        found = [call for call in calls if _matches(call.argument, argument, members)]
        if not found or times not in (None, len(found)):
            raise AssertionError(_not_called(procedure, argument, members, times, calls, found,
                                             self.calls()))
        return found[-1]

    def assert_not_called(self, procedure: str, *argument: Any, **members: Any) -> None:
        """Asserts that no call was one that `assert_called` would find."""
        found = [call for call in self.calls(procedure)
                 if _matches(call.argument, argument, members)]
        if found:
            raise AssertionError(f"{_asked(procedure, argument, members)} was called "
                                 f"{len(found)} times:{_listed(found)}")

    def answer(self, procedure: str, result: Any) -> None:
        """Prepares the result of a procedure, in the shape that the client library returns.

        A list holds one result for each call, and its last one answers all later calls. For a
        procedure that returns a list, such as l_ps_1, that is a list of lists. A function gets the
        argument and returns the result. It runs in the simulator's process, so what it changes
        there is not seen here. Raises ValueError for a result that does not fit; a function that
        returns one, or fails, fails the test at its end.
        """
        self._known(procedure)
        if callable(result):
            self._ask("make_answer", procedure=procedure, function=packed(result))
            return
        values = in_turn(procedure, result)
        for value in values:
            must_fit(procedure, value)
        self._ask("answer", procedure=procedure, values=values)

    def fault(self, text: str) -> None:
        """Lets later calls fail: KIND[=VALUE][:PROCEDURE[:COUNT]], for example "cut:l_ps_1:2".

        Raises ValueError for a kind or procedure that does not exist, with the nearest name.
        """
        faults.parse(text)
        self._ask("fault", text=text)

    def allow_only(self, *procedures: str) -> None:
        """Makes calls of any other procedure unexpected: they are refused, and the test fails."""
        for procedure in procedures:
            self._known(procedure)
        self._ask("allow_only", procedures=list(procedures))

    def assert_nothing_unexpected(self) -> None:
        """Asserts that each call was allowed, and that an answer to it could be made.

        The fixture does so at the end of a test.
        """
        calls = self.calls()
        unexpected = [call for call in calls if call.outcome == "unexpected"]
        if unexpected:
            raise AssertionError("unexpected calls:" + _listed(unexpected))
        failed = [call for call in calls if call.outcome.startswith("failed: ")]
        if failed:
            raise AssertionError("calls that could not be answered:" + "".join(
                f"\n  {_shown(call)}\n    {call.outcome}" for call in failed))

    def save(self, file: Union[str, Path]) -> None:
        """Writes the installation's state to a file, as JSON that a person can read and change."""
        Path(file).write_text(json.dumps(self._ask("save"), indent=1, ensure_ascii=False) + "\n",
                              encoding="utf-8")

    def load(self, file: Union[str, Path]) -> None:
        """Replaces the parts of the state that the file names. What it leaves out stays.

        Raises ValueError for a part that does not exist or cannot be what the file says.
        """
        try:
            self._ask("load", state=json.loads(Path(file).read_text(encoding="utf-8")))
        except ValueError as error:
            raise ValueError(f"{file}: {error}") from error

    def replay(self, file: Union[str, Path]) -> None:
        """Answers later calls from a recording of `kvrpc trace --record FILE`.

        The installation changes no more. Prepared answers and faults still count. Raises ValueError
        if the file is no recording, and OSError if there is none.
        """
        self._ask("replay", file=str(Path(file).resolve(strict=True)))

    def close(self) -> None:
        """Ends the simulator."""
        self._replies.close()
        self._connection.close()

    def _ask(self, do: str, **values: Any) -> Any:
        request = {"token": self._token, "do": do, **values}
        self._connection.sendall(json.dumps(request).encode() + b"\n")
        line = self._replies.readline()
        if not line:
            raise ConnectionError("the simulator has ended")
        reply = json.loads(line)
        if "error" in reply:
            raise ValueError(reply["error"])
        return reply["value"]

    @staticmethod
    def _known(procedure: str) -> None:
        if procedure not in own().procedures:
            raise ValueError(f"no procedure {procedure}{did_you_mean(procedure, own().procedures)}")


@contextlib.contextmanager
def start(*arguments: str) -> Iterator[Simulator]:
    """Starts a simulator in a process of its own, and ends it with the block.

    `arguments` are options of `python -m kvrpc_tools.simulator`.
    """
    token = secrets.token_hex(16)
    with running("--control", token, *arguments, log_calls=False) as process:
        simulator = Simulator(process.port, process.control, token)
        try:
            yield simulator
        finally:
            simulator.close()


def _matches(argument: Any, exactly: Any, members: Dict[str, Any]) -> bool:
    if exactly and argument != exactly[0]:
        return False
    found = _members(argument)
    return all(value in found.get(key, []) for key, value in members.items())


def _members(argument: Any) -> Dict[str, List[Any]]:
    """Returns all values of each key, however deep."""
    found: Dict[str, List[Any]] = {}
    waiting = [argument]
    while waiting:
        value = waiting.pop()
        if isinstance(value, dict):
            for key, each in value.items():
                found.setdefault(key, []).append(each)
                waiting.append(each)
        elif isinstance(value, list):
            waiting.extend(value)
    return found


def _not_called(procedure: str, argument: Any, members: Dict[str, Any], times: Optional[int],
                calls: List[Call], found: List[Call], everything: List[Call]) -> str:
    wanted = _asked(procedure, argument, members)
    if found:
        number = "once" if len(found) == 1 else f"{len(found)} times"
        return f"{wanted} was called {number}, not {times} times:{_listed(found)}"
    if not calls:
        return f"{wanted} was not called; these calls came:{_listed(everything) or ' none'}"
    nearest = sorted(calls, key=lambda call: len(_differences(call.argument, members)))[:_NEAREST]
    lines = [f"\n  {_shown(call)}\n    {'; '.join(_differences(call.argument, members))}".rstrip()
             for call in nearest]
    return f"{wanted} was not called; the nearest of {len(calls)} calls:{''.join(lines)}"


def _asked(procedure: str, argument: Any, members: Dict[str, Any]) -> str:
    parts = [*map(repr, argument), *(f"{k}={v!r}" for k, v in members.items())]
    return f"{procedure}({', '.join(parts)})"


def _differences(argument: Any, members: Dict[str, Any]) -> List[str]:
    found = _members(argument)
    return [f"{key} is {', '.join(map(repr, found[key]))}, not {value!r}" if key in found
            else f"no {key}{did_you_mean(key, found)}"
            for key, value in members.items() if value not in found.get(key, [])]


def _listed(calls: List[Call]) -> str:
    return "".join(f"\n  {_shown(call)}" for call in calls)


def _shown(call: Call) -> str:
    """Returns a call as a line. Members that are zero or empty are left out."""
    text = json.dumps(_without_zeroes(call.argument), ensure_ascii=False)
    return f"{call.procedure}({text if len(text) <= 200 else text[:196] + ' ...'})"


def _without_zeroes(value: Any) -> Any:
    if isinstance(value, dict):
        shown = {key: _without_zeroes(each) for key, each in value.items()}
        return {key: each for key, each in shown.items() if each}
    return [_without_zeroes(each) for each in value] if isinstance(value, list) else value
