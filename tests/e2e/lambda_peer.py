"""The fault peer as the server `lambda`, with a word for what it does with each call:

    answer   return the result of the procedure
    slow     the same, after half a second
    hang     do not answer
    drop     close the connection

The last word applies to all later calls. Its events are words as well:

    open     a connection was accepted
    call N   a call of procedure N arrived
    gone     the client closed a connection
"""

from peer.started import Call, FaultPeer

ACTIONS = {
    "answer": {},
    "slow": {"delay": 0.5},
    "hang": [],
    "drop": {"cut": 0, "then": "close"},
}


class LambdaPeer:
    def __init__(self, actions):
        self._peer = FaultPeer()
        self.base_port = self._peer.base_port("lambda")
        steps = [ACTIONS[action] for action in actions]
        self._peer.script(*steps, otherwise=steps[-1])

    def event(self, seconds=20):
        """Returns the next event. Raises TimeoutError if none comes in time."""
        event = self._peer.event(seconds)
        if event["event"] == "call":
            return f"call {Call.of(event).procedure}"
        return event["event"]

    def events(self, count):
        return [self.event() for _ in range(count)]

    def is_silent(self, seconds=0.3):
        try:
            self.event(seconds)
        except TimeoutError:
            return True
        return False

    def stop(self):
        self._peer.stop()
