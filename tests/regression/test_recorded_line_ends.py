"""A recording was cut into lines at each character that ends a line in Unicode. So a text with such
a character, for example byte 0x85 of a server's log, made the whole recording unreadable."""

import json

import pytest

from kvrpc_tools import recording

HEADER = json.dumps(recording.header(False)) + "\n"


@pytest.mark.parametrize("text", ["a\x85b", "a\u2028b", "a\u2029b", "a\nb", "a\r\nb", "a\x1cb"])
def test_a_text_with_one_is_read_as_it_was_written(tmp_path, text):
    calls = [{"procedure": "a_zeitstring_1", "server": "alpha", "status": 0, "result": text}] * 2
    file = tmp_path / "calls.jsonl"
    file.write_bytes((HEADER + "".join(map(recording.line_of, calls))).encode("utf-8"))
    has_secrets, found = recording.read(file)
    assert (has_secrets, list(found)) == (False, calls)


@pytest.mark.parametrize("line", [
    pytest.param(b"\xff", id="binary"),
    pytest.param(b"[" * 1_000_000, id="deep"),
    pytest.param(b'{"procedure":"a', id="cut"),
])
def test_a_line_that_is_no_json_is_named(tmp_path, line):
    file = tmp_path / "calls.jsonl"
    file.write_bytes(HEADER.encode("utf-8") + line)
    with pytest.raises(ValueError, match="calls.jsonl, line 2: "):
        recording.read(file)
