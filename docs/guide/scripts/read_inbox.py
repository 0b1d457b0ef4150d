"""Lists the received faxes of a user and writes their pages to files.

    python read_inbox.py DIRECTORY
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


def main(directory: str) -> int:
    try:
        with Alpha(timeout=30) as alpha:
            session = alpha.a_login_1({"userid": USER, "passwor": PASSWORD})
            if session["err"]:
                print(f"{USER} may not log in: err {session['err']}", file=sys.stderr)
                return 1
            login = session["loginid"]
            for node in alpha.blocks("a_get_e_rec_new_ll_1", {"loginid": login}):
                fax = node["data"]["v1"]
                came = time.strftime("%Y-%m-%d", time.localtime(fax["empfzeit"]))
                print(f"{fax['faxid']}: {fax['seiten']} pages from {fax['absender']}, {came}")
                for page in range(1, fax["seiten"] + 1):
                    path = Path(directory) / f"fax{fax['faxid']}-{page}.txt"
                    path.write_text(page_text(alpha, fax["faxid"], page), encoding="utf-8")
            alpha.a_logout_1({"userid": USER, "loginid": login})
    except (KvrpcError, TimeoutError) as error:
        print(error, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]) if len(sys.argv) == 2 else __doc__)
