"""Each fault of the simulator, and what a script sees of it.

`python tests/python/fault_table.py` writes the page docs/faults.md from this table.
test_fault_table.py reaches each row, and compares the page.
"""

import json
import sys
from pathlib import Path
from typing import NamedTuple, Optional

ROOT = Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "faults.md"
if __name__ == "__main__":
    sys.path.insert(0, str(ROOT / "python"))

from kvrpc_tools.simulator import faults  # noqa: E402

BOTH = ("tcp", "udp")
STATES = '{"l_get_status_1":null}'
LONG = "a call of 20 MB"
CALLS = {
    "": STATES,
    "a result with a text": '{"a_get_page_1":{"userid":"meier","topf":2,"faxid":1,"page":1}}',
    "a result with a union": '{"a_get_s_rec_new_1":{"selection":1,"v1":{"userid":"meier"}}}',
    LONG: '{"a_put_page_1":{"userid":"meier","faxid":1,"seitennr":1,"typ":0,"data":"%s"}}' % (
        "x" * 20_000_000),
}
LOST = {"re_status": 4, "re_errno": 10054}
TIMED_OUT = {"re_status": 5}
CREATION = "clnt_create: RPC: "


class Row(NamedTuple):
    """A fault, and the reply to a call that meets it twice.

    `message` is that of the exception if no client can be made. A row that `waits` takes 50 s.
    """

    fault: str
    transports: tuple
    status: Optional[int]
    rpc_err: Optional[dict] = None
    call: str = ""
    message: str = ""
    waits: bool = False


ROWS = (
    *(Row(f"refuse={why}", BOTH, 3, {"re_status": 7, "re_why": why}) for why in (5, 0, 1, 2, 3, 4,
                                                                                6, 7, 8)),
    Row("rpc-mismatch", BOTH, 3, {"re_status": 16}),
    Row("no-program", BOTH, 3, {"re_status": 8}),
    Row("no-version=3", BOTH, 3, {"re_status": 9, "re_vers": {"low": 3, "high": 3}}),
    Row("no-procedure", BOTH, 3, {"re_status": 10}),
    Row("bad-arguments", BOTH, 3, {"re_status": 11}),
    Row("system-error", BOTH, 3, {"re_status": 12}),
    Row("unknown-status", BOTH, 3, {"re_status": 16}),
    Row("hang-up", ("tcp",), 3, LOST),
    Row("hang-up", ("tcp",), 3, {"re_status": 3, "re_errno": 10054}, LONG),
    Row("hang-up", ("udp",), 3, TIMED_OUT, waits=True),
    Row("drop", BOTH, 3, TIMED_OUT, waits=True),
    Row("delay=0.2", BOTH, 0),
    Row("cut", ("tcp",), 3, LOST),
    Row("cut=0", ("tcp",), 3, LOST),
    Row("cut", ("udp",), 3, {"re_status": 2}),
    Row("stall", ("tcp",), 3, TIMED_OUT, waits=True),
    Row("stall", ("udp",), 3, {"re_status": 2}),
    Row("reset", ("tcp",), 3, LOST),
    Row("reset=20", ("tcp",), 3, LOST),
    Row("reset", ("udp",), 3, TIMED_OUT, waits=True),
    Row("trickle=0.001", BOTH, 0),
    Row("fragments=1", BOTH, 0),
    Row("duplicate=3", BOTH, 0),
    Row("reorder", BOTH, 0),
    Row("wrong-id", BOTH, 3, TIMED_OUT, waits=True),
    Row("garble=3", BOTH, 3, TIMED_OUT, waits=True),
    Row("garble=7", ("tcp",), 3, TIMED_OUT, waits=True),
    Row("garble=7", ("udp",), 3, {"re_status": 2}),
    Row("garble=23", BOTH, 3, {"re_status": 16}),
    Row("garble=24", BOTH, 0),
    Row("garble=28", BOTH, 3, {"re_status": 2}, "a result with a union"),
    Row("garbage", BOTH, 3, {"re_status": 2}),
    Row("null-text", BOTH, 2, None, "a result with a text"),
    Row("pad", ("tcp",), 0),
    Row("pad", ("udp",), 3, {"re_status": 4, "re_errno": 10040}),
    Row("unregistered", BOTH, None, message=CREATION + "Program not registered"),
    Row("port=1", ("tcp",), None, message=CREATION + "Remote system error - Error 10061"),
    Row("port=1", ("udp",), 3, TIMED_OUT, waits=True),
    *(Row(f"{kind}:portmapper", BOTH, None, message=f"{CREATION}Port mapper failure - RPC: {text}")
      for kind, text in (
          ("refuse", "Authentication error"), ("no-program", "Program unavailable"),
          ("no-version", "Program/version mismatch"), ("no-procedure", "Procedure unavailable"),
          ("bad-arguments", "Server can't decode arguments"), ("garbage", "Can't decode result"),
          ("system-error", "Remote system error"), ("drop", "Timed out"))),
)


def needs_portmapper(row):
    return row.fault.partition("=")[0] in ("unregistered", "port") or "portmapper" in row.fault


def expected(row):
    """What a script sees, as the page tells it."""
    if row.message:
        return f"`ClntCreateError`: `{row.message}`"
    if row.rpc_err is None:
        return f"status {row.status}"
    return f"status {row.status}, `{json.dumps(row.rpc_err)}`"


def page():
    kinds = [f"| `{faults.form(name)}` | {kind.meaning} | "
             f"{'' if kind.default is None else f'{kind.default:g}'} |"
             for name, kind in faults.KINDS.items()]
    rows = [f"| `{row.fault}` | {' and '.join(name.upper() for name in row.transports)}"
            f"{'; ' + row.call if row.call else ''} | {expected(row)} |" for row in ROWS]
    return TEXT.format(kinds="\n".join(kinds), rows="\n".join(rows))


TEXT = """\
# Faults of the simulator

The simulator can make a server go wrong in these ways. A fault is written
`KIND[=VALUE][:PROCEDURE[:COUNT]]`. A test sets it with the fixture at any time, the command with
`--fault` when it starts:

    kvrpc_simulator.fault("cut:a_send_new_1:2")      # two calls of this procedure
    kvrpc_simulator.fault("delay=0.5")               # every call, from now on
    kvrpc_simulator.fault("drop:portmapper")         # a question for a port

`PROCEDURE` is a name, `portmapper`, or `*` for every procedure, which is the default. `COUNT` says
how many calls the fault strikes, `*` or nothing for all of them. `kvrpc_simulator.reset()` ends all
faults. A misspelt kind or procedure is refused, with the nearest name.

The client makes two attempts of each call. A fault that strikes once, such as `cut:l_ps_1:1`, is
therefore made good by the second attempt.

## Kinds

| kind | what the server does | value if not given |
|---|---|---|
{kinds}

Nothing ends over UDP, where there are no connections: `cut`, `stall` and `reset` send a shorter
datagram there, none for 0 bytes. `trickle` and `fragments` send it whole.

## What a script sees

Each fault strikes both attempts here. A client needs 50 seconds for a call that times out twice.

| fault | over | what the script sees |
|---|---|---|
{rows}

`re_status` 1 and the statuses 1 and 4 to 9 are the client's own: no server causes them. A byte that
is inverted within a number, as `garble=24` does, is not noticed: the protocol has no checksums.

`tests/python/fault_table.py` writes this page, and a test reaches each row of the second table.
"""

if __name__ == "__main__":
    PAGE.write_text(page(), encoding="utf-8")
