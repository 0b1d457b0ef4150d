"""A small script that sends text files as faxes. Its tests are beside it.

    python fax_script.py NUMBER FILE...

Codes that a server gives have no stated values. Those below are the simulator's own: look at what
your server answers before you use them there.
"""

import sys
import time
from pathlib import Path
from typing import List

from kvrpc_tools import Alpha, KvrpcError

QUEUED, SENDING, SENT = 1, 2, 3  # of a job; the simulator's own
PATIENCE = 60.0  # seconds


class FaxError(Exception):
    """The server did not take the fax."""


class Session:
    """A user's session, which ends with its block."""

    def __init__(self, user: str, password: str) -> None:
        self.user = user
        self.alpha = Alpha()
        answer = self.alpha.a_login_1({"userid": user, "passwor": password})
        if answer["err"]:
            raise FaxError(f"{user} may not log in: error {answer['err']}")
        self.login = answer["loginid"]

    def __enter__(self) -> "Session":
        return self

    def __exit__(self, *_: object) -> None:
        self.alpha.a_logout_1({"userid": self.user, "loginid": self.login})
        self.alpha.close()

    def send(self, number: str, pages: List[str], headline: str = "") -> int:
        """Sends the pages to a number. Returns the number of the job."""
        document = self.alpha.a_mk_dok_1(self.user)
        for page, text in enumerate(pages, 1):
            self.alpha.a_put_page_1({"userid": self.user, "faxid": document, "seitennr": page,
                                     "data": text})
        answer = self.alpha.a_send_new_1({"selection": 1, "v1": {
            "userid": self.user, "poolfaxid": document, "headline": headline,
            "s_rec_v1": {"empfnr": number, "prio": 1}}})["v0"]
        if answer["errcode"]:
            raise FaxError(f"the server refused the fax: error {answer['errcode']}")
        return int(answer["faxid"])

    def status(self, job: int) -> int:
        """Returns the status of a job."""
        record = self.alpha.a_get_s_rec_new_1(
            {"selection": 1, "v1": {"userid": self.user, "faxid": job}})["s_rec_new"]
        if record["selection"] == 1:
            return record["v1"]["status"]
        raise FaxError(f"job {job}: the server answered with a short record")

    def wait(self, job: int) -> bool:
        """Waits until a job is done. Returns whether it was sent."""
        end = time.monotonic() + PATIENCE
        while self.status(job) in (QUEUED, SENDING):
            if time.monotonic() > end:
                return False
            time.sleep(0.1)
        return self.status(job) == SENT


def main(arguments: List[str]) -> int:
    number, *files = arguments
    try:
        with Session("meier", "geheim") as session:
            job = session.send(number, [Path(file).read_text() for file in files])
            return 0 if session.wait(job) else 1
    except (FaxError, KvrpcError) as error:
        print(error, file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
