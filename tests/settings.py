"""The environment variables that lead a client of the module to a server."""

import os

SETTINGS = (
    "ALPHAHOST OMEGAHOST LOCALHOST ZOLMHOST KORVEXRPCOFFSET RPCTRANSPORT KORVEXRPCPORT KORVEXRPCMAP"
).split()


def clean_environment():
    """Returns the environment for a child process, without any setting of the module."""
    return {name: value for name, value in os.environ.items() if name not in SETTINGS}
