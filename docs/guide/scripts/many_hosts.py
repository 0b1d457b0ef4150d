"""Prints the state of many installations, asked at the same time.

    python many_hosts.py HOST...
"""

import sys
from typing import List

from kvrpc_tools import Lambda, fleet
from kvrpc_tools.results import GetStatusRes


def state_of(host: str) -> GetStatusRes:
    """Runs in a process of its own, one for each host."""
    with Lambda(host, timeout=30) as control:
        return control.l_get_status_1()


def main(hosts: List[str]) -> int:
    failures = 0
    for outcome in fleet.map(hosts, state_of, ordered=True):
        if outcome.value is None:
            failures += 1
            print(f"{outcome.host}: {outcome.error}")
        else:
            print(f"{outcome.host}: gateways {outcome.value['state_gateways']}, "
                  f"drivers {outcome.value['state_drivers']}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]) if len(sys.argv) > 1 else __doc__)
