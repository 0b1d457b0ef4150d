"""Runs an installation's processes: lists them, stops and starts a gateway, reads log and files."""

import time
from typing import Any, Dict

from common import Server, run
from status import print_status

GATEWAY = "mail"
LOG_FILE = "/var/log/lambda.log"
PIECE = 512  # bytes that one call can bring


def print_processes(control: Server) -> None:
    print("slot   pid  process            directory")
    for process in control.call("l_ps_1"):
        pid = process["pid"] or "-"
        print(f"{process['slot']:4} {pid:>5}  {process['cmd']:18} {process['dir']}")


def write_log(control: Server, text: str) -> None:
    control.call("l_log_1", {"origin_id": "example", "severity": 1, "data": text,
                             "time_stamp": int(time.time())})


def print_log(control: Server, most: int) -> None:
    """The last records, oldest first."""
    count = control.call("l_get_nr_recs_1")
    for number in range(max(0, count - most), count):
        record: Dict[str, Any] = control.call("l_get_rec_1", number)
        stamp = time.strftime("%H:%M:%S", time.localtime(record["time_stamp"]))
        print(f"{number:4}  {stamp}  {record['origin_id']:8} {record['data']}")


def read_file(control: Server, name: str) -> str:
    """A whole file, read piece by piece."""
    size = control.call("l_statfile_1", {"filename": name})["size"]
    text = ""
    while len(text) < size:
        piece = control.call("l_readfile_1", {"filename": name, "offset": len(text), "len": PIECE})
        if not piece["ok"] or not piece["len"]:
            break
        text += piece["data"]
    return text


def main() -> None:
    with Server("lambda") as control:
        print_status(control)
        print("\n-- processes")
        print_processes(control)

        print(f"\n-- stop the gateway {GATEWAY}")
        print("stopped:", control.call("l_stopgateway_1", GATEWAY))
        print_status(control)

        print("\n-- start it again, then one that does not exist")
        print("started:", control.call("l_startgateway_1", GATEWAY))
        print("started:", control.call("l_startgateway_1", "telegraph"))
        print_status(control)

        print("\n-- the last records of the log")
        write_log(control, "Grüße vom Beispiel")
        print_log(control, 4)

        print(f"\n-- the end of {LOG_FILE}")
        print(read_file(control, LOG_FILE)[-140:].partition("\n")[2].rstrip())


if __name__ == "__main__":
    run(main)
