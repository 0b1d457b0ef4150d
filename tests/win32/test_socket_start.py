"""The module's import where the socket layer does not start, and where it does."""

from wine import run

NUMBER = 10092  # what the stand-in leaves as the last error


def test_a_failure_is_shown_and_told_and_ends_the_process():
    code, output, errors = run("refusing", """
print("before", flush=True)
try:
    import kvrpc
except BaseException as error:
    print("exception", error)
print("behind")
""")
    text = f"WSAStartUp() failed, error = {NUMBER}\n"
    assert code == 1
    assert output.decode() == (
        "before\nstart of version 0x0101\n"
        f"box over the active window: text [{text}] caption [**TCP INIT ERROR**] style 16\n")
    assert errors.decode() == text + "\n"


def test_a_start_that_succeeds_says_nothing_and_is_made_once():
    code, output, errors = run("lib", "import kvrpc, importlib; importlib.reload(kvrpc)")
    assert (code, output, errors) == (0, b"", b"")
