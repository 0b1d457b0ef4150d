"""The time that is left of a timeout."""

from __future__ import annotations

import math
import time
from typing import Optional

_LONGEST = 30 * 86400.0  # what every wait of the platforms takes


class TimeLimit:
    """Counts down from `seconds`; None means no limit. For example:

        limit = TimeLimit(0.3)
        sock.settimeout(limit.left())
    """

    def __init__(self, seconds: Optional[float]) -> None:
        if seconds is not None and math.isnan(seconds):
            raise ValueError("the timeout is not a number")
        self.seconds = seconds
        self._end = None if seconds is None else time.monotonic() + min(seconds, _LONGEST)

    def left(self) -> Optional[float]:
        """Returns the seconds that are left, more than 0, or None if there is no limit.

        Raises TimeoutError if none are left.
        """
        if self._end is None:
            return None
        left = self._end - time.monotonic()
        if left <= 0:
            raise self.error()
        return left

    def error(self) -> TimeoutError:
        """Returns the error to raise when the time is over."""
        return TimeoutError(f"no answer within {self.seconds:g} s")
