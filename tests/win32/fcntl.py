"""As much of the module of this name as the end-to-end tests use; Windows has none."""

import msvcrt
import time

LOCK_EX = 2


def flock(file, operation):
    """Waits for the file's lock, which lasts until the file is closed."""
    assert operation == LOCK_EX
    while True:
        try:
            file.seek(0)
            msvcrt.locking(file.fileno(), msvcrt.LK_NBLCK, 1)
            return
        except OSError:
            time.sleep(0.05)
