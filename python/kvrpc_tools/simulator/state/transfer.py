"""The programs beside `alpha` and `omega`: pages by handle (`sigma`), lines (`theta`), numbers
(`nue`)."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Dict, List, Optional

from kvrpc_tools.simulator.characters import bytes_of
from kvrpc_tools.simulator.state.documents import Documents
from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.pages import page_sizes
from kvrpc_tools.simulator.state.people import ALPHA_HOST
from kvrpc_tools.simulator.state.shape import Row
from kvrpc_tools.simulator.state.structure import Structure
from kvrpc_tools.simulator.state.table import Handler, Table

NO_PAGE, NO_HANDLE = 1, 2
SEAL = 0x5EA1  # the third word of a handle, so that a mistaken one is noticed


@dataclass
class OpenPage:
    """A page that is being handed out; `at` is the next byte."""

    data: bytes
    at: int = 0


class PageTransfer:
    """`sigma`: open, read, close; the old form reads by offset, the new one onward."""

    KEPT: Kept = {"_open": OpenPage, "_last": None}

    def __init__(self, documents: Documents) -> None:
        self._documents = documents
        self._open: Dict[int, OpenPage] = {}
        self._last = 0

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {
            "s_open_page_1": self._open_page,
            "s_get_block_1": self._block,
            "s_close_page_1": lambda handle: self._close(self._number(handle)),
            "s_openpage_old_1": self._open_old,
            "s_getblock_old_1": self._block_old,
            "s_closepage_old_1": self._close,
            "s_get_inf_1": self._information,
        }

    def _start(self, asked: Row) -> int:
        """Opens a page. Returns its number, or 0 if there is no such page."""
        document = self._documents.find_any(asked["topf"], asked["faxid"])
        if document is None or not 1 <= asked["page"] <= len(document.pages):
            return 0
        self._last += 1
        self._open[self._last] = OpenPage(bytes_of(document.pages[asked["page"] - 1]))
        return self._last

    def _open_page(self, asked: Row) -> Row:
        number = self._start(asked)
        if not number:
            return {"err": NO_PAGE}
        return {"handle": {"long1": number, "long2": asked["faxid"], "long3": SEAL}}

    def _number(self, handle: Row) -> int:
        return handle["long1"] if handle["long3"] == SEAL else 0

    def _block(self, asked: Row) -> Row:
        """Returns the next `len` bytes, none at the end."""
        page = self._open.get(self._number(asked["handle"]))
        if page is None:
            return {"err": NO_HANDLE}
        data = page.data[page.at:page.at + max(0, asked["len"])]
        page.at += len(data)
        return {"data": data}

    def _close(self, number: int) -> int:
        return 0 if self._open.pop(number, None) else NO_HANDLE

    def _open_old(self, asked: Row) -> Row:
        number = self._start(asked)
        document = self._documents.find_any(asked["topf"], asked["faxid"])
        return {"errcode": 0 if number else NO_PAGE, "handle": number, "pct": asked["pct"],
                "pages": len(document.pages) if document else 0}

    def _block_old(self, asked: Row) -> Row:
        page = self._open.get(asked["handle"])
        if page is None or asked["offset"] < 0:
            return {"errcode": NO_HANDLE}
        return {"data": page.data[asked["offset"]:asked["offset"] + max(0, asked["len"])]}

    def _information(self, asked: Row) -> Row:
        document = self._documents.find_any(asked["topf"], asked["faxid"])
        return {"err": 0 if document else NO_PAGE, **page_sizes(document)}


class Lines:
    """`theta`: reservations of lines, scan requests, flags. A line with state 0 is free."""

    KEPT: Kept = dict.fromkeys(("_states", "_scans", "_flags"))

    def __init__(self, structure: Structure) -> None:
        self._structure = structure
        self._states: Dict[str, int] = {}
        self._scans: Dict[str, Row] = {}
        self._flags = Table(["group", "id"])

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {
            **self._flags.offer(put="t_put_flag_1", get="t_get_flag_1", delete="t_del_flag_1"),
            "t_get_flag_ll_1": lambda group: self._flags.rows(group=group),
            "t_reserve_1": self._reserve,
            "t_put_trstat_1": self._put_state,
            "t_get_trstat_1": lambda line: self._states.get(line, 0),
            "t_get_frei_1": lambda _: [row["lineid"] for row in self._free()],
            "a_get_frei_ll_1": lambda _: self._free(),
            "t_put_scan_1": self._put_scan,
            "a_put_scan_1": lambda asked: self._put_scan({**asked, "alphaid": ALPHA_HOST}),
            "t_get_scan_1": self._take_scan,
        }

    def _free(self) -> List[Row]:
        return [row for row in self._structure.lines.rows()
                if not self._states.get(row["lineid"])]

    def _reserve(self, asked: Row) -> bool:
        """Takes a free line. Returns false if it is not free."""
        if self._states.get(asked["lineid"]):
            return False
        return self._put_state({**asked, "hwfeat": asked["hwfeat"] or 1})

    def _put_state(self, asked: Row) -> bool:
        """Sets the state of a line. 0 means that it is free."""
        if self._structure.lines.get(asked["lineid"]) is None:
            return False
        self._states[asked["lineid"]] = asked["hwfeat"]
        return True

    def _put_scan(self, asked: Row) -> bool:
        if self._structure.lines.get(asked["lineid"]) is None:
            return False
        self._scans[asked["lineid"]] = asked
        return True

    def _take_scan(self, line: str) -> Optional[Row]:
        """Returns a request. Each one is handed out once."""
        return self._scans.pop(line, None)


class Numbers:
    """`nue`: one number after the other, whoever asks."""

    KEPT: Kept = {"_last": None}

    def __init__(self) -> None:
        self._last = 0

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {"n_get_nr_1": self._next, "a_get_nue_nr_1": lambda _: {"nue_nr": self._next()}}

    def _next(self, _: Any = None) -> int:
        self._last += 1
        return self._last
