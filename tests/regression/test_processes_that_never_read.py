"""fleet.map raised BrokenPipeError when a new process died before it had read its work, if that was
more than a pipe holds. It is a failure of the one host."""

import textwrap


def test_their_hosts_have_a_failure(run_script, tmp_path):
    (tmp_path / "dying.py").write_text(textwrap.dedent("""
        import multiprocessing, os
        if multiprocessing.current_process().name != "MainProcess":
            os._exit(7)
    """), encoding="ascii")
    done = run_script(f"""
        import multiprocessing, sys
        sys.path.insert(0, {str(tmp_path)!r})
        import dying
        from kvrpc_tools import fleet
        def function(host):
            return len(host)
        function.__module__, dying.function = "dying", function
        if __name__ == "__main__":
            multiprocessing.set_start_method("spawn")
            for outcome in fleet.map([b"x" * 5_000_000] * 2, function, processes=1):
                print(type(outcome.error).__name__, "exit code 7" in str(outcome.error))
    """, timeout=60)
    assert (done.stdout, done.stderr) == ("ProcessDied True\n" * 2, "")
