"""A time limit for what the main thread does, by the interval timer of POSIX and SIGALRM.

The module runs signal handlers while it waits, so a handler that raises ends a call. The timer and
the signal are there once in a process and may be in use by the script, so they are borrowed:

    state     SIGALRM's handler    the timer
    given     the script's         the script's
    taken     ours                 the earlier one of our end and the script's next alarm

An alarm of the script that comes due while the timer is taken is given to the script in the given
state, and at its time. So its handler may raise, set the timer anew or replace itself, as it may at
any other moment.
"""

from __future__ import annotations

import math
import signal
import sys
import threading
import time
from types import FrameType
from typing import Any, Callable, Optional, TypeVar

from ._time_limit import TimeLimit
from .transport import Verifier

T = TypeVar("T")

_SOON = 1e-6  # the timer's resolution; 0 would turn it off
_AGAIN = 1e-3
_IF_CAUGHT = 0.05  # code of the script may catch what ends it, and go on


class Over(BaseException):
    """Raised by the handler in the middle of what the main thread does."""


class Guarded:
    """A verifier that the time limit may end. The module would print the exception otherwise."""

    def __init__(self, verifier: Verifier) -> None:
        self._verifier = verifier

    def verify_call(self, name: str) -> bool:
        """Asks the verifier. Refuses if the time is over."""
        try:
            return self._verifier.verify_call(name)
        except Over:
            return False


if sys.platform == "win32":
    def is_usable() -> bool:
        """Returns False: Windows has no interval timer."""
        return False

    def run(limit: TimeLimit, operation: Callable[[], T]) -> T:
        """Runs an operation without a limit; there must be none."""
        assert limit.left() is None
        return operation()
else:
    def is_usable() -> bool:
        """Returns true if this thread can have a time limit by the timer.

        Only the main thread can. SIGALRM must not be blocked, and if it has a handler that is not
        Python's, that could not be restored.
        """
        return (threading.current_thread() is threading.main_thread()
                and signal.getsignal(signal.SIGALRM) is not None
                and signal.SIGALRM not in signal.pthread_sigmask(signal.SIG_BLOCK, ()))

    def run(limit: TimeLimit, operation: Callable[[], T]) -> T:
        """Runs an operation within the limit. Raises TimeoutError if it takes longer.

        This costs 20 us if there is a limit.
        """
        left = limit.left()
        if left is None:
            return operation()
        alarm = _Alarm(time.monotonic() + left)
        try:
            try:
                alarm.take()
                result = operation()
            finally:
                alarm.is_armed = False  # the handler raises nothing any more
        except Over as over:
            if over.args[0] is not alarm:
                raise  # that of an operation around this one
            raise limit.error() from None
        finally:
            alarm.give_back()
        if alarm.has_raised:  # something caught it, for example a verifier
            raise limit.error()
        return result

    class _Alarm:
        """The timer and the signal, for one operation."""

        def __init__(self, end: float) -> None:
            self._end = end
            self.is_armed = True
            self.has_raised = False
            self._handler: Any = None  # the script's
            self._due = math.inf  # the script's next alarm
            self._interval = 0.0
            self._has_handler = self._has_timer = False
            self._is_changing = False  # between the two states
            self._is_owed = False  # an alarm that came then, and was not the timer's

        def take(self) -> None:
            """Goes to the taken state."""
            self._is_changing = True
            self._due = math.inf
            self._handler = signal.getsignal(signal.SIGALRM)
            self._has_handler = True
            signal.signal(signal.SIGALRM, self._on_alarm)
            limit = max(self._end - time.monotonic(), _SOON)
            left, self._interval = signal.setitimer(signal.ITIMER_REAL, limit)
            self._has_timer = True
            if left or self._interval:  # 0 and an interval: Linux has the signal on its way
                self._due = time.monotonic() + left  # read afterwards, or it could be too early
            if self._due < self._end:
                signal.setitimer(signal.ITIMER_REAL, max(left, _SOON))
            self._is_changing = False
            if self._is_owed or time.monotonic() >= min(self._end, self._due):
                self._is_owed = False
                self._on_alarm(signal.SIGALRM, None)

        def give_back(self) -> None:
            """Goes to the given state."""
            self._is_changing = True
            if self._has_timer:  # first, because our end must not meet the script's handler
                signal.setitimer(signal.ITIMER_REAL, 0)
            if self._has_handler:
                signal.signal(signal.SIGALRM, self._handler)
                self._has_handler = False
            if self._has_timer and self._due < math.inf:
                left = max(self._due - time.monotonic(), _SOON)
                signal.setitimer(signal.ITIMER_REAL, left, self._interval)
            self._has_timer = False
            if self._is_owed:
                self._is_owed = False
                signal.raise_signal(signal.SIGALRM)

        def _on_alarm(self, number: int, frame: Optional[FrameType]) -> None:
            now = time.monotonic()
            if self._is_changing:
                # An end or an alarm that is due will be noticed when the change is complete.
                self._is_owed = self._is_owed or now < min(self._end, self._due)
            elif now < self._end:
                if now >= self._due:
                    self._due = self._due + self._interval if self._interval else math.inf
                self._pass_on(number, frame)
            elif frame is not None and frame.f_code is Guarded.verify_call.__code__:
                signal.setitimer(signal.ITIMER_REAL, _AGAIN)  # the exception might leave it
            elif self.is_armed:
                self.has_raised = True
                signal.setitimer(signal.ITIMER_REAL, _IF_CAUGHT)
                raise Over(self)

        def _pass_on(self, number: int, frame: Optional[FrameType]) -> None:
            """Lets the script have its alarm, with its own handler and timer in place."""
            self.give_back()
            if callable(self._handler):
                self._handler(number, frame)
            elif self._handler == signal.SIG_DFL:
                signal.raise_signal(signal.SIGALRM)  # ends the process
            self.take()
