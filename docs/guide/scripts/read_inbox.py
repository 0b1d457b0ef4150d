"""Lists the received faxes of a user and writes their pages to files.

    python read_inbox.py DIRECTORY

Exit codes: 0 all is written, 1 no login or a file that cannot be written, 2 no answer from the
server.
"""

import os
import sys
import time
from pathlib import Path

from kvrpc_tools import Alpha, KvrpcError

USER = os.environ.get("FAX_USER", "meier")
PASSWORD = os.environ.get("FAX_PASSWORD", "geheim")
RECEIVED = 2  # the compartment of received documents: the number is that of the simulator


def page_text(alpha: Alpha, fax: int, page: int) -> str:
    asked = {"userid": USER, "topf": RECEIVED, "faxid": fax, "page": page}
    return "".join(alpha.blocks("a_get_pageb_1", asked))


def save_faxes(alpha: Alpha, login: int, directory: Path) -> None:
    """Prints a line for each received fax, and writes its pages to the directory."""
    for node in alpha.blocks("a_get_e_rec_new_ll_1", {"loginid": login}):
        fax = node["data"]["v1"]
        came = time.strftime("%Y-%m-%d", time.localtime(fax["empfzeit"]))
        print(f"{fax['faxid']}: {fax['seiten']} pages from {fax['absender']}, {came}")
        for page in range(1, fax["seiten"] + 1):
            path = directory / f"fax{fax['faxid']}-{page}.txt"
            path.write_text(page_text(alpha, fax["faxid"], page), encoding="utf-8")


def main(directory: str) -> int:
    try:
        with Alpha(timeout=30) as alpha:
            session = alpha.a_login_1({"userid": USER, "passwor": PASSWORD})
            if session["err"]:
                print(f"{USER} may not log in: err {session['err']}", file=sys.stderr)
                return 1
            login = session["loginid"]
            try:
                save_faxes(alpha, login, Path(directory))
            finally:
                alpha.a_logout_1({"userid": USER, "loginid": login})
    except (KvrpcError, TimeoutError) as error:
        print(error, file=sys.stderr)
        return 2
    except OSError as error:  # that of a file
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]) if len(sys.argv) == 2 else __doc__)
