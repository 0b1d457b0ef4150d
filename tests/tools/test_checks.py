"""Each check of `make check` finds what it is for, and nothing in a tree that is in order."""
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from needs import need

from tests.tools import scripts
from tests.tools.scripts import executable

TOOLS = Path(__file__).resolve().parents[2] / "tools"


def run(check, root):
    return subprocess.run([sys.executable, str(TOOLS / check), str(root)],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def write(root, name, text):
    path = root / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    return path


def git(root, *arguments):
    subprocess.run(["git", "-C", str(root), "-c", "user.name=n", "-c", "user.email=e@localhost",
                    *arguments], check=True, stdout=subprocess.DEVNULL)


@pytest.fixture
def tree(tmp_path):
    """Returns a source tree without findings: one file in each directory, with allowed includes."""
    write(tmp_path, "src/json/json.h", "#include <cstdint>\n")
    write(tmp_path, "src/schema/types.h", "")
    write(tmp_path, "src/rpc/xdr.h", "")
    write(tmp_path, "src/rpc/rpc_os_posix.cpp", '#include "rpc/xdr.h"\n#include <sys/socket.h>\n')
    write(tmp_path, "src/directory/directory.h", '#include "rpc/xdr.h"\n')
    write(tmp_path, "src/bridge/uc2.h", "")
    write(tmp_path, "src/bridge/uc2.cpp", '#include "bridge/uc2.h"\n')
    write(tmp_path, "src/bridge/call.h",
          '#include "json/json.h"\n#include "schema/types.h"\n#include "rpc/xdr.h"\n')
    write(tmp_path, "src/module/module.cpp",
          '#include <Python.h>\n#include "bridge/call.h"\n#include "directory/directory.h"\n')
    git(tmp_path, "init", "-q")
    git(tmp_path, "add", ".")
    git(tmp_path, "commit", "-q", "-m", "Begin")
    return tmp_path


@pytest.mark.parametrize("check", ["check-duplicates", "check-includes", "check-lengths",
                                   "check-mentions"])
def test_a_tree_in_order_passes(tree, check):
    result = run(check, tree)
    assert (result.returncode, result.stdout) == (0, "")


@pytest.mark.parametrize("name, include", [
    ("src/json/print.cpp", '"rpc/xdr.h"'),
    ("src/schema/alpha.cpp", '"json/json.h"'),
    ("src/rpc/clnt.cpp", '"bridge/call.h"'),
    ("src/directory/names.cpp", '"json/json.h"'),
    ("src/bridge/stub.cpp", '"directory/directory.h"'),
    ("src/bridge/stub.cpp", '"module/module.h"'),
    ("src/bridge/uc2.cpp", '"json/json.h"'),
    ("src/bridge/base64.cpp", '"bridge/uc2.h"'),
    ("src/bridge/stub.cpp", "<Python.h>"),
    ("src/rpc/clnt_tcp.cpp", "<sys/socket.h>"),
    ("src/rpc/clnt_tcp.cpp", "<winsock2.h>"),
    ("src/module/module.cpp", "<unistd.h>"),
    ("src/json/print.cpp", "<string>"),
    ("src/json/print.cpp", '"json.h"'),
    ("src/extra/print.cpp", '"json/json.h"'),
    ("src/rpc/rpc_os.h", '"rpc/clnt.h"'),
    ("src/rpc/xdr_mem.cpp", '"rpc/clnt.h"'),
    ("src/rpc/clnt.cpp", '"rpc/clnt_tcp.h"'),
    ("src/rpc/clnt_tcp.cpp", '"rpc/port_lookup.h"'),
    ("src/rpc/clnt.h", '"rpc/new.h"'),
    ("src/schema/types.h", '"schema/families.h"'),
    ("src/module/ref.h", '"module/names.h"'),
    ("src/json/memory.h", '"json/document.h"'),
    ("src/json/node.cpp", '"json/parse.h"'),
    ("src/bridge/run_on.cpp", '"bridge/encode.h"'),
    ("src/bridge/stub.h", '"bridge/new.h"'),
])
def test_an_include_against_the_arrows_is_found(tree, name, include):
    for header in ("module/module.h", "module/names.h", "rpc/clnt.h", "rpc/clnt_tcp.h",
                   "rpc/port_lookup.h", "rpc/new.h", "schema/families.h", "json/document.h",
                   "json/parse.h", "bridge/encode.h", "bridge/new.h"):
        write(tree, f"src/{header}", "")
    write(tree, name, f"\n#  include {include}\n")
    result = run("check-includes", tree)
    assert result.returncode == 1
    assert f"{name}:2: {include[1:-1]}: " in result.stdout


@pytest.mark.parametrize("name, include", [
    ("src/rpc/clnt_create.cpp", "rpc/clnt_tcp.h"),
    ("src/rpc/clnt_tcp.cpp", "rpc/pmap.h"),
    ("src/rpc/rpc_os_posix.cpp", "rpc/rpc_os_platform.h"),
    ("src/rpc/new.cpp", "rpc/clnt_create.h"),
])
def test_an_include_within_a_directory_in_its_order_passes(tree, name, include):
    write(tree, f"src/{include}", "")
    write(tree, name, f'#include "{include}"\n')
    assert run("check-includes", tree).returncode == 0


def test_headers_that_include_each_other_are_found(tree):
    write(tree, "src/json/first.h", '#include "json/second.h"\n')
    write(tree, "src/json/second.h", '#include "json/third.h"\n')
    write(tree, "src/json/third.h", '#include "json/first.h"\n')
    result = run("check-includes", tree)
    assert result.returncode == 1
    for name in ("first", "second", "third"):
        assert f"src/json/{name}.h: includes itself, by way of others\n" in result.stdout


BLOCK = "".join(f"    value_{number} = {number}\n" for number in range(6))


def test_lines_that_are_in_two_places_are_found(tree):
    write(tree, "tests/one.py", "def one():\n" + BLOCK)
    write(tree, "tests/two.py", "# A comment.\n\nif True:\n" + BLOCK.replace("    ", "        "))
    result = run("check-duplicates", tree)
    assert (result.returncode, result.stdout) == (
        1, "tests/one.py:2: 6 lines that are also at tests/two.py:4\n")
    write(tree, "tools/duplicates-allowed.txt", "# Why.\n\ntests/two.py ~ tests/o*.py: a reason\n")
    assert run("check-duplicates", tree).returncode == 0


def test_lines_that_are_twice_in_one_file_are_found(tree):
    write(tree, "tests/one.py", BLOCK + "other = 1\n" + BLOCK)
    result = run("check-duplicates", tree)
    assert result.stdout == "tests/one.py:1: 6 lines that are also at tests/one.py:8\n"


def test_a_permission_that_nothing_needs_is_found(tree):
    write(tree, "tools/duplicates-allowed.txt", "tests/one.py ~ tests/two.py: a reason\n")
    result = run("check-duplicates", tree)
    assert (result.returncode, result.stdout) == (
        1, "tools/duplicates-allowed.txt: nothing is shared by tests/one.py ~ tests/two.py\n")


def test_a_source_for_one_byte_order_is_found(tree):
    need("clang++")

    def check():
        return subprocess.run([TOOLS / "byte-order", sys.executable], cwd=tree,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)

    assert (check().returncode, check().stdout) == (0, "")
    write(tree, "src/json/order.cpp",
          'static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "one order");\n')
    assert check().returncode != 0
    assert re.search(r"src/json/order\.cpp:1:\d+: error: static", check().stdout)


@pytest.fixture
def build(tmp_path):
    """Compiles src/a.cpp as the objects of a build, and runs check-callers on them."""
    def check(header, source):
        write(tmp_path, "src/a.h", header)
        path = write(tmp_path, "src/a.cpp", '#include "a.h"\n' + source)
        objects = tmp_path / "build" / "CMakeFiles" / "kvrpc_a.dir"
        (objects / "src").mkdir(parents=True, exist_ok=True)
        subprocess.run(["g++", "-fPIC", "-c", path, "-o", objects / "src" / "a.cpp.o"], check=True)
        result = subprocess.run([sys.executable, str(TOOLS / "check-callers"),
                                 str(tmp_path / "build"), str(tmp_path / "src")],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return result.returncode, result.stdout
    return check


def test_a_function_without_a_caller_is_found(build):
    source = "int called() { return 1; }\nint alone() { return called(); }\n"
    assert build("int called();\nint alone();\n", source) == (
        1, "alone: has no caller, and no header marks it as surface\n")
    assert build("int called();\n\n// Surface: why.\nint alone();\n", source) == (0, "")
    # A comment that names it does not mark it.
    assert build("// Surface: not alone().\nint called();\n\nint alone();\n", source)[0] == 1


def test_an_object_without_a_source_does_not_count(build, tmp_path):
    assert build("int alone();\n", "int alone() { return 1; }\n")[0] == 1
    (tmp_path / "src" / "a.cpp").rename(tmp_path / "src" / "b.cpp")
    objects = tmp_path / "build" / "CMakeFiles" / "kvrpc_a.dir" / "src"
    shutil.copy(objects / "a.cpp.o", objects / "b.cpp.o")
    (tmp_path / "src" / "a.h").write_text("// Surface: why.\nint alone();\n", encoding="utf-8")
    (objects / "a.cpp.o").write_bytes(b"no object")
    assert subprocess.run([sys.executable, str(TOOLS / "check-callers"), str(tmp_path / "build"),
                           str(tmp_path / "src")]).returncode == 0


def test_an_object_of_a_test_does_not_count(build, tmp_path):
    """As those of a target that has got another name since stay in the build."""
    write(tmp_path, "tests/t.cpp", "int helper() { return 1; }\n")
    objects = tmp_path / "build" / "CMakeFiles" / "kvrpc_old.dir" / "tests"
    objects.mkdir(parents=True)
    subprocess.run(["g++", "-c", tmp_path / "tests" / "t.cpp", "-o", objects / "t.cpp.o"],
                   check=True)
    assert build("// Surface: why.\nint alone();\n", "int alone() { return 1; }\n") == (0, "")


def test_a_function_in_a_table_has_a_caller(build):
    assert build("int alone();\n", "int alone() { return 1; }\nint (*table[])() = {alone};\n") == (
        0, "")


def test_a_surface_that_has_callers_is_found(build):
    source = "int called() { return 1; }\nint (*table[])() = {called};\n"
    returncode, text = build("// Surface: why.\nint called();\n", source)
    assert (returncode, text) == (
        1, "src/a.h: marked as surface, but each has a caller: called\n")


def test_a_build_without_objects_counts_as_unchecked(tmp_path):
    assert run("check-callers", tmp_path).returncode == 1


def test_a_tree_without_includes_counts_as_unchecked(tmp_path):
    assert run("check-includes", tmp_path).returncode == 1


@pytest.mark.parametrize("name", ["src/json/long.cpp", "tests/e2e/test_long.py", "tools/long"])
def test_a_source_of_501_lines_is_found(tree, name):
    write(tree, name, "\n" * 500)
    assert run("check-lengths", tree).returncode == 0
    write(tree, name, "\n" * 501)
    result = run("check-lengths", tree)
    assert (result.returncode, result.stdout) == (1, f"{name}: 501 lines, 500 at most\n")


def test_interface_tables_may_be_long(tree):
    write(tree, "src/schema/alpha.cpp", "\n" * 2000)
    assert run("check-lengths", tree).returncode == 0


PAPER = "spec" + "ification"
MENTIONS = ["as Part" + " 3.1 tells", "see spec" + ".md", "what The Sp" + "ec wants",
            f"the {PAPER} wants it", f"a {PAPER} says"]
PLACES = ["/" + "work/x", "/" + "root/x", "/" + "home/me/x", "https://pypi" + ".org/simple",
          "deb." + "debian.org", "repo1." + "maven.org", "proxy" + ".golang.org"]


@pytest.mark.parametrize("text", MENTIONS + PLACES)
def test_a_mention_in_a_file_is_found(tree, text):
    write(tree, "src/json/json.h", f"// fine\n// {text}\n")
    result = run("check-mentions", tree)
    assert result.returncode == 1
    assert result.stdout == f"src/json/json.h:2: // {text}\n"


def test_a_file_not_yet_added_is_read_as_well(tree):
    write(tree, "notes.txt", MENTIONS[0])
    assert run("check-mentions", tree).returncode == 1


def test_a_tree_without_a_repository_is_read_as_well(tree):
    shutil.rmtree(tree / ".git")
    write(tree, ".gitignore", "/build/\n")
    write(tree, "build/notes.txt", MENTIONS[0])
    result = run("check-mentions", tree)
    assert (result.returncode, result.stdout) == (0, "")
    write(tree, "notes.txt", MENTIONS[0])
    result = run("check-mentions", tree)
    assert (result.returncode, result.stdout) == (1, f"notes.txt:1: {MENTIONS[0]}\n")


def test_a_repository_further_up_does_not_count(tree):
    write(tree, ".gitignore", "/inner/\n")
    write(tree, "inner/notes.txt", MENTIONS[0])
    result = run("check-mentions", tree / "inner")
    assert (result.returncode, result.stdout) == (1, f"notes.txt:1: {MENTIONS[0]}\n")


def test_a_repository_without_a_commit_is_read(tmp_path):
    git(tmp_path, "init", "-q")
    write(tmp_path, "notes.txt", MENTIONS[0])
    assert run("check-mentions", tmp_path).returncode == 1


@pytest.mark.parametrize("text", MENTIONS)
def test_a_mention_in_a_commit_message_is_found(tree, text):
    git(tree, "commit", "-q", "--allow-empty", "-m", "Fine", "-m", text)
    result = run("check-mentions", tree)
    assert result.returncode == 1
    assert "commit messages:" in result.stdout


@pytest.mark.parametrize("text", ["RFC 4506, Part 4", "a special case", "part of the network",
                                  "a specific text"])
def test_other_words_are_left_alone(tree, text):
    write(tree, "notes.txt", text)
    assert run("check-mentions", tree).returncode == 0


def test_a_generated_file_may_be_long(tree):
    generated = tree / "python" / "kvrpc_tools" / "generated.py"
    generated.parent.mkdir(parents=True, exist_ok=True)
    generated.write_text("# Written by a tool; not for editing.\n" + "#\n" * 600)
    assert run("check-lengths", tree).returncode == 0
    generated.write_text("#\n" * 600 + "# not for editing\n")
    assert run("check-lengths", tree).returncode == 1


@pytest.fixture
def lint(tmp_path):
    """Runs tools/check in a tree without .git in which every linter but ruff is content."""
    shutil.copytree(TOOLS, tmp_path / "tools")
    shutil.copy(TOOLS.parent / "pyproject.toml", tmp_path)
    environment, programs = tmp_path / ".venv" / "bin", tmp_path / "programs"
    environment.mkdir(parents=True)
    programs.mkdir()
    (environment / "ruff").symlink_to(Path(sys.prefix) / "bin" / "ruff")
    for directory, name in ((environment, "python"), (environment, "mypy"),
                            (programs, "clang++"), (programs, "clang-format"),
                            (programs, "clang-tidy")):
        executable(directory, name, "exit 0")
    for name in ("src/a.cpp", "src/a.h", "python/kvrpc-stubs/__init__.pyi",
                 "build/debug/python/generated.py"):
        write(tmp_path, name, "")
    write(tmp_path, ".gitignore", "/build/\n/.venv/\n/programs/\n/python/generated.py\n")

    def check():
        return scripts.run(tmp_path / "tools" / "check", cwd=tmp_path,
                           PATH=f"{programs}:{os.environ['PATH']}")

    return check


def test_a_generated_file_in_a_tree_without_a_repository_is_not_linted(lint, tmp_path):
    write(tmp_path, "build/debug/python/generated.py", "import unused\n")
    result = lint()
    assert (result.returncode, result.stderr) == (0, ""), result.stdout


def test_a_mistake_in_a_tree_without_a_repository_is_linted(lint, tmp_path):
    write(tmp_path, "python/written.py", "import unused\n")
    result = lint()
    assert result.returncode != 0
    assert "F401" in result.stdout
