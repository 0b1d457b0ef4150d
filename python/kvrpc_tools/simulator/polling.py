"""Which sockets are ready.

    ready = Poll()
    ready.register(sock, READ)
    for number, events in ready.poll(0.5): ...

`number` is the socket's file descriptor. Other events than READ and WRITE mean both: then reading
or writing fails with the reason.

On Linux this is epoll itself, because the loops of the module `selectors` in Python take a tenth of
a small call.
"""

from __future__ import annotations

import select
import selectors
import sys
from typing import List, Tuple

if sys.platform == "linux":
    READ, WRITE = select.EPOLLIN, select.EPOLLOUT
    Poll = select.epoll
else:
    READ, WRITE = selectors.EVENT_READ, selectors.EVENT_WRITE

    class Poll:
        """As much of `select.epoll` as the simulator needs, on any system."""

        def __init__(self) -> None:
            self._selector = selectors.DefaultSelector()
            self.register = self._selector.register
            self.modify = self._selector.modify
            self.unregister = self._selector.unregister
            self.close = self._selector.close

        def poll(self, seconds: float) -> List[Tuple[int, int]]:
            """Returns the sockets that are ready, after so many seconds at most."""
            return [(key.fd, events) for key, events in self._selector.select(seconds)]
