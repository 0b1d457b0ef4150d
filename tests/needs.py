"""What a test does if the machine lacks a program or a right that it needs."""

import os
import shutil

import pytest


def missing(reason):
    """Skips the test. Fails it if continuous integration requires everything to be there."""
    if os.environ.get("KVRPC_REQUIRE_PEERS"):
        pytest.fail(reason)
    pytest.skip(reason)


def need(*programs):
    """Ends the test as `missing` does if one of the programs is not on the path."""
    for program in programs:
        if shutil.which(program) is None:
            missing(f"{program} is missing")
