"""The import of the module: its objects, its one interpreter, and its warning."""

import os
import pathlib
import subprocess
import sys

import pytest

INTERPRETER_TEXT = (
    "Interpreter change detected - this module can only be loaded into one interpreter per process."
)
AGAIN_TEXT = "Module 'kvrpc' has already been imported. Re-initialisation is not supported."


def test_publishes_its_three_classes_and_an_empty_test_dictionary(module):
    public = {name for name in vars(module) if not name.startswith("__")}
    assert public == {"ClntCreateError", "ClntRpcError", "RpcClient"}
    assert module.__test__ == {} and type(module.__test__) is dict


def test_has_no_functions_and_no_docstring(module):
    assert module.__doc__ is None
    kinds = {type(value) for name, value in vars(module).items() if not name.startswith("__")}
    assert kinds == {type}


def test_takes_over_the_attributes_of_its_import_spec(module):
    spec = module.__spec__
    assert module.__name__ == "kvrpc"
    assert module.__file__ == spec.origin
    assert module.__loader__ is spec.loader
    assert module.__package__ == spec.parent == ""
    assert not hasattr(module, "__path__")


def test_a_search_path_in_the_import_spec_becomes_the_path(run_script):
    done = run_script("""
        import importlib.util
        spec = importlib.util.find_spec("kvrpc")
        spec.submodule_search_locations = ["here"]
        module = importlib.util.module_from_spec(spec)
        print(module.__path__)
    """)
    assert (done.stdout, done.stderr) == ("['here']\n", "")


def test_exports_its_entry_point_and_nothing_else(module):
    import subprocess

    listing = subprocess.run(
        ["nm", "-D", "--defined-only", module.__file__], capture_output=True, encoding="ascii"
    )
    assert listing.returncode == 0
    functions = [line.split()[2] for line in listing.stdout.splitlines() if line.split()[1] == "T"]
    assert "PyInit_kvrpc" in functions
    if "__asan" not in pathlib.Path(module.__file__).read_bytes().decode("latin-1"):
        assert functions == ["PyInit_kvrpc"]


def test_a_second_import_gets_the_same_object(run_script):
    """In a process that does not look for what it leaves: the interpreter loses a byte by it."""
    done = run_script("""
        import os, sys
        import kvrpc as first
        del sys.modules["kvrpc"]
        import kvrpc as second
        print(second is first, sys.modules["kvrpc"] is first, second.RpcClient.__name__, flush=True)
        os._exit(0)
    """)
    assert (done.stdout, done.stderr) == ("True True RpcClient\n", "")


def test_executing_again_changes_nothing(module):
    before = dict(vars(module))
    module.__spec__.loader.exec_module(module)
    assert dict(vars(module)) == before


def test_a_second_module_object_is_refused(run_script):
    done = run_script("""
        import importlib.util
        spec = importlib.util.find_spec("kvrpc")
        first = importlib.util.module_from_spec(spec)
        second = importlib.util.module_from_spec(spec)
        assert first is not second
        spec.loader.exec_module(first)
        try:
            spec.loader.exec_module(second)
        except RuntimeError as error:
            print(error)
        import kvrpc
        print(kvrpc is first)
    """)
    assert (done.stdout, done.stderr) == (AGAIN_TEXT + "\nTrue\n", "")


def test_joins_sys_modules_unless_an_entry_exists(run_script):
    done = run_script("""
        import importlib.util, sys
        spec = importlib.util.find_spec("kvrpc")
        module = importlib.util.module_from_spec(spec)
        sys.modules["kvrpc"] = "mine"
        spec.loader.exec_module(module)
        print(sys.modules["kvrpc"], hasattr(module, "RpcClient"))
    """)
    assert (done.stdout, done.stderr) == ("mine True\n", "")


