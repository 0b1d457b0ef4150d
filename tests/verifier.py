"""The object that tests pass to a call for its vetting."""


class Verifier:
    """Answers each vetting with the same verdict and keeps the names that it was asked about. An
    exception as the verdict is raised."""

    def __init__(self, verdict=True):
        self.verdict = verdict
        self.names = []

    def verify_call(self, name):
        self.names.append(name)
        if isinstance(self.verdict, Exception):
            raise self.verdict
        return self.verdict
