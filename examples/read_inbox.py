"""Reads a user's inbox: lists the received faxes and shows the pages of the first one.

The interface gives no values for compartments. The number below is the simulator's own.
"""

import time
from typing import Any, Dict

from common import Server, chain, run
from send_fax import USER, log_in

RECEIVED = 2  # the compartment of a user's received documents
BLOCK = 64    # characters a call; small, to show how blocks are put together


def read_page(alpha: Server, fax: int, page: int) -> str:
    """A page, block by block."""
    asked: Dict[str, Any] = {"userid": USER, "topf": RECEIVED, "faxid": fax, "page": page,
                             "code": 0, "lng": BLOCK}
    text = ""
    while True:
        block = alpha.call("a_get_pageb_1", {**asked, "pos": len(text)})
        if not block["ok"] or not block["lng"]:
            return text
        text += block["data"]


def main() -> None:
    with Server("alpha") as alpha:
        login = log_in(alpha)
        inbox = alpha.call("a_get_e_rec_new_ll_1", {"loginid": login, "pos": 0, "anz": 50})
        print(f"{inbox['anz']} in the inbox of {USER}")
        faxes = [node["data"]["v1"] for node in chain(inbox["first"])]
        for fax in faxes:
            stamp = time.strftime("%d.%m.%Y %H:%M", time.localtime(fax["empfzeit"]))
            print(f"  {fax['faxid']:3}  {stamp}  {fax['absender']:20} {fax['seiten']} pages  "
                  f"{fax['comment']}")
        for page in range(1, faxes[0]["seiten"] + 1) if faxes else ():
            print(f"-- page {page}")
            print(read_page(alpha, faxes[0]["faxid"], page), end="")
        alpha.call("a_logout_1", {"userid": USER, "loginid": login})


if __name__ == "__main__":
    run(main)
