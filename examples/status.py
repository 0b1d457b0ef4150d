"""Prints the state of an installation.

Start `python -m kvrpc_tools.simulator` and set the variable that it prints, or run both in one go:
`python -m kvrpc_tools.simulator --run examples/status.py`.
"""

from common import Server, run

# As the simulator numbers them.
STATES = {0: "stopped", 1: "running", 2: "partly running"}

PARTS = (("fax servers", "state_fax"), ("gateways", "state_gateways"),
         ("daemons", "state_daemons"), ("drivers", "state_drivers"))


def version_text(version: int) -> str:
    """30500 is version 3.5.0."""
    return f"{version // 10000}.{version // 100 % 100}.{version % 100}"


def print_status(control: Server) -> None:
    print(f"process control, version {version_text(control.call('l_version_1'))}")
    state = control.call("l_get_status_1")
    for title, key in PARTS:
        print(f"  {title:12} {STATES.get(state[key], state[key])}")


def main() -> None:
    with Server("lambda") as control:
        print_status(control)


if __name__ == "__main__":
    run(main)
