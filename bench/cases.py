"""The calls that are measured, with their goals."""

from __future__ import annotations

from typing import Any, List, NamedTuple

LARGEST_MODULE = 380_000  # bytes, without symbols


class Case(NamedTuple):
    """One call that the server answers with one result, again and again."""

    title: str
    server: str
    procedure: str
    result: Any  # a value for the codec, or a Repeated list
    batch: int  # calls measured at once
    limit: float  # times the floor
    argument: Any = None
    fragment: int = 0  # most bytes of a reply's fragment, 0 for one fragment
    rounds: int = 41


class Repeated(NamedTuple):
    """A list of one node many times, each followed by its link."""

    node: Any
    count: int


def process(slot: int) -> dict:
    return {"slot": slot, "pid": 4000 + slot, "status": 2, "cmd": f"lined -l {slot:03d} -v",
            "dir": "/var/spool/fax/lines"}


def send_record(number: int) -> dict:
    return {"data": {"faxid": number, "userid": "MEIER", "prio": 1, "status": 3, "seiten": 2,
                     "comment": f"Angebot {number:05d}", "crezeit": 1500000000 + number,
                     "empftsi": "+49 89 1234567", "empfnr": "0891234567", "nettype": 1}}


def page(size: int) -> dict:
    """An argument whose text has so many characters, which are as many bytes on the wire."""
    return {"userid": "MEIER", "faxid": 4711, "seitennr": 1, "typ": 2,
            "data": "Mit freundlichen Gruessen, Ihr Fax. " * (size // 36)}


LOG_RECORD = {"origin_id": "ALPHA", "origin_class": 3, "time_stamp": 1500000000,
              "message_class": 2, "severity": 1, "data": "job 4711 of MEIER sent to 0891234567"}
SEND_RECORDS = {"anz": 1000, "first": [send_record(n) for n in range(1000)]}

CASES: List[Case] = [
    Case("a small call", "lambda", "l_get_status_1",
         {"state_fax": 1, "state_gateways": 2, "state_daemons": 3, "state_drivers": 4}, 500, 1.03),
    Case("a record", "lambda", "l_get_rec_1", LOG_RECORD, 500, 1.05, 1),
    Case("100 process entries", "lambda", "l_ps_1", [process(n) for n in range(100)], 200, 1.10),
    Case("1,000 send records", "alpha", "a_get_s_1", SEND_RECORDS, 20, 1.95),
    Case("the same in fragments", "alpha", "a_get_s_1", SEND_RECORDS, 20, 2.00, fragment=4000),
    Case("a page of 9 kB", "alpha", "a_put_page_1", 1, 200, 1.3, page(9_000)),
    Case("a page of 60 kB", "alpha", "a_put_page_1", 1, 50, 2.0, page(60_000)),
    Case("a page of 200 kB", "alpha", "a_put_page_1", 1, 20, 2.4, page(200_000)),
    Case("a page of 900 kB", "alpha", "a_put_page_1", 1, 5, 2.7, page(900_000)),
]

# The first gives the measure: a node of the longer ones may take GROWTH times as many floors.
GROWTH = 1.3
LISTS: List[Case] = [
    Case(f"a list of {count:,}", "alpha", "a_get_s_1", Repeated(send_record(4711), count),
         max(1, 20_000 // count), 0.0, rounds=rounds)
    for count, rounds in ((1_000, 41), (100_000, 15), (1_000_000, 5))
]
