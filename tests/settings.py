"""The environments that tests give to the processes they start."""

import os
import re
from pathlib import Path

# What leads a client of the module to a server, as the module itself names it.
HEADER = Path(__file__).resolve().parents[1] / "src" / "rpc" / "environment.h"
SETTINGS = re.findall(r'char \w+\[\] = "(\w+)";', HEADER.read_text(encoding="utf-8"))


def clean_environment():
    """Returns the environment for a child process, without any setting of the module."""
    return {name: value for name, value in os.environ.items() if name not in SETTINGS}


def plain_environment():
    """Returns the environment for a process that loads no module: no sanitizer watches it."""
    return {name: value for name, value in os.environ.items()
            if name not in ("LD_PRELOAD", "PYTHONMALLOC")}
