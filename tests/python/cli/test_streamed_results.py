"""A result whose list is read while it is written is the same JSON as the whole result."""

import io
import json
import tracemalloc

import pytest
from test_vectors import VECTORS

from kvrpc_tools import RpcError
from kvrpc_tools.cli.values import write_json
from kvrpc_tools.conversion import conversion
from kvrpc_tools.schema import own

NODE = '"data":{"userid":"meier","name":"Ida Meier"}'


def written(value):
    output = io.StringIO()
    write_json(value, output)
    return output.getvalue()


def test_every_result_is_written_alike():
    vectors = [json.loads(line) for line in VECTORS.read_text(encoding="utf-8").splitlines()]
    assert len({vector["procedure"] for vector in vectors}) > 300
    for vector in vectors:
        way = conversion(own().procedures[vector["procedure"]].server, vector["procedure"])
        reply = vector["reply"].encode()
        assert written(way.streamed(reply)) == written(way.result(reply)), vector["procedure"]


def test_an_empty_list_is_written_as_one():
    for name, result in (("a_get_s_1", '{"anz":0,"first":null}'), ("l_ps_1", "[]")):
        way = conversion(own().procedures[name].server, name)
        reply = f'{{"status":0,"message":"ok","result":{result}}}'.encode()
        assert json.loads(written(way.streamed(reply))) == way.result(reply)


def test_a_failure_is_raised_before_anything_is_written():
    reply = b'{"status":3,"rpc_err":{"re_status":5},"message":"rpc_call: RPC: Timed out"}'
    with pytest.raises(RpcError):
        conversion("alpha", "a_get_s_1").streamed(reply)


class Nowhere:
    """Takes text and keeps nothing."""

    def write(self, text):
        """Drops the text."""


def peak(work):
    tracemalloc.start()
    work()
    _, most = tracemalloc.get_traced_memory()
    tracemalloc.stop()
    return most


def test_the_entries_of_a_long_list_are_not_held():
    count = 20_000
    chain = f'{{{NODE},"next":' * count + "null" + "}" * count
    reply = f'{{"status":0,"message":"ok","result":{{"anz":{count},"first":{chain}}}}}'.encode()
    way = conversion("alpha", "a_get_s_1")
    streamed = peak(lambda: write_json(way.streamed(reply), Nowhere()))
    whole = peak(lambda: write_json(way.result(reply), Nowhere()))
    assert streamed * 3 < whole
