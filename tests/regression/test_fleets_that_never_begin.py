"""fleet.map waited for ever if no host could be pickled, because then no process had any work."""

import pytest


@pytest.mark.parametrize(("hosts", "outcomes"), [
    (["lock"], ["TypeError"]),
    (["lock", "lock", "lock"], ["TypeError"] * 3),
    (["'a'", "lock"], ["1", "TypeError"]),
])
def test_a_host_that_cannot_be_pickled_is_a_failure(run_script, hosts, outcomes):
    done = run_script(f"""
        import threading
        from kvrpc_tools import fleet
        if __name__ == "__main__":
            lock = threading.Lock()
            for outcome in fleet.map([{", ".join(hosts)}], len, processes=1, ordered=True):
                print(outcome.value or type(outcome.error).__name__)
    """, timeout=30)
    assert (done.stdout.split(), done.stderr) == (outcomes, "")
