"""The generated types: mistakes are named, in time, and values are of the types that they have."""

import ast
import importlib.util
import json
import os
import re
import resource
import shutil
import subprocess
import sys
import typing
from pathlib import Path

import pytest
from needs import missing
from settings import plain_environment
from test_vectors import LINES

from kvrpc_tools import ArgumentError, arguments, results
from kvrpc_tools.conversion import conversion
from kvrpc_tools.schema import own

HERE = Path(__file__).resolve().parent
PACKAGE = HERE.parents[1] / "python" / "kvrpc_tools"
SCRIPT = HERE / "planted_mistakes.py"
MARKED = {number for number, line in enumerate(SCRIPT.read_text("utf-8").splitlines(), 1)
          if line.endswith("# mistake")}
MYPY_SECONDS = 6


@pytest.fixture
def stubs(tmp_path):
    """Where a checker finds the stub of the module and kvrpc_tools without an installation."""
    shutil.copytree(PACKAGE.parent / "kvrpc-stubs", tmp_path / "stubs" / "kvrpc")
    return [str(tmp_path / "stubs"), str(PACKAGE.parent)]


def lines_named(text):
    return {int(line) for line in re.findall(rf"{SCRIPT.name}:(\d+)(?::\d+)?:? -? ?error", text)}


@pytest.mark.slow
def test_mypy_names_each_planted_mistake_in_time(tmp_path, stubs):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    run = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--cache-dir", tmp_path, SCRIPT],
        env=dict(plain_environment(), MYPYPATH=os.pathsep.join(stubs)),
        stdout=subprocess.PIPE, encoding="utf-8", cwd=tmp_path, check=False)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    assert lines_named(run.stdout) == MARKED, run.stdout
    assert len(MARKED) == 17
    assert after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime < MYPY_SECONDS


@pytest.mark.peers
@pytest.mark.slow
def test_pyright_names_each_planted_mistake(tmp_path, stubs):
    if importlib.util.find_spec("pyright") is None:
        missing("pyright is missing")
    shutil.copy(SCRIPT, tmp_path)
    (tmp_path / "pyrightconfig.json").write_text(json.dumps({"extraPaths": stubs}))
    run = subprocess.run([sys.executable, "-m", "pyright", SCRIPT.name], cwd=tmp_path,
                         env=dict(plain_environment(), PYRIGHT_PYTHON_IGNORE_WARNINGS="1"),
                         stdout=subprocess.PIPE, encoding="utf-8", check=False)
    assert lines_named(run.stdout) == MARKED, run.stdout


def conforms(value, wanted):
    """Returns true if a value is of a type: a TypedDict, or a type that those contain."""
    arguments_of = typing.get_args(wanted)
    origin = typing.get_origin(wanted)
    if origin is typing.Union:
        return any(conforms(value, each) for each in arguments_of)
    if origin is typing.Literal:
        return value in arguments_of and type(value) is int
    if origin is list:
        return isinstance(value, list) and all(conforms(each, arguments_of[0]) for each in value)
    if hasattr(wanted, "__total__"):
        hints = typing.get_type_hints(wanted)
        return (isinstance(value, dict) and set(value) <= set(hints)
                and (not wanted.__total__ or set(value) == set(hints))
                and all(conforms(each, hints[key]) for key, each in value.items()))
    return type(value) is (type(None) if wanted is None else wanted)


def read_signatures():
    """Returns (type of the argument or None, type of the result) of each method of the stub."""
    names = {"a": arguments, "r": results, **vars(typing)}
    found = {}
    for server in ast.parse((PACKAGE / "procedures.pyi").read_text("utf-8")).body:
        for method in getattr(server, "body", ()):
            given = [each.annotation for each in method.args.args[1:]]
            assert [each.arg for each in method.args.args] == ["self", "argument"][:1 + len(given)]
            types = [eval(ast.unparse(each), names) for each in [*given, method.returns]]
            if not any("Literal[True]" in ast.unparse(each.annotation)
                       for each in method.args.kwonlyargs):
                found[method.name] = (types[0] if given else None, types[-1])
    return found


SIGNATURES = read_signatures()


def test_every_procedure_has_a_typed_method():
    assert set(SIGNATURES) == set(own().procedures)


@pytest.mark.parametrize("lines", LINES.values(), ids=[name for _, name in LINES])
def test_values_are_of_the_types_of_their_method(lines):
    for line in lines:
        name = line["procedure"]
        way = conversion(line["program"], name)
        argument_type, result_type = SIGNATURES[name]
        assert conforms(way.result(line["reply"].encode()), result_type)
        argument = json.loads(line["call"])[name]
        try:
            way.call_text(argument)
        except ArgumentError:
            continue
        if typing.get_origin(argument_type) is not list:  # the vectors nest the nodes of a list
            assert conforms(argument, argument_type)
