"""Send jobs: from submission through the queue and the line to sent, cancelled or failed.

A job waits until its planned time, is on the line for as long as its pages take, and is then done;
its state follows from the clock alone. A job keeps a copy of the document's pages in the
compartment of sent documents, under its own number.

`sollrepc` is the planned number of repeats and `istrepc` the actual one; the first attempt is no
repeat. These are the simulator's own: the states and their times; that a job fails if it has no
number, and only then is repeated; that a job with the night flag waits for the night rate of
`/etc/fax.conf`.
"""

from __future__ import annotations

import heapq
import math
from typing import Any, Callable, Dict, List, Optional, Tuple

from kvrpc_tools.simulator.state.documents import POOL, SENT, Documents
from kvrpc_tools.simulator.state.journal import WARNING, Journal
from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.people import ALPHA_HOST, People
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.table import Handler, put_or_remove, window

# Of a job, in its field `status`.
QUEUED, SENDING, DONE, CANCELLED, FAILED = 1, 2, 3, 4, 5

QUEUE_SECONDS = 0.5
PAGE_SECONDS = 0.25
REPEAT_SECONDS = 180
_HOUR, _DAY = 3600, 86400
NIGHT_BEGINS, NIGHT_ENDS = 22 * _HOUR, 6 * _HOUR  # of a day in Greenwich
NO_NUMBER = 1  # in `errstat`

_FULL = 1  # the arm of the newer unions that has all fields

# What a job has of its attempts.
_NO_ATTEMPT = {"istrepc": 0, "istzeit": 0, "errstat": 0, "error_string": "", "seitenok": 0,
               "dauer": 0, "ready": False, "lineid_xmt": "", "charge_unit": "", "charge_value": 0}

