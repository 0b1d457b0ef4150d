"""The two exception classes and their odd names."""

import types

import pytest


def test_both_derive_from_exception_and_belong_to_the_module(module):
    for name in ("ClntCreateError", "ClntRpcError"):
        exception = getattr(module, name)
        assert exception.__bases__ == (Exception,)
        assert type(exception) is type
        assert (exception.__name__, exception.__qualname__) == (name, name)
        assert exception.__module__ == "kvrpc"


def test_the_create_error_keeps_its_text_in_message_alone(module):
    error = module.ClntCreateError()
    assert type(error.message) is str
    assert error.message.startswith("clnt_create: RPC: ") and error.message.endswith("\n")
    assert error.args == () and str(error) == ""


def test_the_create_error_takes_no_argument(module):
    with pytest.raises(TypeError):
        module.ClntCreateError("x")


def test_the_create_error_reads_the_last_failure_whenever_it_is_made(run_script):
    done = run_script("""
        import os, kvrpc
        print(repr(kvrpc.ClntCreateError().message))
        os.environ["RPCTRANSPORT"] = "no such transport"
        try:
            kvrpc.RpcClient("lambda")
        except kvrpc.ClntCreateError as error:
            print(repr(error.message))
        print(repr(kvrpc.ClntCreateError().message))
    """)
    assert done.stdout.splitlines() == [
        r"'clnt_create: RPC: Success\n'",
        r"'clnt_create: RPC: Unknown protocol\n'",
        r"'clnt_create: RPC: Unknown protocol\n'",
    ]


def test_the_method_of_the_rpc_error_has_a_private_name(module):
    methods = [name for name in vars(module.ClntRpcError) if "init" in name]
    assert methods == ["_ClntRpcError__init__self"]
    method = vars(module.ClntRpcError)["_ClntRpcError__init__self"]
    assert method.__qualname__ == "ClntRpcError.__init__self"
    assert method.__name__ == "__init__self"
    assert method.__module__ == "kvrpc"


def test_the_rpc_error_is_made_as_a_plain_exception(module):
    error = module.ClntRpcError("x")
    assert error.args == ("x",) and str(error) == "x"
    assert not hasattr(error, "message")
    assert module.ClntRpcError("x", 2).args == ("x", 2)


def test_the_method_of_the_rpc_error_binds_and_stores_the_message(module):
    error = module.ClntRpcError()
    assert error._ClntRpcError__init__self("text") is None
    assert error.message == "text"
    assert error.args == ()
    other = types.SimpleNamespace()
    module.ClntRpcError._ClntRpcError__init__self(other, message=5)
    assert other.message == 5


def test_subclasses_bind_both_methods(module):
    class Create(module.ClntCreateError):
        pass

    class Rpc(module.ClntRpcError):
        pass

    assert Create().message.startswith("clnt_create: ")
    error = Rpc()
    error._ClntRpcError__init__self(1)
    assert error.message == 1
