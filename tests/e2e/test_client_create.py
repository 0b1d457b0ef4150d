"""create, close, and the encoding of names and texts."""

import pytest

CLOSED = (
    b'{"status":3,"rpc_err":{"re_status":16},'
    b'"message":"rpc_call: RPC: Failed (unspecified error)\\n"}'
)


class Encoding:
    """Encodes to whatever it is given and keeps the codecs it was asked for."""

    def __init__(self, result):
        self.result = result
        self.codecs = []

    def encode(self, *arguments):
        self.codecs.append(arguments)
        return self.result


class Failing:
    def encode(self, codec):
        raise LookupError("no " + codec)


def test_an_unknown_server_is_no_connection(module):
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient("delta")
    assert caught.value.args == ()
    assert caught.value.message.startswith("clnt_create: RPC: ")


def test_an_unknown_server_repeats_the_last_reason(run_script):
    done = run_script("""
        import os, kvrpc
        def message(which):
            try:
                kvrpc.RpcClient(which)
            except kvrpc.ClntCreateError as error:
                return error.message
        print(repr(message("delta")))
        os.environ["RPCTRANSPORT"] = "ip"
        print(repr(message("lambda")))
        print(repr(message("delta")), repr(message("Lambda")), repr(message("")))
    """)
    refused = repr("clnt_create: RPC: Remote system error - Error 10046\n")
    assert done.stdout.splitlines() == [
        repr("clnt_create: RPC: Success\n"),
        refused,
        " ".join([refused] * 3),
    ]


def test_the_error_class_is_looked_up_when_it_is_raised(module, monkeypatch):
    class Other(Exception):
        pass

    monkeypatch.setattr(module, "ClntCreateError", Other)
    with pytest.raises(Other):
        module.RpcClient("delta")
    monkeypatch.setattr(module, "ClntCreateError", int)
    with pytest.raises(TypeError, match="exceptions must derive from BaseException"):
        module.RpcClient("delta")
    monkeypatch.setattr(module, "ClntCreateError", 5)
    with pytest.raises(TypeError, match="not callable"):
        module.RpcClient("delta")
    monkeypatch.delattr(module, "ClntCreateError")
    with pytest.raises(NameError, match="name 'ClntCreateError' is not defined"):
        module.RpcClient("delta")


def test_encodes_host_then_which_by_this_codec(module):
    order = []

    class Noting(Encoding):
        def encode(self, *arguments):
            order.append(self)
            return super().encode(*arguments)

    which, host = Noting(b"delta"), Noting(b"h")
    with pytest.raises(module.ClntCreateError):
        module.RpcClient(which, host)
    assert order == [host, which]
    assert which.codecs == host.codecs == [("utf-8",)]


@pytest.mark.parametrize("which, host", [(Failing(), None), ("lambda", Failing())])
def test_a_failing_encode_leaves_create(module, which, host):
    with pytest.raises(LookupError, match="no utf-8"):
        module.RpcClient(which, host)


@pytest.mark.parametrize("which, host", [(5, None), (b"lambda", None), ("lambda", 5), (None, None)])
def test_objects_without_encode_are_refused(module, which, host):
    with pytest.raises(AttributeError, match="encode"):
        module.RpcClient(which, host)


def test_a_surrogate_is_refused_by_the_codec(module):
    with pytest.raises(UnicodeEncodeError):
        module.RpcClient("\ud800")


@pytest.mark.parametrize("result", [None, 5, "text", [100]])
def test_what_is_not_bytes_like_is_refused(module, result):
    with pytest.raises(TypeError):
        module.RpcClient(Encoding(result))


class EqualToNone:
    def __init__(self, answer):
        self.answer = answer

    def __eq__(self, other):
        if isinstance(self.answer, Exception):
            raise self.answer
        return self.answer if other is None else NotImplemented

    __hash__ = None


class NoTruth:
    def __bool__(self):
        raise LookupError("no truth")


@pytest.mark.parametrize("answer", [True, 1, "yes"])
def test_a_host_that_equals_none_counts_as_none(module, answer):
    with pytest.raises(module.ClntCreateError):
        module.RpcClient("delta", EqualToNone(answer))


@pytest.mark.parametrize("answer", [False, 0, ""])
def test_a_host_that_does_not_equal_none_is_encoded(module, answer):
    with pytest.raises(AttributeError, match="encode"):
        module.RpcClient("delta", EqualToNone(answer))


@pytest.mark.parametrize("answer", [LookupError("no answer"), NoTruth()])
def test_a_comparison_that_raises_leaves_create(module, answer):
    with pytest.raises(LookupError):
        module.RpcClient("delta", EqualToNone(answer))


def test_close_on_a_closed_client_is_harmless(frame_client):
    client = frame_client("lambda")
    assert client.close() is None
    assert client.close() is None


def test_create_and_close_of_a_subclass_are_the_ones_that_run(module, allow):
    seen = []

    class Noting(module.RpcClient):
        def create(self):
            seen.append("create")

        def close(self):
            seen.append("close")

    client = Noting("lambda")
    assert client.call('{"l_version_1":0}', allow) == CLOSED
    assert seen == ["create", "create", "close", "create"]
    assert allow.names == ["l_version_1"] * 2


@pytest.mark.parametrize("name", ["create", "close"])
def test_an_exception_of_create_or_close_leaves_call(frame_client, allow, name):
    class Failing(frame_client):
        pass

    client = Failing("lambda")
    setattr(Failing, name, lambda self: (_ for _ in ()).throw(LookupError(name)))
    with pytest.raises(LookupError, match=name):
        client.call('{"l_version_1":0}', allow)


def test_methods_set_on_an_instance_count_as_well(frame_client, allow):
    client = frame_client("lambda")
    client.create = client.close = None
    with pytest.raises(TypeError, match="not callable"):
        client.call('{"l_version_1":0}', allow)


@pytest.mark.parametrize("form", [bytes, bytearray, memoryview])
def test_encode_may_give_any_bytes_like_object(frame_client, allow, form):
    which = Encoding(form(b"lambda"))
    text = Encoding(form(b'{"l_nothing_1":0}'))
    reply = frame_client(which).call(text, allow)
    assert reply == b'{"status":4,"message":"unknown function"}'
    assert which.codecs == text.codecs == [("utf-8",)]


def test_a_slice_of_a_longer_buffer_ends_where_it_ends(frame_client, allow):
    which = Encoding(memoryview(b"lambdalambda")[:6])
    assert b'"status":6' in frame_client(which).call("", allow)


def test_a_buffer_that_is_not_contiguous_is_refused(frame_client, allow):
    with pytest.raises(BufferError):
        frame_client(Encoding(memoryview(b"l.a.m.b.d.a")[::2])).call("", allow)


def test_texts_end_at_their_nul(frame_client, allow):
    client = frame_client("lambda\0ignored")
    assert client.call('42\0{"', allow) == client.call("42", allow)
    assert b'"status":6' in client.call("\0{}", allow)


def test_call_encodes_which_then_the_text(frame_client, allow):
    with pytest.raises(LookupError):
        frame_client(Failing()).call(5, allow)
    with pytest.raises(AttributeError):
        frame_client(5).call(Failing(), allow)
    with pytest.raises(AttributeError):
        frame_client("lambda").call(b"{}", allow)
    with pytest.raises(UnicodeEncodeError):
        frame_client("lambda").call("\udc80", allow)


def test_which_is_encoded_anew_in_each_attempt(frame_client, allow):
    which = Encoding(b"lambda")
    client = frame_client(which)
    assert client.call('{"l_version_1":0}', allow) == CLOSED
    assert len(which.codecs) == 2
