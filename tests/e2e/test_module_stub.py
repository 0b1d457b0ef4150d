"""The type stub has what the module has: the same names, the same signatures."""

import ast
import inspect
import pathlib

import pytest

STUB = pathlib.Path(__file__).resolve().parents[2] / "python" / "kvrpc-stubs" / "__init__.pyi"


@pytest.fixture(scope="module")
def stub():
    """The public statements of the stub by name."""
    names = {}
    for node in ast.parse(STUB.read_text("utf-8")).body:
        if isinstance(node, ast.ClassDef):
            names[node.name] = node
        elif isinstance(node, ast.AnnAssign):
            names[node.target.id] = node
    return {name: node for name, node in names.items() if name in ("__test__",) or name[0] != "_"}


def functions(node):
    return {each.name: each for each in node.body if isinstance(each, ast.FunctionDef)}


def stub_parameters(function):
    """Returns each parameter in order: its name, if it is positional only, if it has a default."""
    taken = function.args
    assert not (taken.vararg or taken.kwarg or taken.kwonlyargs)
    both = taken.posonlyargs + taken.args
    first_default = len(both) - len(taken.defaults)
    return [
        (each.arg, each in taken.posonlyargs, place >= first_default)
        for place, each in enumerate(both)
    ][1:]


def runtime_parameters(function):
    parameters = inspect.signature(function).parameters.values()
    return [
        (each.name, each.kind is each.POSITIONAL_ONLY, each.default is not each.empty)
        for each in parameters
        if each.name != "self"
    ]


def test_the_names_of_the_module(module, stub):
    own = {name for name in vars(module) if not name.startswith("__") or name == "__test__"}
    assert set(stub) == own


def test_the_methods_of_the_client(module, stub):
    own = {name for name, value in vars(module.RpcClient).items() if callable(value)}
    assert set(functions(stub["RpcClient"])) == own


@pytest.mark.parametrize("name", ["create", "close", "call", "__reduce__", "__setstate__"])
def test_the_signatures_of_the_client(module, stub, name):
    function = functions(stub["RpcClient"])[name]
    assert stub_parameters(function) == runtime_parameters(getattr(module.RpcClient, name))


def test_the_signature_of_the_constructor(module, stub):
    function = functions(stub["RpcClient"])["__new__"]
    assert stub_parameters(function) == runtime_parameters(module.RpcClient)


@pytest.mark.parametrize(
    "name, method",
    [("ClntCreateError", "__init__"), ("ClntRpcError", "_ClntRpcError__init__self")],
)
def test_the_methods_of_the_exceptions(module, stub, name, method):
    exception = getattr(module, name)
    assert list(functions(stub[name])) == [method]
    assert [each for each, value in vars(exception).items() if callable(value)] == [method]
    parameters = stub_parameters(functions(stub[name])[method])
    assert parameters == runtime_parameters(getattr(exception, method))


def test_whatever_the_stub_promises_has_a_text_at_run_time(module, stub):
    for name in functions(stub["RpcClient"]):
        if name != "__new__":
            assert inspect.getdoc(getattr(module.RpcClient, name))
    assert inspect.getdoc(module.RpcClient)
