"""The same work on many hosts at once.

    def ready(host):
        with Lambda(host, timeout=5) as server:
            return server.l_get_status_1()

    for outcome in fleet.map(hosts, ready):
        print(outcome.host, outcome.value if outcome.error is None else outcome.error)

The module keeps the interpreter lock during a call, so each host has a process meanwhile. If a host
does not answer, its process waits for up to 50 seconds, or for the timeout of its client; all
others go on. Nothing is repeated: work whose process died is a failure, because the server may have
run it.

Processes start when there is work for them and end with the map. By default there are 32 at most;
one starts in 7 ms when it is forked, in 0.3 s when it is spawned. The work of one host costs 0.1 ms
more in a process. A script for Windows, or for Python 3.14 and later, must call `map` below
`if __name__ == "__main__":`, because multiprocessing imports the script again.
"""

from __future__ import annotations

import concurrent.futures
import contextlib
import multiprocessing
import pickle
import signal
import time
import traceback
from collections import deque
from dataclasses import dataclass
from multiprocessing import connection
from typing import (
    Any,
    Callable,
    Deque,
    Dict,
    Generic,
    Iterable,
    Iterator,
    List,
    Optional,
    Tuple,
    TypeVar,
)

from .errors import KvrpcError

H = TypeVar("H")
T = TypeVar("T")

PROCESSES = 32

Progress = Callable[[int, int], None]


class ProcessDied(KvrpcError):
    """The process that worked on a host has ended. The server may have run a call."""


@dataclass(frozen=True)
class Outcome(Generic[H, T]):
    """What became of the work on one host: a value, or the exception that it raised.

    `seconds` is the time of the work itself, None if its process died.
    """

    host: H
    value: Optional[T]
    error: Optional[BaseException]
    seconds: Optional[float]

    def result(self) -> T:
        """Returns the value, or raises the exception."""
        if self.error is not None:
            raise self.error
        return self.value  # type: ignore[return-value]


# Value, exception, seconds.
_Answer = Tuple[Any, Optional[BaseException], Optional[float]]


def map(hosts: Iterable[H], function: Callable[[H], T],
        executor: Optional[concurrent.futures.Executor] = None, *, ordered: bool = False,
        progress: Optional[Progress] = None, processes: int = PROCESSES
        ) -> Iterator[Outcome[H, T]]:
    """Runs `function` for each host at the same time. Yields an Outcome for each, as it comes.

    A failure is an Outcome too and ends nothing else. With `ordered` the outcomes come in the order
    of the hosts. `progress` is called with the number of outcomes so far and of all.

    `function` and its results must be picklable. It runs in `processes` processes at most, or in an
    executor: any of concurrent.futures, or that of a Dask client, `client.get_executor()`, which
    uses the processors of many machines. An executor is left open.

    Raises TypeError if `hosts` is one text.
    """
    if isinstance(hosts, str):
        raise TypeError(f"hosts must be several, such as [{hosts!r}]")
    work = list(hosts)
    if processes < 1:
        raise ValueError("there must be a process at least")
    answers = (_by_processes(work, function, processes) if executor is None
               else _by_executor(work, function, executor))
    outcomes = (Outcome(work[place], *answer) for place, answer in
                _counted(_sorted(answers) if ordered else answers, len(work), progress))
    return outcomes


def _counted(answers: Iterator[Tuple[int, _Answer]], number: int, progress: Optional[Progress]
             ) -> Iterator[Tuple[int, _Answer]]:
    for done, answer in enumerate(answers, 1):
        if progress is not None:
            progress(done, number)
        yield answer


def _sorted(answers: Iterator[Tuple[int, _Answer]]) -> Iterator[Tuple[int, _Answer]]:
    """Yields the answers by place, each as soon as all before it are there."""
    waiting: Dict[int, _Answer] = {}
    following = 0
    for place, answer in answers:
        waiting[place] = answer
        while following in waiting:
            yield following, waiting.pop(following)
            following += 1


def _answer(function: Callable[[H], T], host: H) -> _Answer:
    """Runs the work on one host."""
    start = time.perf_counter()
    try:
        value, error = function(host), None
    except Exception as raised:
        value, error = None, raised
    return value, error, time.perf_counter() - start


