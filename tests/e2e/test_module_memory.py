"""Failing allocations of the interpreter, and the memory in use after many calls."""

import os
import sys

import pytest

# Makes the address sanitizer reuse released memory at once.
NO_QUARANTINE = ":".join(
    [os.environ.get("ASAN_OPTIONS", ""), "quarantine_size_mb=0:thread_local_quarantine_size_kb=0"]
).lstrip(":")

_testcapi = pytest.importorskip("_testcapi")

# Runs `action` again and again, each time with another allocation that fails: once that one alone,
# and once that one and all after it. A run must succeed or raise MemoryError; if the allocation
# failed in the vetting, the call may be refused instead. The sweep ends when nothing has failed for
# a while.
SWEEP = """
    import json, os, sys, _testcapi
    import kvrpc

    class Frame(kvrpc.RpcClient):
        def create(self):
            pass

    class Verifier:
        def __init__(self, verdict):
            self.verdict = verdict
        def verify_call(self, name):
            return self.verdict

    allow, refuse, wrong = Verifier(True), Verifier(False), Verifier(None)
    frame = Frame("lambda")

    def sweep(action, expected, also=()):
        outcomes, calm, number = set(), 0, 0
        while calm < 40:
            undisturbed = True
            for end in (number + 1, 0):
                _testcapi.set_nomemory(number, end)
                try:
                    result = action()
                except MemoryError:
                    result = MemoryError
                finally:
                    _testcapi.remove_mem_hooks()
                undisturbed = undisturbed and result == expected
                if result != expected:
                    outcomes.add(result)
                del result
            calm = calm + 1 if undisturbed else 0
            number += 1
        unexpected = outcomes - {MemoryError, *also}
        assert not unexpected, unexpected
        assert action() == expected
        return number - calm

    def status(text, verifier, client=frame):
        return lambda: client.call(text, verifier)[:11]

    refused = b'{"status":9'
"""


def swept(done):
    assert done.returncode == 0, done.stderr[-3000:]
    count = int(done.stdout.split()[-1])
    assert count > 0, "no allocation failed"
    return count


@pytest.mark.parametrize(
    "text, verifier, expected",
    [
        ('{"l_startserver_1":5}', "allow", 1),
        ('{"l_version_1":0}', "allow", 3),
        ('{"l_nothing_1":0}', "allow", 4),
        ("[]", "allow", 5),
        ("", "allow", 6),
        ('{"l_version_1":0}', "refuse", 9),
    ],
)
def test_a_call_of_each_status_without_connection(run_script, text, verifier, expected):
    swept(
        run_script(
            SWEEP
            + f"""
    also = [refused]
    print(sweep(status({text!r}, {verifier}), b'{{"status":{expected}', also))
    """
        )
    )


def test_a_failing_vetting(run_script):
    """The report itself runs out of memory as well."""
    swept(
        run_script(
            SWEEP
            + """
    sys.excepthook = sys.unraisablehook = lambda *failure: None
    print(sweep(status('{"l_version_1":0}', wrong), refused))
    """
        )
    )


def test_a_report_names_the_exception(run_script):
    """Also if memory is short for the name only, and there again a moment later."""
    swept(
        run_script(
            SWEEP
            + """
    reported = []
    sys.excepthook = lambda *failure: None
    sys.unraisablehook = lambda failure: reported.append(failure.exc_type)
    count = sweep(status('{"l_version_1":0}', allow), b'{"status":3', [refused])
    sys.excepthook = sys.__excepthook__
    assert set(reported) == {MemoryError}, set(reported)
    print(count)
    """
        )
    )


@pytest.mark.skipif(
    sys.version_info >= (3, 13),
    reason="this interpreter prints with a library that never ends when no memory is left",
)
def test_a_failing_vetting_that_prints(run_script):
    swept(
        run_script(
            SWEEP
            + """
    print(sweep(status('{"l_version_1":0}', wrong), refused))
    """
        )
    )


def test_construction_without_connection(run_script):
    swept(
        run_script(
            SWEEP
            + """
    print(sweep(lambda: type(Frame("lambda", host=None)), Frame))
    """
        )
    )


