"""The rest of `alpha`: time, boards, notifications, the log, and plain commands."""

from __future__ import annotations

import calendar
import itertools
import time
from datetime import datetime, timedelta
from operator import itemgetter
from typing import Callable, Dict, Tuple

from kvrpc_tools.simulator.state.journal import Journal
from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.people import People
from kvrpc_tools.simulator.state.shape import Row
from kvrpc_tools.simulator.state.table import Handler

TIME_FORMAT = "%d.%m.%Y %H:%M:%S"
EPOCH = datetime(1970, 1, 1)

_Address = Tuple[int, int, int]  # the session, IP address and port of a notification


class Services:
    """Times are in seconds since 1970 and in the servers' zone, which is that of Greenwich."""

    KEPT: Kept = dict.fromkeys(("_boards", "_changes", "_subscriptions"))

    def __init__(self, journal: Journal, people: People, now: Callable[[], float]) -> None:
        self._journal = journal
        self._people = people
        self._now = now
        self._boards: Dict[int, Dict[str, Row]] = {}
        self._changes = 0
        self._subscriptions: Dict[_Address, Dict[str, Row]] = {}  # by their triggers

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {
            "a_get_jetzt_1": lambda _: int(self._now()),
            "a_zeitstring_1": lambda seconds: (EPOCH + timedelta(seconds=seconds)).strftime(
                TIME_FORMAT),
            "a_str2zeit_1": _seconds_of,
            "a_get_tzenv_1": lambda _: {"tzname": ["GMT", "GMT", ""]},
            "a_tra_str_1": lambda asked: asked["meta_zeile"],
            "a_a_log_1": self._log,
            "a_put_board_1": self._put_board,
            "a_get_board_1": lambda color: self._board(color, 0),
            "a_get_boardl_1": lambda asked: self._board(asked["color"], asked["oldchange"]),
            "a_subscribe_1": self._subscribe,
            "a_unsubscribe_1": self._unsubscribe,
        }

    def _log(self, text: str) -> bool:
        self._journal.note("alpha", text)
        return True

    # ---- boards

    def _put_board(self, asked: Row) -> bool:
        """Puts an entry on a board. An empty message takes it off."""
        self._changes += 1
        board = self._boards.setdefault(asked["color"], {})
        board.pop(asked["id"], None)  # so that the latest change is the last one
        board[asked["id"]] = {"id": asked["id"], "msg": asked["msg"], "change": self._changes}
        return bool(asked["id"])

    def _board(self, color: int, since: int) -> Row:
        """Returns what has changed since the change `since`."""
        latest = reversed(self._boards.get(color, {}).values())
        changed = itertools.takewhile(lambda row: row["change"] > since, latest)
        rows = sorted((row for row in changed if row["msg"] or since), key=itemgetter("id"))
        return {"first": rows, "lastchange": self._changes}

    def look_again(self) -> None:
        """Orders the entries of each board by their changes, because others were loaded."""
        for color, board in self._boards.items():
            self._boards[color] = dict(sorted(board.items(), key=lambda item: item[1]["change"]))

    # ---- notifications

    def _subscribe(self, asked: Row) -> bool:
        """Keeps a notification until its session ends. Nothing is ever sent."""
        if self._people.user_of(asked["loginid"]) is None:
            return False
        self._subscriptions.setdefault(_address(asked), {})[repr(asked["trigger"])] = asked
        return True

    def _unsubscribe(self, asked: Row) -> bool:
        """Removes those of this session and address; without `all`, only that for this trigger."""
        if self._people.user_of(asked["loginid"]) is None:
            self._subscriptions.pop(_address(asked), None)
            return False
        if asked["all"]:
            return bool(self._subscriptions.pop(_address(asked), None))
        kept = self._subscriptions.get(_address(asked), {})
        return kept.pop(repr(asked["trigger"]), None) is not None


def _address(asked: Row) -> _Address:
    return (asked["loginid"], asked["ip_address"], asked["port"])


def _seconds_of(text: str) -> int:
    """Returns the seconds since 1970, or 0 for what is no time."""
    try:
        return calendar.timegm(time.strptime(text, TIME_FORMAT))
    except ValueError:
        return 0
