"""What becomes of SystemExit and KeyboardInterrupt in verify_call was tested nowhere."""

import re

REFUSED = b'{"status":9,"message":"call is not allowed"}'


def run_raising(run_script, exception):
    return run_script(f"""
    import kvrpc

    class Client(kvrpc.RpcClient):
        def create(self):
            pass

    class Raising:
        def verify_call(self, name):
            raise {exception}

    print(Client("lambda").call('{{"l_version_1":0}}', Raising()), flush=True)
    """)


def test_system_exit_ends_the_process_with_its_code(run_script):
    done = run_raising(run_script, "SystemExit(7)")
    assert (done.returncode, done.stdout, done.stderr) == (7, "", "")


def test_keyboard_interrupt_refuses_the_call(run_script):
    done = run_raising(run_script, "KeyboardInterrupt")
    assert (done.returncode, done.stdout) == (0, f"{REFUSED}\n")
    assert len(re.findall("^KeyboardInterrupt", done.stderr, re.MULTILINE)) == 2
    assert "Exception ignored in: 'kvrpc.eval_verify'" in done.stderr
