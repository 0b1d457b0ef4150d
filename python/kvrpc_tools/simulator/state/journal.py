"""The log of `lambda`: records written by any program and read back by number, 0 the oldest."""

from __future__ import annotations

import time
from typing import Any, Callable, Dict, List

from kvrpc_tools.simulator.state.keeping import Kept

MOST_RECORDS = 10_000

INFORMATION, WARNING, FAILURE = 1, 2, 3
SYSTEM = 1


class Journal:
    """Log records as `log_arg` has them."""

    KEPT: Kept = {"_records": None}

    def __init__(self, now: Callable[[], float]) -> None:
        self._now = now
        self._records: List[Dict[str, Any]] = []
        self._text: List[str] = []  # what `lines` returned last; empty if a record came since

    def handlers(self) -> Dict[str, Callable[[Any], Any]]:
        """Returns what carries out each procedure of the family, by its name."""
        return {
            "l_log_1": self.add,
            "l_get_nr_recs_1": lambda _: len(self._records),
            "l_get_rec_1": self._record,
        }

    def add(self, record: Dict[str, Any]) -> None:
        """Keeps a record. If there are too many, the oldest ones go."""
        self._records.append(record)
        self._text = []
        del self._records[:-MOST_RECORDS]

    def note(self, origin: str, text: str, severity: int = INFORMATION) -> None:
        """Keeps a record of the installation's own."""
        self.add({"origin_id": origin, "origin_class": SYSTEM, "time_stamp": int(self._now()),
                  "message_class": SYSTEM, "severity": severity, "data": text})

    def look_again(self) -> None:
        """Forgets the text of the records, because others were loaded."""
        self._text = []

    def lines(self) -> str:
        """Returns the whole log as text, one line a record."""
        if not self._text:
            self._text = ["".join(
                f"{_stamp(record['time_stamp'])} {record['origin_id']}: {record['data']}\n"
                for record in self._records)]
        return self._text[0]

    def _record(self, number: int) -> Any:
        return self._records[number] if 0 <= number < len(self._records) else None


def _stamp(seconds: int) -> str:
    return time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(max(0, seconds)))