def test_construction_with_wrong_arguments(run_script):
    swept(
        run_script(
            SWEEP
            + """
    def wrong_keyword():
        try:
            Frame("lambda", other=1)
        except TypeError:
            return TypeError
    print(sweep(wrong_keyword, TypeError))
    """
        )
    )


def test_a_creation_that_fails(run_script):
    swept(
        run_script(
            SWEEP
            + """
    def create():
        try:
            kvrpc.RpcClient("delta", "host")
        except kvrpc.ClntCreateError:
            return kvrpc.ClntCreateError
    print(sweep(create, kvrpc.ClntCreateError))
    """
        )
    )


def test_a_connection_and_a_call_that_is_answered(run_script, lambda_peer):
    peer = lambda_peer("answer")
    swept(
        run_script(
            SWEEP
            + f"""
    os.environ["KORVEXRPCPORT"] = "{peer.base_port}"
    def call():
        client = kvrpc.RpcClient("lambda", "127.0.0.1")
        try:
            return client.call('{{"l_version_1":0}}', allow)[:11]
        finally:
            client.close()
    sockets = lambda: len(os.listdir("/proc/self/fd"))
    before = sockets()
    print(sweep(call, b'{{"status":0', [refused]))
    assert sockets() == before, (before, sockets())
    """
        )
    )


@pytest.mark.skipif(
    sys.version_info >= (3, 13),
    reason="dictionaries of this interpreter crash when an allocation fails as they grow",
)
def test_the_import(run_script):
    """Each failing import is an error of its own, and the next one succeeds."""
    done = run_script("""
        import _testcapi, importlib.util
        spec = importlib.util.find_spec("kvrpc")
        failures = 0
        for number in range(100000):
            module = importlib.util.module_from_spec(spec)
            _testcapi.set_nomemory(number, number + 1)
            try:
                spec.loader.exec_module(module)
                break
            except (MemoryError, ImportError) as error:
                failures += 1
            finally:
                _testcapi.remove_mem_hooks()
        print(module.ClntRpcError("x").args[0], module.RpcClient.__name__, failures)
    """)
    assert done.returncode == 0, done.stderr[-3000:]
    assert done.stdout.split()[:2] == ["x", "RpcClient"]
    assert int(done.stdout.split()[2]) > 20


@pytest.mark.parametrize(
    "action",
    [
        """client.call("", allow)""",
        """client.call('{"l_version_1":0}', allow)""",
        """client.call('{"l_version_1":0}', wrong)""",
        """client.call(Bytes(b'{"l_nothing_1":0}'), allow)""",
        """Frame("lambda", Bytes(b"host"))""",
        """failing(lambda: kvrpc.RpcClient("delta", Bytes(b"host")))""",
        """failing(lambda: kvrpc.RpcClient("delta", other=1))""",
        """failing(lambda: client.call(5, allow))""",
        """failing(lambda: Frame("gamma").call("", allow))""",
        """failing(client.__reduce__)""",
    ],
)
def test_nothing_is_left_behind(run_script, action):
    """Repeats each action many times: neither the interpreter's blocks nor the process may grow."""
    done = run_script(
        f"""
        import gc, sys
        import kvrpc
        class Frame(kvrpc.RpcClient):
            def create(self):
                pass
        class Verifier:
            def __init__(self, verdict):
                self.verdict = verdict
            def verify_call(self, name):
                return self.verdict
        class Bytes:
            def __init__(self, value):
                self.value = value
            def encode(self, codec):
                return memoryview(self.value)
        def failing(action):
            try:
                action()
            except Exception:
                return
            raise AssertionError("did not fail")
        sys.excepthook = sys.unraisablehook = lambda *failure: None
        allow, wrong = Verifier(True), Verifier(None)
        client = Frame("lambda")
        def resident():
            with open("/proc/self/statm") as file:
                return int(file.read().split()[1]) * 4096
        def repeat(count):
            for _ in range(count):
                {action}
            gc.collect()
            return sys.getallocatedblocks(), resident()
        repeat(2000)
        first = repeat(10)
        last = repeat(20000)
        print(last[0] - first[0], last[1] - first[1])
    """,
        environment={"ASAN_OPTIONS": NO_QUARANTINE},
    )
    assert done.returncode == 0, done.stderr[-3000:]
    blocks, size = map(int, done.stdout.split())
    assert blocks < 20
    assert size < 2_000_000
