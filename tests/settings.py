"""The environments that tests give to the processes they start."""

import os

# What leads a client of the module to a server.
SETTINGS = (
    "ALPHAHOST OMEGAHOST LOCALHOST ZOLMHOST KORVEXRPCOFFSET RPCTRANSPORT KORVEXRPCPORT KORVEXRPCMAP"
).split()


def clean_environment():
    """Returns the environment for a child process, without any setting of the module."""
    return {name: value for name, value in os.environ.items() if name not in SETTINGS}


def plain_environment():
    """Returns the environment for a process that loads no module: no sanitizer watches it."""
    return {name: value for name, value in os.environ.items()
            if name not in ("LD_PRELOAD", "PYTHONMALLOC")}
