"""Sends a fax: logs in, makes a document, puts its pages, submits it, follows it, reads its log.

The interface gives no values for compartments and job states. The numbers below are the simulator's
own: look at what your server answers before you use them there.
"""

import time
from typing import Any, Dict, List

from common import Server, run

USER, PASSWORD = "meier", "geheim"
NUMBER = "040 5550300"
PAGES = ["Sehr geehrte Damen und Herren,\nanbei unser Angebot.\n", "Preis: 120 €\n"]

SENT = 1  # the compartment of a user's sent documents
STATES = {1: "queued", 2: "sending", 3: "sent", 4: "cancelled", 5: "failed"}
UNFINISHED = (1, 2)
PATIENCE = 30.0  # seconds


def log_in(alpha: Server) -> int:
    session = alpha.call("a_login_1", {"userid": USER, "passwor": PASSWORD})
    if session["err"]:
        raise SystemExit(f"{USER} may not log in: error {session['err']}")
    number: int = session["loginid"]
    return number


def make_document(alpha: Server, pages: List[str]) -> int:
    """A document of the pool with these pages; its number."""
    document: int = alpha.call("a_mk_dok_1", USER)
    for number, text in enumerate(pages, 1):
        alpha.call("a_put_page_1", {"userid": USER, "faxid": document, "seitennr": number,
                                    "typ": 0, "data": text})
        print(f"  page {number}: {len(text)} characters")
    return document


def submit(alpha: Server, document: int) -> int:
    """The number of the new job."""
    record = {"empfnr": NUMBER, "comment": "Angebot", "prio": 1}
    answer = alpha.call("a_send_new_1", {"selection": 1, "v1": {
        "userid": USER, "poolfaxid": document, "s_rec_v1": record, "headline": "Angebot"}})["v0"]
    if answer["errcode"]:
        raise SystemExit(f"the job was not taken: error {answer['errcode']}")
    number: int = answer["faxid"]
    return number


def follow(alpha: Server, job: int) -> Dict[str, Any]:
    """Tells each state of the job until it is done."""
    told, end = 0, time.monotonic() + PATIENCE
    while time.monotonic() < end:
        asked = {"selection": 1, "v1": {"userid": USER, "faxid": job}}
        record: Dict[str, Any] = alpha.call("a_get_s_rec_new_1", asked)["s_rec_new"]["v1"]
        if record["status"] != told:
            told = record["status"]
            print(f"  {STATES.get(told, told)}")
        if told not in UNFINISHED:
            return record
        time.sleep(0.1)
    raise SystemExit(f"job {job} is not done after {PATIENCE:.0f} seconds")


def main() -> None:
    with Server("alpha") as alpha:
        login = log_in(alpha)
        print(f"{USER} is logged in, session {login}")
        document = make_document(alpha, PAGES)
        job = submit(alpha, document)
        print(f"document {document} is job {job} to {NUMBER}")
        record = follow(alpha, job)
        print(f"{record['seitenok']} of {record['seiten']} pages, {record['dauer']} seconds")
        print("its log:")
        log = alpha.call("a_get_log_1", {"userid": USER, "topf": SENT, "faxid": job})
        print("".join(f"  {line}\n" for line in log.splitlines()), end="")
        alpha.call("a_logout_1", {"userid": USER, "loginid": login})


if __name__ == "__main__":
    run(main)
