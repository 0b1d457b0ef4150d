"""Restarts a gateway if it hangs. Made to be run every few minutes, by cron for example.

    python restart_gateway.py [NAME]

Exit codes: 0 it runs, 1 it could not be restarted, 2 no answer from the server.
"""

import sys
import time

from kvrpc_tools import KvrpcError, Lambda
from kvrpc_tools.results import PsEntry

HEALTHY = 1     # the `status` of a process that works: look at what l_ps_1 shows on your server
PATIENCE = 20.0  # seconds for the old process to go, and for the new one to come


def find(control: Lambda, name: str) -> PsEntry:
    for process in control.l_ps_1():
        if process["cmd"] == name:
            return process
    raise LookupError(f"there is no process {name}")


def works(process: PsEntry) -> bool:
    return process["pid"] != 0 and process["status"] == HEALTHY


def wait_for(control: Lambda, name: str, running: bool) -> bool:
    """Waits until the process runs, or until it has gone. Returns whether that came to pass."""
    end = time.monotonic() + PATIENCE
    while (find(control, name)["pid"] != 0) != running:
        if time.monotonic() > end:
            return False
        time.sleep(0.5)
    return True


def restart(control: Lambda, process: PsEntry) -> bool:
    name = process["cmd"]
    control.l_stopgateway_1(name)
    if not wait_for(control, name, running=False):
        print(f"{name} does not stop; killing process {process['pid']}")
        control.l_kill_1(process["pid"])
        if not wait_for(control, name, running=False):
            return False
    return control.l_startgateway_1(name) and wait_for(control, name, running=True)


def main(name: str = "mail") -> int:
    try:
        with Lambda(timeout=10) as control:
            process = find(control, name)
            if works(process):
                print(f"{name} works: process {process['pid']}")
                return 0
            print(f"{name} hangs: process {process['pid']}, status {process['status']}")
            if not restart(control, process):
                print(f"{name} could not be restarted", file=sys.stderr)
                return 1
            print(f"{name} works again: process {find(control, name)['pid']}")
            return 0
    except LookupError as error:
        print(error, file=sys.stderr)
        return 1
    except (KvrpcError, TimeoutError) as error:
        print(error, file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:2]))
