"""The vetting callback: verdicts, conversions, and what failures print."""

import sys

import pytest

ALLOWED = b'{"status":4,"message":"unknown function"}'
REFUSED = b'{"status":9,"message":"call is not allowed"}'
TEXT = '{"l_nothing_1":0}'


@pytest.fixture(autouse=True)
def reports_to_standard_error(monkeypatch):
    """Restores the interpreter's hook, because the test runner catches unraisable exceptions."""
    monkeypatch.setattr(sys, "unraisablehook", sys.__unraisablehook__)


class Int:
    def __init__(self, value):
        self.value = value

    def __repr__(self):
        return f"Int({self.value!r})"

    def __int__(self):
        return self.value


class Index:
    def __index__(self):
        return 1

    def __repr__(self):
        return "Index()"


class Plain:
    def __repr__(self):
        return "Plain()"


class Number(int):
    pass


@pytest.mark.parametrize(
    "verdict",
    [True, 1, -1, 2**31 - 1, -(2**31), 1.5, -1.5, Int(7), Number(3)],
    ids=repr,
)
def test_anything_but_0_allows(frame_client, verifier, verdict, capfd):
    assert frame_client("lambda").call(TEXT, verifier(verdict)) == ALLOWED
    assert capfd.readouterr().err == ""


@pytest.mark.parametrize("verdict", [False, 0, 0.5, -0.5, 0.0, Int(0), Number(0)], ids=repr)
def test_0_refuses(frame_client, verifier, verdict, capfd):
    assert frame_client("lambda").call(TEXT, verifier(verdict)) == REFUSED
    assert capfd.readouterr().err == ""


NO_INTEGER = "TypeError: an integer is required"
NO_COMPLEX = (
    NO_INTEGER if sys.version_info >= (3, 10) else "TypeError: can't convert complex to int"
)
TOO_LARGE = "OverflowError: value too large to convert to int"


@pytest.mark.parametrize(
    "verdict, error",
    [
        (None, NO_INTEGER),
        ("1", NO_INTEGER),
        (b"1", NO_INTEGER),
        ([], NO_INTEGER),
        (Plain(), NO_INTEGER),
        (Index(), NO_INTEGER),
        (1j, NO_COMPLEX),
        (2**31, TOO_LARGE),
        (-(2**31) - 1, TOO_LARGE),
        (2**63, TOO_LARGE),
        (-(2**100), TOO_LARGE),
        (1e10, TOO_LARGE),
        (Int(2**40), TOO_LARGE),
        (float("nan"), "ValueError: cannot convert float NaN to integer"),
        (float("inf"), "OverflowError: cannot convert float infinity to integer"),
        (Int("x"), "TypeError: __int__ returned non-int (type str)"),
    ],
    ids=repr,
)
def test_a_verdict_that_is_no_int_refuses_and_is_printed_twice(
    frame_client, verifier, verdict, error, capfd
):
    assert frame_client("lambda").call(TEXT, verifier(verdict)) == REFUSED
    lines = capfd.readouterr().err.splitlines()
    assert lines[0] == "Traceback (most recent call last):"
    assert [line for line in lines if line == error] == [error] * 2
    assert "Exception ignored in: 'kvrpc.eval_verify'" in lines


@pytest.mark.parametrize("obj", [None, 5, Plain(), "text"], ids=repr)
def test_an_object_without_verify_call_refuses(frame_client, obj, capfd):
    assert frame_client("lambda").call(TEXT, obj) == REFUSED
    assert "AttributeError" in capfd.readouterr().err


def test_a_verify_call_that_is_not_callable_refuses(frame_client, capfd):
    class Verifier:
        verify_call = 5

    assert frame_client("lambda").call(TEXT, Verifier()) == REFUSED
    assert "TypeError: 'int' object is not callable" in capfd.readouterr().err


def test_any_object_with_the_attribute_will_do(frame_client, capfd):
    import types

    holder = types.SimpleNamespace(verify_call=lambda name: name == "l_nothing_1")
    assert frame_client("lambda").call(TEXT, holder) == ALLOWED
    assert frame_client("lambda").call('{"l_other_1":0}', holder) == REFUSED
    assert capfd.readouterr().err == ""


