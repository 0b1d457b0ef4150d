"""On Windows, a message went to the handle that was the standard error at the import.
os.dup2(x, 2) closes that handle, and its number may then be another file of the script."""

import subprocess
import sys

SCRIPT = """if True:
    import os
    import sys
    import kvrpc

    def faulty_map():
        os.environ.update(KORVEXRPCMAP="a", KORVEXRPCPORT="1")
        try:
            kvrpc.RpcClient("lambda", "127.0.0.1")
        except kvrpc.ClntCreateError:
            pass

    def opened(name):
        return os.open(name, os.O_CREAT | os.O_RDWR)

    first = os.dup(2)
    os.dup2(opened("redirected"), 2)
    others = [opened(f"other {number}") for number in range(8)]
    faulty_map()
    os.dup2(first, 2)
    faulty_map()
    os.close(2)
    faulty_map()
"""
MESSAGE = "bad KORVEXRPCMAP: syntax error near character 3\n"


def test_a_message_goes_to_what_is_the_standard_error_at_that_moment(module, tmp_path):
    done = subprocess.run([sys.executable, "-c", SCRIPT], cwd=tmp_path, capture_output=True,
                          encoding="utf-8", timeout=60)
    texts = {path.name: path.read_text(encoding="utf-8") for path in tmp_path.iterdir()}
    assert (done.returncode, done.stdout, done.stderr) == (0, "", MESSAGE)
    assert texts == {"redirected": MESSAGE, **{f"other {number}": "" for number in range(8)}}