_Wanted = Tuple[str, str, str]  # the user, gateway and address of a search; either may be empty

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
        self._earliest = math.inf  # no job is due before
        self.look_again()

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {
            "a_sende_1": lambda asked: self._submit(asked, asked["s_record"], {})["faxid"],
            "a_send_new_1": self._submit_new,
            "a_get_s_rec_1": self._job,
            "a_get_s_rec_new_1": lambda asked: _full(self._job(asked)),
            "a_get_s_1": lambda asked: self._listed(asked),
            "a_get_sb_1": lambda asked: self._listed(asked, asked["pos"], asked["anz"]),
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
        if not self._times or self._now() < self._earliest:
            return
        while self._times and self._times[0][0] <= self._now():
            due, faxid = heapq.heappop(self._times)
            if self._due.get(faxid) == due:  # else it was cancelled, or put off
                job = self._jobs[faxid]
                (self._dial if job["status"] == QUEUED else self._finish)(faxid, job, due)
        self._earliest = self._times[0][0] if self._times else math.inf

    def look_again(self) -> None:
        """Makes what a search needs, because other jobs were loaded."""
        self._jobs = dict(sorted(self._jobs.items()))
        self._times: List[Tuple[float, int]] = []  # of all jobs that are due, the earliest first
        self._earliest = math.inf
        for faxid, due in self._due.items():
            self._set_due(faxid, due)
        self._of_user: Dict[str, List[int]] = {}
        for faxid, job in self._jobs.items():
            self._of_user.setdefault(job["userid"], []).append(faxid)
        self._of_gateway: Dict[_Wanted, List[int]] = {}  # see _numbers_of_gateway
        self._queued = [faxid for faxid, job in self._jobs.items() if job["status"] == QUEUED]

    def _set(self, job: Row, **values: Any) -> None:
        """Changes a job, and whether it is among those that wait."""
        job.update(values)
        put_or_remove(self._queued, job["faxid"], job["status"] == QUEUED)

    def _set_due(self, faxid: int, due: float) -> None:
        self._due[faxid] = due
        heapq.heappush(self._times, (due, faxid))
        self._earliest = min(self._earliest, due)

    # ---- the life of a job

    def _submit_new(self, argument: Any) -> Row:
        asked = opened(argument)
        record = asked.get("s_record") or asked["s_rec_v1"]
        return self._submit(asked, record, {key: asked[key] for key in
                                            ("headline", "tsi", "cpi", "pincode")})

    def _submit(self, asked: Row, record: Row, extras: Row) -> Row:
        """Returns the new job's number, or 0 with an error if there is no such document."""
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
        self._of_user.setdefault(job["userid"], []).append(copy.faxid)
        for wanted in _searches_for(job):
            if wanted in self._of_gateway:
                self._of_gateway[wanted].append(copy.faxid)
        self._queue(job)
        self._tell(job, f"accepted for {job['empfnr']}")
        return {"faxid": copy.faxid, "errcode": 0}

    def _queue(self, job: Row) -> None:
        start = max(self._now() + QUEUE_SECONDS, float(job["sollzeit"]))
        self._wait_until(_night_from(start) if job["nachtkz"] else start, job)

    def _wait_until(self, start: float, job: Row) -> None:
        self._set(job, status=QUEUED, nextzeit=int(start))
        self._set_due(job["faxid"], start)

    def _dial(self, faxid: int, job: Row, start: float) -> None:
        if job["istzeit"]:
            job["istrepc"] += 1
        job["istzeit"] = int(start)
        if not job["empfnr"]:
            self._fail(faxid, job, start)
            return
        self._set(job, status=SENDING, lineid_xmt="fax0", nextzeit=0)
        self._set_due(faxid, start + PAGE_SECONDS * max(1, job["seiten"]))
        self._tell(job, f"dials {job['empfnr']} on fax0")

    def _fail(self, faxid: int, job: Row, start: float) -> None:
        """Repeats the job as often as planned."""
        job.update(errstat=NO_NUMBER, error_string="no number")
        if job["istrepc"] < job["sollrepc"]:
            self._wait_until(start + REPEAT_SECONDS, job)
            self._tell(job, f"no number, attempt {job['istrepc'] + 1}", WARNING)
            return
        self._set(job, status=FAILED, nextzeit=0)
        del self._due[faxid]
        self._tell(job, "failed: no number", WARNING)

    def _finish(self, faxid: int, job: Row, _: float) -> None:
        del self._due[faxid]
        self._set(job, status=DONE, seitenok=job["seiten"], dauer=20 * job["seiten"], ready=True,
                  charge_unit="EUR", charge_value=9 * job["seiten"])
        self._tell(job, f"sent, {job['seiten']} pages")

    def _tell(self, job: Row, text: str, *severity: int) -> None:
        """Notes it in the document's log and in the installation's."""
        document = self._documents.find(job["userid"], SENT, job["faxid"])
        if document is not None:
            self._documents.note(document, text)
        self._journal.note("alpha", f"job {job['faxid']} of {job['userid']}: {text}",
                           *severity)

    # ---- what users ask for

    def _job(self, argument: Any) -> Optional[Row]:
        """Returns the job of this number if it is this user's, else None."""
        asked = opened(argument)
        job = self._jobs.get(asked["faxid"])
        return job if job and job["userid"] == asked["userid"] else None

    def _listed(self, asked: Row, start: int = 0, most: int = 0) -> List[Row]:
        return [self._jobs[faxid] for faxid in window(self._numbers(asked), start, most)]

    def _numbers(self, asked: Row) -> List[int]:
        return self._of_user.get(self._people.user_of(asked["loginid"]) or "", [])

    def _list_new(self, argument: Any) -> List[Row]:
        """Returns the jobs, or those of one gateway or mail address if the argument names one."""
        asked = opened(argument)
        by_gateway = asked["gw_type"] or asked["mailaddr"]
        numbers = self._numbers_of_gateway(asked) if by_gateway else self._numbers(asked)
        return [_full(self._jobs[faxid])
                for faxid in window(numbers, asked["pos"], asked["anz"])]

    def _numbers_of_gateway(self, asked: Row) -> List[int]:
        """Searches all jobs once for each user, gateway and address. Later jobs are added to it."""
        wanted = (self._people.user_of(asked["loginid"]) or "", asked["gw_type"], asked["mailaddr"])
        if wanted not in self._of_gateway:
            self._of_gateway[wanted] = [faxid for faxid in self._numbers(asked)
                                        if wanted in _searches_for(self._jobs[faxid])]
        return self._of_gateway[wanted]

    def _cancel(self, asked: Row) -> bool:
        """Cancels a job that still waits or is on the line."""
        job = self._job(asked)
        if job is None or job["faxid"] not in self._due:
            return False
        del self._due[job["faxid"]]
        self._set(job, status=CANCELLED, nextzeit=0)
        self._tell(job, "cancelled")
        return True

    def _restart(self, asked: Row) -> bool:
        """Makes a job new that does not wait anyway. What is known of its attempts goes."""
        job = self._job(asked)
        if job is None or job["faxid"] in self._due:
            return False
        job.update(_NO_ATTEMPT, sollzeit=0)
        self._queue(job)
        self._tell(job, "restarted")
        return True

    def _change(self, argument: Any) -> bool:
        """Changes a job that has not been dialled yet."""
        asked = opened(argument)
        job = self._job(asked)
        if job is None or job["status"] != QUEUED:
            return False
        job.update((field, asked[field]) for field in _CHANGED if field in asked)
        self._queue(job)
        return True

    # ---- what the other servers ask for

    def _put_status(self, argument: Any) -> bool:
        """Notes the progress that a transmitting server reports."""
        asked = opened(argument)
        job = self._jobs.get(asked["faxid"])
        if job is None:
            return False
        self._set(job, **asked)
        self._due.pop(job["faxid"], None)
        return True

    def _waiting(self, argument: Any) -> List[Row]:
        """Returns at most `anz` jobs that wait for a line."""
        waiting = [self._jobs[faxid] for faxid in window(self._queued, 0, opened(argument)["anz"])]
        return [{"s_rec": job, **job, "selection": 0} for job in waiting]

    def _dump(self, _: Any) -> None:
        for faxid, job in self._jobs.items():
            self._journal.note("alpha", f"job {faxid}: status {job['status']}")


def _night_from(start: float) -> float:
    """Returns the first time of a night that is not before `start`."""
    clock = start % _DAY
    return start if clock >= NIGHT_BEGINS or clock < NIGHT_ENDS else start - clock + NIGHT_BEGINS


def _searches_for(job: Row) -> List[_Wanted]:
    """Returns the searches by gateway, by address and by both that find a job."""
    user, gateway, address = job["userid"], job.get("gw_type", ""), job.get("mailaddr", "")
    return [(user, gateway, ""), (user, "", address), (user, gateway, address)]


def _full(job: Optional[Row]) -> Row:
    return {**(job or {}), "selection": _FULL} if job else {}
