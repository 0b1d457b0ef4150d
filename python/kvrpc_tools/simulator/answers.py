"""Results that a test prepares, in the shape that the client library returns.

They are checked against the schema: a value when it is prepared, that of a function when it comes.
"""

from __future__ import annotations

import collections
from typing import Any, Callable, Dict, List

from kvrpc_tools.check import Compiler
from kvrpc_tools.recording import as_json
from kvrpc_tools.schema import WireType, own

Maker = Callable[[Any], Any]


class Answers(Dict[str, Maker]):
    """Prepared results: what makes the result of a procedure from the argument, by its name."""

    def prepare(self, procedure: str, values: List[Any]) -> None:
        """Prepares results. Each one answers one call, the last one all later calls."""
        left = collections.deque(values)
        self[procedure] = lambda argument: left.popleft() if len(left) > 1 else left[0]

    def make(self, procedure: str, maker: Maker) -> None:
        """Prepares a function that makes the result of each call."""
        def made(argument: Any) -> Any:
            value = as_json(maker(argument))
            must_fit(procedure, value)
            return value
        self[procedure] = made


def in_turn(procedure: str, result: Any) -> List[Any]:
    """Returns the values in a prepared result, one for each call."""
    if not isinstance(result, list):
        return [result]
    is_array = own().procedures[procedure].result.kind == "array"
    if is_array and not (result and all(isinstance(each, list) for each in result)):
        return [result]
    if not result:
        raise ValueError("an empty list answers no call")
    return result


def must_fit(procedure: str, value: Any) -> None:
    """Raises ValueError if a procedure cannot return this."""
    wire, plain = own().procedures[procedure].result, _without_empty_lists(value)
    if wire.kind == "nothing" and value is not None:
        raise ValueError(f"{procedure} cannot return this: it returns nothing")
    compiler = Compiler(own())
    if wire.kind == "array":  # as no argument is
        check = compiler.check(WireType("record", record=wire.record))
        problems = [problem for item in plain for problem in check(item)]
    else:
        problems = list(compiler.check(wire)(plain))
    if problems:
        raise ValueError(f"{procedure} cannot return this: "
                         + "; ".join(f"{'.'.join(problem.path) or 'result'}: {problem.reason}"
                                     for problem in problems))


def _without_empty_lists(value: Any) -> Any:
    """A chain without nodes is null in the text of a call, an empty list in a result."""
    if isinstance(value, dict):
        return {key: None if each == [] else _without_empty_lists(each)
                for key, each in value.items()}
    return [_without_empty_lists(each) for each in value] if isinstance(value, list) else value
