"""`call` took the bytes of `which` before it encoded `str`, and `create` released the encoded host
before it raised."""

VERSION = '{"l_version_1":0}'
REPLY = b'{"status":0,"message":"ok","result":7}'


class Encoding:
    def __init__(self, encode):
        self.encode = encode


def test_the_second_encoding_may_still_change_the_first(module, lambda_peer, allow):
    lambda_peer("answer")
    buffer = bytearray(b"lambda")
    client = module.RpcClient(Encoding(lambda codec: buffer))
    buffer[:] = b"nobody"

    def encode(codec):
        buffer[:] = b"lambda"
        return VERSION.encode()

    assert client.call(Encoding(encode), allow) == REPLY
    client.close()


def test_both_texts_are_encoded_before_either_is_found_to_be_no_bytes(frame_client, allow):
    encoded = []

    def encode(name, result):
        def run(codec):
            encoded.append(name)
            return result
        return Encoding(run)

    client = frame_client(encode("which", 7))
    try:
        client.call(encode("str", b"{}"), allow)
    except TypeError:
        encoded.append("TypeError")
    assert encoded == ["which", "str", "TypeError"]


def test_the_encoded_host_lives_until_the_error_is_raised(module, monkeypatch):
    monkeypatch.setenv("KORVEXRPCPORT", "1")
    events = []

    class Text(bytes):
        def __del__(self):
            events.append(bytes(self))

    class Failure(Exception):
        def __init__(self):
            events.append("raised")

    monkeypatch.setattr(module, "ClntCreateError", Failure)
    try:
        module.RpcClient(Encoding(lambda codec: Text(b"lambda")),
                         Encoding(lambda codec: Text(b"127.0.0.1")))
    except Failure:
        events.append("caught")
    assert events == [b"lambda", "raised", b"127.0.0.1", "caught"]


def test_an_encoded_text_lives_until_the_call_is_over(frame_client):
    """Also one that is no bytes, although the call works on a copy of it."""
    events = []

    class Text(bytearray):
        def __del__(self):
            events.append("released")

    class Verifier:
        def verify_call(self, name):
            events.append("vetted")
            return True

    client = frame_client("lambda")
    reply = client.call(Encoding(lambda codec: Text(b'{"l_nothing_1":0}')), Verifier())
    assert reply.startswith(b'{"status":4')
    assert events == ["vetted", "released"]
