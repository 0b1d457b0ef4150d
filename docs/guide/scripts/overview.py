"""Prints how many sessions there are, the users, and the jobs that wait to be sent.

    python overview.py
"""

import os
import sys
import time

from kvrpc_tools import Alpha, KvrpcError, Omega

USER = os.environ.get("FAX_USER", "meier")
PASSWORD = os.environ.get("FAX_PASSWORD", "geheim")


def print_sessions(alpha: Alpha) -> None:
    """Prints the number of sessions, because no procedure lists them."""
    counts = alpha.a_get_configdata_new_1(False)["v1"]
    print(f"{counts['aktlogins']} of {counts['maxlogins']} sessions are open")


def print_users(omega: Omega) -> None:
    print("users:")
    for node in omega.o_get_user_ll_1()["first"]:
        user = node["data"]
        print(f"  {user['userid']:10} {user['name']:20} on {user['alphaid']}")


def print_queue(alpha: Alpha) -> None:
    """Prints the jobs of all users that wait for a line."""
    answer = alpha.a_get_sendjob_ll_1({"selection": 0, "v0": {"anz": 1000}})
    print(f"{answer['anz']} queued:")
    for node in answer["first"]:
        if node["data"]["selection"] == 0:
            job = node["data"]["v0"]["s_rec"]
            made = time.strftime("%d.%m. %H:%M", time.localtime(job["crezeit"]))
            print(f"  job {job['faxid']} of {job['userid']} to {job['empfnr']}, made {made}")


def print_own_jobs(alpha: Alpha, login: int) -> None:
    """Prints all jobs of this user, whatever became of them."""
    print(f"jobs of {USER}:")
    for node in alpha.blocks("a_get_s_rec_new_ll_1", {"selection": 1, "v1": {"loginid": login}}):
        if node["data"]["selection"] == 1:
            job = node["data"]["v1"]
            print(f"  job {job['faxid']} to {job['empfnr']}: status {job['status']}, "
                  f"{job['seitenok']} of {job['seiten']} pages")


def main() -> int:
    try:
        with Alpha(timeout=10) as alpha, Omega(timeout=10) as omega:
            session = alpha.a_login_1({"userid": USER, "passwor": PASSWORD})
            try:
                print_sessions(alpha)
                print_users(omega)
                print_queue(alpha)
                if session["err"] == 0:
                    print_own_jobs(alpha, session["loginid"])
            finally:
                if session["err"] == 0:
                    alpha.a_logout_1({"userid": USER, "loginid": session["loginid"]})
    except (KvrpcError, TimeoutError) as error:
        print(error, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
