"""The forms of a call's text: what is read in place, and what has its `encode` called.

An ASCII `str` is not encoded, since its bytes are at hand. Nothing else may take that way.
"""

import json

import pytest

REFUSED = b'{"status":9,"message":"call is not allowed"}'


class Names:
    """Refuses each call and keeps the procedure's name."""

    def __init__(self):
        self.names = []

    def verify_call(self, name):
        self.names.append(name)
        return 0


@pytest.mark.parametrize("name", [
    "a", "a" * 15, "a" * 16, "a" * 10_000, "\x7f", "\x80", "\xff", "\u0100", "\u20ac", "\uffff",
    "\U0001f600", "a" * 100 + "\xe4", "\u20ac" * 300,
])
def test_a_name_of_any_characters_reaches_the_vetting(frame_client, name):
    vetting = Names()
    client = frame_client("lambda")
    text = json.dumps({name: None}, ensure_ascii=False)
    assert client.call(text, vetting) == REFUSED
    assert client.call(str=text, obj=vetting) == REFUSED
    assert vetting.names == [name, name]


def test_a_derived_str_has_its_encode_called(frame_client, allow):
    class Text(str):
        def encode(self, *arguments):
            calls.append(arguments)
            return b"{}"

    calls = []
    client = frame_client("lambda")
    assert b'"status":5' in client.call(Text("not this"), allow)
    assert calls == [("utf-8",)]


def test_a_derived_which_has_its_encode_called(frame_client, allow):
    class Which(str):
        def encode(self, *arguments):
            return b"gamma"

    with pytest.raises(MemoryError):
        frame_client(Which("lambda")).call("{}", allow)


@pytest.mark.parametrize("result", ["{}", "\u20ac", None, 5])
def test_an_encode_must_give_bytes(frame_client, allow, result):
    class Text:
        def encode(self, codec):
            return result

    with pytest.raises(TypeError, match="bytes-like"):
        frame_client("lambda").call(Text(), allow)


def test_a_text_may_go_while_it_is_used(frame_client):
    """The module keeps its own reference, also to a text that nobody else holds."""

    class Drops:
        def verify_call(self, name):
            texts.clear()
            return name == "x" * 1000

    texts = ['{"' + "x" * 1000 + '":1}']
    client = frame_client("lambda")
    assert b'"status":4' in client.call(texts.pop(), Drops())


def test_keywords_may_have_any_order_and_fresh_names(frame_client, allow):
    client = frame_client("lambda")
    expected = client.call("{}", allow)
    assert client.call(**{"o" + "bj": allow, "s" + "tr": "{}"}) == expected
    assert client.call("{}", **{"".join(["o", "bj"]): allow}) == expected
    with pytest.raises(TypeError, match="strings"):
        client.call("{}", allow, **{1: 2})
