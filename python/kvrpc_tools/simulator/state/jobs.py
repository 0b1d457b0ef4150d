"""Send jobs: from submission through the queue and the line to sent, cancelled or failed.

A job waits until its planned time, is on the line for as long as its pages take, and is then done;
where it stands follows from the clock alone. A job keeps a copy of the document's pages in the
compartment of sent documents, under its own number.
"""

from __future__ import annotations

import math
from typing import Any, Callable, Dict, List, Optional

from kvrpc_tools.simulator.state.documents import POOL, SENT, Documents
from kvrpc_tools.simulator.state.journal import WARNING, Journal
from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.people import People
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.structure import ALPHA_HOST
from kvrpc_tools.simulator.state.table import Handler, window

# Of a job, in its field `status`.
QUEUED, SENDING, DONE, CANCELLED, FAILED = 1, 2, 3, 4, 5

QUEUE_SECONDS = 0.5
PAGE_SECONDS = 0.25
NO_NUMBER = 1  # in `errstat`

_FULL = 1  # the arm of the newer unions that has all fields

_CHANGED = ("prio", "comment", "sollzeit", "nachtkz", "sollrepc", "res", "timeout")


class Jobs:
    """The jobs of all users, by number."""

    KEPT: Kept = dict.fromkeys(("_jobs", "_due"))

    def __init__(self, documents: Documents, people: People, journal: Journal,
                 now: Callable[[], float]) -> None:
        self._documents = documents
        self._people = people
        self._journal = journal
        self._now = now
        self._jobs: Dict[int, Row] = {}
        self._due: Dict[int, float] = {}
        self._earliest = 0.0  # no job is due before; 0 if that is not known

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {
            "a_sende_1": lambda asked: self._submit(asked, asked["s_record"], {})["faxid"],
            "a_send_new_1": self._submit_new,
            "a_get_s_rec_1": self._job,
            "a_get_s_rec_new_1": lambda asked: _full(self._job(asked)),
            "a_get_s_1": lambda asked: self._listed(asked),
            "a_get_sb_1": lambda asked: window(self._listed(asked), asked["pos"], asked["anz"]),
            "a_get_s_rec_new_ll_1": self._list_new,
            "a_cancel_s_1": self._cancel,
            "a_restart_s_1": self._restart,
            "a_cha_s_rec_1": self._change,
            "a_cha_s_rec_new_1": self._change,
            "a_put_s_stat_1": self._put_status,
            "a_put_s_stat_new_1": self._put_status,
            "a_get_sendjob_ll_1": self._waiting,
            "t_get_sendjob_ll_1": self._waiting,
            "a_dump_job_list_1": self._dump,
        }

    def advance(self) -> None:
        """Brings every job to the state that it has by now."""
        if self._now() < self._earliest:
            return
        for faxid, due in list(self._due.items()):
            job = self._jobs[faxid]
            if job["status"] == QUEUED and self._now() >= due:
                self._dial(faxid, job, due)
            if job["status"] == SENDING and self._now() >= self._due[faxid]:
                self._finish(faxid, job)
        self._earliest = min(self._due.values(), default=math.inf)

    def look_again(self) -> None:
        """Forgets what was known of the jobs, because others were loaded."""
        self._earliest = 0.0

    # ---- the road of a job

    def _submit_new(self, argument: Any) -> Row:
        asked = opened(argument)
        record = asked.get("s_record") or asked["s_rec_v1"]
        return self._submit(asked, record, {key: asked[key] for key in
                                            ("headline", "tsi", "cpi", "pincode")})

    def _submit(self, asked: Row, record: Row, extras: Row) -> Row:
        """The new job's number, 0 with an error when there is no such document."""
        source = self._documents.find(asked["userid"], POOL, asked["poolfaxid"])
        if source is None:
            return {"faxid": 0, "errcode": 1}
        copy = self._documents.make(asked["userid"], SENT, record["comment"] or source.comment)
        copy.pages = list(source.pages)
        job = {**record, **extras, "faxid": copy.faxid, "userid": asked["userid"],
               "status": QUEUED, "seiten": len(copy.pages), "seitenok": 0, "istrepc": 0,
               "comment": copy.comment, "crezeit": copy.created, "istzeit": 0, "errstat": 0,
               "alphaid": ALPHA_HOST, "alphaid_src": ALPHA_HOST, "userid_src": asked["userid"]}
        self._jobs[copy.faxid] = job
        self._queue(job)
        self._tell(job, f"accepted for {job['empfnr']}")
        return {"faxid": copy.faxid, "errcode": 0}

    def _queue(self, job: Row) -> None:
        start = max(self._now() + QUEUE_SECONDS, float(job["sollzeit"]))
        job["status"], job["nextzeit"] = QUEUED, int(start)
        self._due[job["faxid"]] = start
        self._earliest = min(self._earliest, start)

    def _dial(self, faxid: int, job: Row, start: float) -> None:
        job["istrepc"] += 1
        job["istzeit"] = int(start)
        if not job["empfnr"]:
            job.update(status=FAILED, errstat=NO_NUMBER, error_string="no number")
            del self._due[faxid]
            self._tell(job, "failed: no number", WARNING)
            return
        job.update(status=SENDING, lineid_xmt="fax0")
        self._due[faxid] = start + PAGE_SECONDS * max(1, job["seiten"])
        self._tell(job, f"dials {job['empfnr']} on fax0")

    def _finish(self, faxid: int, job: Row) -> None:
        del self._due[faxid]
        job.update(status=DONE, seitenok=job["seiten"], dauer=20 * job["seiten"], nextzeit=0,
                   ready=True, charge_unit="EUR", charge_value=9 * job["seiten"])
        self._tell(job, f"sent, {job['seiten']} pages")

    def _tell(self, job: Row, text: str, *severity: int) -> None:
        """In the document's log and in the installation's."""
        document = self._documents.find(job["userid"], SENT, job["faxid"])
        if document is not None:
            self._documents.note(document, text)
        self._journal.note("alpha", f"job {job['faxid']} of {job['userid']}: {text}",
                           *severity)

    # ---- what users ask for

    def _job(self, argument: Any) -> Optional[Row]:
        """The job of this number, if it is this user's."""
        asked = opened(argument)
        job = self._jobs.get(asked["faxid"])
        return job if job and job["userid"] == asked["userid"] else None

    def _listed(self, asked: Row) -> List[Row]:
        user = self._people.user_of(asked["loginid"])
        return [job for _, job in sorted(self._jobs.items()) if job["userid"] == user]

    def _list_new(self, argument: Any) -> List[Row]:
        """Those of one gateway or mail address, when the argument names one."""
        asked = opened(argument)
        rows = [_full(job) for job in self._listed(asked)
                if all(not asked[field] or job.get(field) == asked[field]
                       for field in ("gw_type", "mailaddr"))]
        return window(rows, asked["pos"], asked["anz"])

    def _cancel(self, asked: Row) -> bool:
        """Only what still waits or is on the line."""
        job = self._job(asked)
        if job is None or job["faxid"] not in self._due:
            return False
        del self._due[job["faxid"]]
        job["status"] = CANCELLED
        self._tell(job, "cancelled")
        return True

    def _restart(self, asked: Row) -> bool:
        """Only what does not wait anyway."""
        job = self._job(asked)
        if job is None or job["faxid"] in self._due:
            return False
        job.update(errstat=0, error_string="", seitenok=0, sollzeit=0)
        self._queue(job)
        self._tell(job, "restarted")
        return True

    def _change(self, argument: Any) -> bool:
        """Only before it has been dialled."""
        asked = opened(argument)
        job = self._job(asked)
        if job is None or job["status"] != QUEUED:
            return False
        job.update((field, asked[field]) for field in _CHANGED if field in asked)
        self._queue(job)
        return True

    # ---- what the other servers ask for

    def _put_status(self, argument: Any) -> bool:
        """A transmitting server says how far it is."""
        asked = opened(argument)
        job = self._jobs.get(asked["faxid"])
        if job is None:
            return False
        job.update(asked)
        self._due.pop(job["faxid"], None)
        return True

    def _waiting(self, argument: Any) -> List[Row]:
        """At most `anz` jobs that wait for a line."""
        rows = [{"s_rec": job, **job, "selection": 0} for _, job in sorted(self._jobs.items())
                if job["status"] == QUEUED]
        return window(rows, 0, opened(argument)["anz"])

    def _dump(self, _: Any) -> None:
        for faxid, job in sorted(self._jobs.items()):
            self._journal.note("alpha", f"job {faxid}: status {job['status']}")


def _full(job: Optional[Row]) -> Row:
    return {**(job or {}), "selection": _FULL} if job else {}
