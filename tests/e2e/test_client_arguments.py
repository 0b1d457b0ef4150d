"""Argument errors of the class and its methods, to the letter."""

import pytest


@pytest.mark.parametrize(
    "positional, keywords, text",
    [
        ((), {}, "__cinit__() takes at least 1 positional argument (0 given)"),
        ((), {"host": "h"}, "__cinit__() takes at least 1 positional argument (0 given)"),
        ((), {"other": 1}, "__cinit__() takes at least 1 positional argument (0 given)"),
        (("a", "b", "c"), {}, "__cinit__() takes at most 2 positional arguments (3 given)"),
        (
            ("a", "b", "c", "d"),
            {"x": 1},
            "__cinit__() takes at most 2 positional arguments (4 given)",
        ),
        (("a",), {"x": 1}, "__cinit__() got an unexpected keyword argument 'x'"),
        (("a",), {"host": "h", "x": 1}, "__cinit__() got an unexpected keyword argument 'x'"),
        (("a",), {"x": 1, "y": 2}, "__cinit__() got an unexpected keyword argument 'x'"),
        (("a",), {"\u00e4": 1}, "__cinit__() got an unexpected keyword argument '\u00e4'"),
        ((), {"which": "a", "": 1}, "__cinit__() got an unexpected keyword argument ''"),
        (("a",), {"which": "b"}, "__cinit__() got multiple values for keyword argument 'which'"),
        (("a", "b"), {"host": "c"}, "__cinit__() got multiple values for keyword argument 'host'"),
        (("a",), {"Which": "b"}, "__cinit__() got an unexpected keyword argument 'Which'"),
    ],
)
def test_the_constructor_refuses(frame_client, positional, keywords, text):
    with pytest.raises(TypeError) as caught:
        frame_client(*positional, **keywords)
    assert str(caught.value) == text


@pytest.mark.parametrize(
    "positional, keywords",
    [
        (("a",), {}),
        (("a", None), {}),
        (("a",), {"host": None}),
        ((), {"which": "a"}),
        ((), {"host": "h", "which": "a"}),
        ((5, 6.0), {}),
    ],
)
def test_the_constructor_takes(module, frame_client, positional, keywords):
    assert isinstance(frame_client(*positional, **keywords), module.RpcClient)


@pytest.mark.parametrize(
    "positional, keywords, text",
    [
        ((), {}, "call() takes exactly 2 positional arguments (0 given)"),
        (("{}",), {}, "call() takes exactly 2 positional arguments (1 given)"),
        (("{}", 1, 2), {}, "call() takes exactly 2 positional arguments (3 given)"),
        ((), {"str": "{}"}, "call() takes exactly 2 positional arguments (1 given)"),
        ((), {"obj": 1}, "call() takes exactly 2 positional arguments (0 given)"),
        (("{}", 1), {"x": 1}, "call() got an unexpected keyword argument 'x'"),
        (("{}", 1), {"obj": 1}, "call() got multiple values for keyword argument 'obj'"),
        (("{}",), {"str": "", "obj": 1}, "call() got multiple values for keyword argument 'str'"),
        (("{}",), {"text": 1}, "call() takes exactly 2 positional arguments (1 given)"),
    ],
)
def test_call_refuses_other_arguments(frame_client, positional, keywords, text):
    with pytest.raises(TypeError) as caught:
        frame_client("lambda").call(*positional, **keywords)
    assert str(caught.value) == text


def test_call_takes_its_arguments_by_exactly_these_names(frame_client, allow):
    client = frame_client("lambda")
    expected = b'{"status":6,"message":"can not parse json object"}'
    assert client.call("", allow) == expected
    assert client.call("", obj=allow) == expected
    assert client.call(obj=allow, str="") == expected


@pytest.mark.parametrize("name", ["create", "close", "__reduce__"])
def test_methods_without_arguments_refuse_any(module, frame_client, name):
    method = getattr(module.RpcClient, name)
    client = frame_client("lambda")
    with pytest.raises(TypeError):
        method(client, 1)
    with pytest.raises(TypeError):
        method(client, x=1)


def test_setstate_takes_one_positional_argument(frame_client):
    client = frame_client("lambda")
    for arguments in ((), (1, 2)):
        with pytest.raises(TypeError, match="exactly one argument"):
            client.__setstate__(*arguments)


def test_methods_refuse_a_foreign_self(module):
    for name in ("create", "close", "call", "__reduce__", "__setstate__"):
        with pytest.raises(TypeError):
            getattr(module.RpcClient, name)(object(), 1)