def test_the_name_is_decoded_and_handed_over_alone(frame_client, allow):
    client = frame_client("lambda")
    for name in ("", "a", "\u00e4\u20ac\U0001f4e0", "x" * 100_000):
        assert client.call('{"%s":0}' % name, allow) == ALLOWED
        assert allow.names[-1] == name and type(allow.names[-1]) is str


def test_a_name_that_is_not_utf_8_refuses(frame_client, allow, capfd):
    class Text:
        def encode(self, codec):
            return b'{"\xff\xfe":0}'

    assert frame_client("lambda").call(Text(), allow) == REFUSED
    assert allow.names == []
    assert capfd.readouterr().err.count("UnicodeDecodeError: 'utf-8' codec can't decode") == 2


def test_a_failing_vetting_prints_its_traceback_and_the_report(run_script):
    done = run_script("""
        import kvrpc
        class Client(kvrpc.RpcClient):
            def create(self):
                pass
        class Verifier:
            def verify_call(self, name):
                raise LookupError("asked for " + name)
        print(Client("lambda").call('{"l_version_1":0}', Verifier()))
    """)
    assert done.stdout == repr(REFUSED) + "\n"
    traceback = [
        "Traceback (most recent call last):",
        '  File "<string>", line 9, in <module>',
        '  File "<string>", line 8, in verify_call',
        "LookupError: asked for l_version_1",
    ]
    lines = [line for line in done.stderr.splitlines() if not line.startswith("    ")]
    assert lines == [  # newer interpreters quote the source as well
        *traceback,
        "Exception ignored in: 'kvrpc.eval_verify'",
        *traceback,
    ]


def test_a_failed_vetting_is_what_the_post_mortem_debugger_finds(run_script):
    done = run_script("""
        import kvrpc, sys
        class Client(kvrpc.RpcClient):
            def create(self):
                pass
        Client("lambda").call('{"l_version_1":0}', None)
        print(sys.last_type.__name__, sys.exc_info())
    """)
    assert done.stdout == "AttributeError (None, None, None)\n"


def test_the_hooks_of_the_interpreter_are_used(frame_client, verifier, monkeypatch):
    printed, ignored = [], []
    monkeypatch.setattr(sys, "excepthook", lambda *failure: printed.append(failure[0]))
    monkeypatch.setattr(sys, "unraisablehook", ignored.append)
    assert frame_client("lambda").call(TEXT, verifier(None)) == REFUSED
    assert printed == [TypeError]
    assert [(each.exc_type, each.object) for each in ignored] == [(TypeError, "kvrpc.eval_verify")]
    ignored.clear()


def test_a_system_exit_ends_the_process(run_script):
    done = run_script("""
        import kvrpc, sys
        class Client(kvrpc.RpcClient):
            def create(self):
                pass
        class Verifier:
            def verify_call(self, name):
                sys.exit(7)
        Client("lambda").call('{"l_version_1":0}', Verifier())
        print("still here")
    """)
    assert (done.returncode, done.stdout, done.stderr) == (7, "", "")


def test_an_interrupt_in_the_callback_refuses(run_script):
    done = run_script("""
        import kvrpc
        class Client(kvrpc.RpcClient):
            def create(self):
                pass
        class Verifier:
            def verify_call(self, name):
                raise KeyboardInterrupt
        print(Client("lambda").call('{"l_version_1":0}', Verifier()))
    """)
    assert (done.returncode, done.stdout) == (0, repr(REFUSED) + "\n")
    assert done.stderr.count("\nKeyboardInterrupt") == 2


def test_the_exception_being_handled_stays_so(frame_client, verifier, capfd):
    client = frame_client("lambda")
    try:
        raise LookupError("outer")
    except LookupError as error:
        assert client.call(TEXT, verifier(None)) == REFUSED
        assert sys.exc_info()[1] is error
    assert "LookupError: outer" in capfd.readouterr().err
