"""Sends a text file as a fax and says when it is through.

    python send_text_fax.py NUMBER FILE

FAX_USER and FAX_PASSWORD name the user. Exit codes: 0 sent, 1 not sent, 2 no answer from the
server.
"""

import os
import sys
import time
from pathlib import Path

from kvrpc_tools import Alpha, KvrpcError
from kvrpc_tools.results import SRecV1

USER = os.environ.get("FAX_USER", "meier")
PASSWORD = os.environ.get("FAX_PASSWORD", "geheim")
PATIENCE = 600.0  # seconds


class NotSent(Exception):
    """The server refused the fax, or could not send it."""


def log_in(alpha: Alpha) -> int:
    session = alpha.a_login_1({"userid": USER, "passwor": PASSWORD})
    if session["err"]:
        raise NotSent(f"{USER} may not log in: err {session['err']}")
    return session["loginid"]


def submit(alpha: Alpha, number: str, text: str) -> int:
    """Makes a document, a page up to each form feed, and a job. Returns the number of the job."""
    document = alpha.a_mk_dok_1(USER)
    if not document:
        raise NotSent(f"{USER} may not make a document")
    for number_of_page, page in enumerate(text.rstrip("\f").split("\f"), 1):
        alpha.a_put_page_1({"userid": USER, "faxid": document, "seitennr": number_of_page,
                            "data": page})
    answer = alpha.a_send_new_1({"selection": 1, "v1": {
        "userid": USER, "poolfaxid": document, "s_rec_v1": {"empfnr": number}}})["v0"]
    if answer["errcode"]:
        raise NotSent(f"the server refused the fax: errcode {answer['errcode']}")
    return answer["faxid"]


def record_of(alpha: Alpha, job: int) -> SRecV1:
    answer = alpha.a_get_s_rec_new_1({"selection": 1, "v1": {"userid": USER, "faxid": job}})
    record = answer["s_rec_new"]
    if answer["errcode"] or record["selection"] != 1:
        raise NotSent(f"job {job} has no record: errcode {answer['errcode']}")
    return record["v1"]


def wait(alpha: Alpha, job: int) -> SRecV1:
    """Waits until all pages have arrived. Returns the send record."""
    told = -1
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        record = record_of(alpha, job)
        if record["status"] != told:
            told = record["status"]
            print(f"job {job}: status {told}, {record['seitenok']} of {record['seiten']} pages")
        if record["errstat"]:
            raise NotSent(f"job {job}: errstat {record['errstat']}, {record['error_string']}")
        if 0 < record["seiten"] == record["seitenok"]:
            return record
        time.sleep(0.2)
    raise NotSent(f"job {job} is not through after {PATIENCE:.0f} seconds")


def main(number: str, file: str) -> int:
    try:
        text = Path(file).read_text(encoding="utf-8")
        with Alpha(timeout=30) as alpha:
            login = log_in(alpha)
            try:
                wait(alpha, submit(alpha, number, text))
                print(f"{file} is through to {number}")
            finally:
                alpha.a_logout_1({"userid": USER, "loginid": login})
    except (NotSent, ValueError) as error:  # a ValueError is a character that cannot be sent
        print(error, file=sys.stderr)
        return 1
    except (KvrpcError, TimeoutError) as error:
        print(error, file=sys.stderr)
        return 2
    except OSError as error:  # that of the file
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]) if len(sys.argv) == 3 else __doc__)
