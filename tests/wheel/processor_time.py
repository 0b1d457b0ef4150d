"""Runs a command and fails if it took more processor time, with the processes that it waited for.

    processor_time.py SECONDS COMMAND...

Other work on the machine hardly adds to processor time, so the limit can be near what is needed.
"""

import resource
import subprocess
import sys

limit, command = float(sys.argv[1]), sys.argv[2:]
status = subprocess.run(command).returncode
used = resource.getrusage(resource.RUSAGE_CHILDREN)
seconds = used.ru_utime + used.ru_stime
print(f"{seconds:.2f} s of the processor (limit {limit:g})")
sys.exit(status or seconds > limit)