def test_executing_the_module_enters_it_into_sys_modules(run_script):
    done = run_script("""
        import importlib.util, sys
        spec = importlib.util.find_spec("kvrpc")
        module = importlib.util.module_from_spec(spec)
        assert "kvrpc" not in sys.modules
        spec.loader.exec_module(module)
        print(sys.modules["kvrpc"] is module)
    """)
    assert (done.stdout, done.stderr) == ("True\n", "")


@pytest.mark.parametrize("first_in_main", [True, False])
def test_another_interpreter_of_the_process_is_refused(run_script, first_in_main):
    """Also when the first import of all failed there: the first interpreter counts."""
    done = run_script(f"""
        import _testcapi
        attempt = '''
        try:
            import kvrpc
            print("imported", flush=True)
        except ImportError as error:
            print(error, flush=True)
        '''
        import textwrap
        attempt = textwrap.dedent(attempt)
        if {first_in_main}:
            exec(attempt)
        _testcapi.run_in_subinterp(attempt)
        exec(attempt)
    """)
    outcome = done.stdout.splitlines()
    if first_in_main:
        assert outcome == ["imported", INTERPRETER_TEXT, "imported"]
    else:
        assert outcome == ["imported", INTERPRETER_TEXT]


def test_imports_without_a_warning(run_script):
    done = run_script("import kvrpc", "-W", "error")
    assert (done.returncode, done.stderr) == (0, "")


ASK_VERSION = """
import ctypes
version = ctypes.CDLL(None).Py_GetVersion
version.restype = ctypes.c_char_p
print(version().decode())
"""


@pytest.fixture
def other_version(tmp_path):
    """The environment of an interpreter that says that it is release 3.8."""
    source = tmp_path / "version.c"
    source.write_text('const char *Py_GetVersion(void) { return "3.8.1 (other)"; }\n')
    shim = tmp_path / "version.so"
    plain = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    subprocess.run(["cc", "-shared", "-fPIC", "-o", str(shim), str(source)], check=True, env=plain)
    preloaded = [os.environ.get("LD_PRELOAD"), str(shim)]
    other = {"LD_PRELOAD": " ".join(filter(None, preloaded))}
    text = subprocess.run([sys.executable, "-c", ASK_VERSION], env={**os.environ, **other},
                          stdout=subprocess.PIPE, check=True).stdout
    if not text.startswith(b"3.8.1"):
        pytest.skip("an interpreter without a shared library cannot be given another version text")
    return other


def test_another_release_of_the_interpreter_is_warned_of(run_script, other_version):
    script = """
        import warnings
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            import kvrpc
        for each in caught:
            print(each.category.__name__, each.message)
        print(kvrpc.RpcClient.__name__)
    """
    done = run_script(script, environment=other_version)
    compiled = "%d.%d" % sys.version_info[:2]
    assert done.stdout.splitlines() == [
        f"RuntimeWarning compiletime version {compiled} of module 'kvrpc' does not match "
        "runtime version 3.8",
        "RpcClient",
    ]


def test_the_version_warning_as_an_error_ends_the_import(run_script, other_version):
    done = run_script("import kvrpc", "-W", "error", environment=other_version)
    assert done.returncode == 1
    last = done.stderr.splitlines()[-1]
    assert last.startswith("RuntimeWarning: compiletime version")


def test_an_import_that_failed_can_be_tried_again(run_script, other_version):
    script = """
        import warnings
        warnings.simplefilter("error")
        try:
            import kvrpc
        except RuntimeWarning:
            print("failed")
        warnings.simplefilter("ignore")
        import kvrpc
        print(kvrpc.ClntRpcError("x").args)
    """
    done = run_script(script, environment=other_version)
    assert (done.stdout, done.stderr) == ("failed\n('x',)\n", "")


@pytest.mark.skipif("KVRPC_SANITIZED" in os.environ,
                    reason="the sanitizer refers to every table, so all are kept")
def test_holds_no_notes_for_people(module):
    binary = pathlib.Path(module.__file__).read_bytes()
    assert b"a_login_1" in binary  # from the tables
    assert b"Opens a session" not in binary  # the note of a_login_1