# ---- an executor of the caller


def _by_executor(work: List[H], function: Callable[[H], T],
                 executor: concurrent.futures.Executor) -> Iterator[Tuple[int, _Answer]]:
    places = {executor.submit(_answer, function, host): place for place, host in enumerate(work)}
    try:
        for future in concurrent.futures.as_completed(places):
            try:
                answer = future.result()
            except Exception as error:  # that of the executor, for example a broken pool
                answer = None, error, None
            yield places[future], answer
    finally:
        for future in places:
            future.cancel()


# ---- processes of our own


class _Process:
    """A process that works on one host at a time, so that its death is that of one."""

    def __init__(self, function: Callable[[Any], Any]) -> None:
        self.pipe, theirs = multiprocessing.Pipe()
        self._process = multiprocessing.Process(
            target=_work, args=(theirs, self.pipe, function), daemon=True)
        self._process.start()
        theirs.close()
        self.place = -1

    def give(self, place: int, host: bytes) -> None:
        """Hands over the work. Raises OSError if the process has died since its last work."""
        self.place = place
        self.pipe.send_bytes(host)

    def take(self) -> _Answer:
        """Returns the answer, or a failure if the process has died."""
        try:
            answer: _Answer = self.pipe.recv()
            return answer
        except (EOFError, OSError):
            self._process.join(1)
            error = ProcessDied(f"the process died (exit code {self._process.exitcode})")
            return None, error, None
        except Exception as error:  # what it sent cannot be made here
            return None, error, None

    def end(self) -> None:
        self._process.kill()
        self._process.join()
        self._process.close()
        self.pipe.close()


def _work(pipe: "connection.Connection", parents: "connection.Connection",
          function: Callable[[Any], Any]) -> None:
    """Works in a process until its parent closes the pipe."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)  # Ctrl-C is for the parent, which ends this
    parents.close()  # a forked process has it too, and would not see the parent close it
    while True:
        try:
            host = pipe.recv()
        except (EOFError, OSError):
            return
        pipe.send_bytes(_picklable(_answer(function, host)))


def _picklable(answer: _Answer) -> bytes:
    """Returns the answer pickled. What cannot be pickled becomes an exception that says so."""
    try:
        data = pickle.dumps(answer)
        pickle.loads(data)
        return data
    except Exception:
        value, error, seconds = answer
        told = repr(value) if error is None else "".join(
            traceback.format_exception(type(error), error, error.__traceback__))
        return pickle.dumps((None, pickle.PicklingError(f"cannot cross to here: {told}"), seconds))


def _by_processes(work: List[H], function: Callable[[H], T], limit: int
                  ) -> Iterator[Tuple[int, _Answer]]:
    """Keeps as many processes busy as there is work for, up to the limit."""
    places: Deque[int] = deque(range(len(work)))
    busy: Dict[Any, _Process] = {}
    idle: List[_Process] = []
    try:
        while places or busy:
            while places and len(busy) < limit:
                place = places.popleft()
                try:
                    data = pickle.dumps(work[place])
                except Exception as error:
                    yield place, (None, error, None)
                    continue
                process = _given(idle, function, place, data)
                busy[process.pipe] = process
            # A wait for nothing never ends.
            for pipe in connection.wait(list(busy)) if busy else ():
                process = busy.pop(pipe)
                answer = process.take()
                if isinstance(answer[1], ProcessDied):
                    process.end()
                else:
                    idle.append(process)
                yield process.place, answer
    finally:
        for process in [*idle, *busy.values()]:
            process.end()


def _given(idle: List[_Process], function: Callable[[Any], Any], place: int, data: bytes
           ) -> _Process:
    """Returns a process that has got the work: an idle one that still lives, or a new one."""
    while idle:
        process = idle.pop()
        try:
            process.give(place, data)
        except OSError:
            process.end()
        else:
            return process
    process = _Process(function)
    with contextlib.suppress(OSError):  # it has died already, as its answer will say
        process.give(place, data)
    return process
